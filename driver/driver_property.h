#pragma once

#include <functional>
#include <optional>
#include <pipewire/extensions/metadata.h>
#include <pipewire/impl.h>
#include <string>
#include <string_view>

#include "driver/loop_event.h"

namespace brindlemux::driver {

/// The metadata object by which programs read and write the driver's list of devices. It holds one property and never
/// any other; what is written is judged before it is stored, and every write is answered, before the writer's next
/// request, by showing the value in force.
///
/// Owns the metadata object, which comes back when a client has destroyed it. Threads: the server's main loop.
class DriverProperty {
 public:
  /// Judges a written value: the value in force from then on, or nothing to keep the one there is.
  using Write = std::function<std::optional<std::string>(std::string_view value)>;

  /// Throws std::bad_alloc when the server cannot make the object.
  DriverProperty(pw_context& context, std::string value, Write write);
  ~DriverProperty();
  DriverProperty(const DriverProperty&) = delete;
  DriverProperty& operator=(const DriverProperty&) = delete;

 private:
  void publish();
  int addListener(spa_hook& listener, const pw_metadata_events& events, void* data);
  void setProperty(std::uint32_t subject, const char* key, const char* value);
  void show();

  static const pw_metadata_methods methods;
  pw_context& context_;
  LoopEvent lost_;
  static const pw_impl_metadata_events objectEvents;
  std::string value_;
  Write write_;
  spa_interface interface_ = {};
  spa_hook_list listeners_ = {};
  pw_impl_metadata* object_ = nullptr;
  spa_hook objectListener_ = {};
};

}  // namespace brindlemux::driver
