#include "driver/driver_module.h"

#include <functional>
#include <spa/utils/string.h>
#include <stdexcept>
#include <utility>
#include <variant>

#include "driver/guarded.h"
#include "model/driver_payload.h"

namespace brindlemux::driver {
namespace {

// A clock of the group's own, which comes back like the rest when a client has destroyed it, keeps a virtual device
// from being the one that drives, which would delay its loop by one quantum. Any real sink in the group has a higher
// priority and takes over.
std::unique_ptr<ServerNode> createClock(pw_context& context, std::function<void()> lost) {
  auto clock = ServerNode::create(context, "spa-node-factory",
                                  {{"factory.name", "support.node.driver"},
                                   {PW_KEY_NODE_NAME, "brindlemux.clock"},
                                   {PW_KEY_NODE_GROUP, "brindlemux"},
                                   {PW_KEY_PRIORITY_DRIVER, "1"},
                                   {PW_KEY_APP_NAME, "Brindlemux"},
                                   {PW_KEY_APP_ICON_NAME, "com.brindlemux.Brindlemux"}},
                                  {.lost = std::move(lost)});
  if (!clock) throw std::runtime_error("the server refuses the clock node");
  return clock;
}

// Two drivers, one installed for everyone and one for the user, would publish every device twice.
pw_context& withoutDriver(pw_context& context) {
  const auto isDriver = [](void*, pw_global* global) {
    const bool same =
        pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata) &&
        spa_streq(pw_properties_get(pw_global_get_properties(global), PW_KEY_METADATA_NAME), driverBundleID.data());
    return same ? 1 : 0;
  };
  if (pw_context_for_each_global(&context, isDriver, nullptr) != 0) {
    throw std::runtime_error("the server has the driver already");
  }
  return context;
}

}  // namespace

DriverModule::DriverModule(pw_context& context, std::filesystem::path devicesFile)
    : file_(std::move(devicesFile)),
      saver_([this](const std::string& payload) { file_.save(payload); }),
      clockLost_(*pw_context_get_main_loop(&context), [this, &context] { startClock(context); }),
      devices_(withoutDriver(context)),
      sessionManager_(context, [this] { devices_.recreateAll(); }),
      property_(context, restore(), [this](std::string_view payload) { return write(payload); }) {
  startClock(context);
}

void DriverModule::startClock(pw_context& context) {
  clock_ = createClock(context, [this] { clockLost_.signal(); });
}

std::string DriverModule::restore() {
  if (!devices_.apply(file_.load())) pw_log_error("brindlemux: the server refuses the devices that were saved");
  return encodeDriverPayload(devices_.configs());
}

std::optional<std::string> DriverModule::write(std::string_view payload) {
  const auto decoded = decodeDriverPayload(payload);
  if (const auto* error = std::get_if<PayloadError>(&decoded)) {
    pw_log_warn("brindlemux: refused a list of devices: %s", error->reason.c_str());
    return std::nullopt;
  }
  const auto& configs = std::get<std::vector<VirtualDeviceConfig>>(decoded);
  if (!devices_.apply(configs)) return std::nullopt;
  std::string accepted = encodeDriverPayload(configs);
  guarded("save the devices", [&] { saver_.save(accepted); });
  return accepted;
}

}  // namespace brindlemux::driver
