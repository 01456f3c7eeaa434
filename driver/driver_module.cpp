#include "driver/driver_module.h"

#include <stdexcept>
#include <variant>

#include "driver/guarded.h"
#include "model/driver_payload.h"

namespace brindlemux::driver {
namespace {

// A clock of the group's own keeps a virtual device from being the one that drives, which would delay its loop by one
// quantum. Any real sink in the group has a higher priority and takes over.
std::unique_ptr<ServerNode> createClock(pw_context& context) {
  auto clock = ServerNode::create(context, "spa-node-factory",
                                  {{"factory.name", "support.node.driver"},
                                   {PW_KEY_NODE_NAME, "brindlemux.clock"},
                                   {PW_KEY_NODE_GROUP, "brindlemux"},
                                   {PW_KEY_PRIORITY_DRIVER, "1"},
                                   {PW_KEY_APP_NAME, "Brindlemux"},
                                   {PW_KEY_APP_ICON_NAME, "com.brindlemux.Brindlemux"}},
                                  {});
  if (!clock) throw std::runtime_error("the server refuses the clock node");
  return clock;
}

}  // namespace

DriverModule::DriverModule(pw_context& context)
    : clock_(createClock(context)),
      devices_(context),
      sessionManager_(context, [this] { devices_.recreateAll(); }),
      property_(context, encodeDriverPayload({}), [this](std::string_view payload) { return write(payload); }) {}

std::optional<std::string> DriverModule::write(std::string_view payload) {
  const auto decoded = decodeDriverPayload(payload);
  if (const auto* error = std::get_if<PayloadError>(&decoded)) {
    pw_log_warn("brindlemux: refused a list of devices: %s", error->reason.c_str());
    return std::nullopt;
  }
  const auto& configs = std::get<std::vector<VirtualDeviceConfig>>(decoded);
  if (!devices_.apply(configs)) return std::nullopt;
  return encodeDriverPayload(configs);
}

}  // namespace brindlemux::driver
