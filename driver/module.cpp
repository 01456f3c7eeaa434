#include <cerrno>
#include <filesystem>
#include <memory>
#include <pipewire/impl.h>
#include <stdexcept>
#include <utility>

#include "driver/device_file.h"
#include "driver/driver_module.h"
#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

/// The driver for as long as the server keeps the module; deletes itself when the server destroys it.
struct LoadedModule {
  LoadedModule(pw_context& context, std::filesystem::path devicesFile) : driver(context, std::move(devicesFile)) {}

  DriverModule driver;
  spa_hook listener = {};
};

const pw_impl_module_events moduleEvents = [] {
  pw_impl_module_events events = {};
  events.version = PW_VERSION_IMPL_MODULE_EVENTS;
  events.destroy = [](void* data) {
    const std::unique_ptr<LoadedModule> loaded(static_cast<LoadedModule*>(data));
    spa_hook_remove(&loaded->listener);
  };
  return events;
}();

// The module's one argument, "devices.file": where the list of devices is kept; "" where it is not.
std::filesystem::path devicesFile(const char* arguments) {
  const std::unique_ptr<pw_properties, decltype(&pw_properties_free)> properties(
      pw_properties_new_string(arguments == nullptr ? "" : arguments), pw_properties_free);
  const char* const file = properties ? pw_properties_get(properties.get(), "devices.file") : nullptr;
  if (file == nullptr) return DeviceFile::standardPath();
  if (*file == '/' || *file == '\0') return file;
  throw std::invalid_argument("devices.file is not an absolute path");
}

int load(pw_impl_module* module, const char* arguments) noexcept {
  int result = -ENOMEM;
  guarded("load", [&] {
    auto loaded = std::make_unique<LoadedModule>(*pw_impl_module_get_context(module), devicesFile(arguments));
    pw_impl_module_add_listener(module, &loaded->listener, &moduleEvents, loaded.get());
    // The server holds it from here on, through the listener.
    static_cast<void>(loaded.release());
    const spa_dict_item items[] = {
        SPA_DICT_ITEM_INIT(PW_KEY_MODULE_AUTHOR, "Brindlemux"),
        SPA_DICT_ITEM_INIT(PW_KEY_MODULE_DESCRIPTION, "Publishes the virtual audio devices of Brindlemux"),
        SPA_DICT_ITEM_INIT(PW_KEY_MODULE_VERSION, BRINDLEMUX_VERSION),
    };
    const spa_dict properties = SPA_DICT_INIT_ARRAY(items);
    pw_impl_module_update_properties(module, &properties);
    result = 0;
  });
  return result;
}

}  // namespace
}  // namespace brindlemux::driver

/// What the server calls when it loads the module. 0, or a negative errno.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is the server's.
extern "C" SPA_EXPORT int pipewire__module_init(pw_impl_module* module, const char* arguments) {
  return brindlemux::driver::load(module, arguments);
}
