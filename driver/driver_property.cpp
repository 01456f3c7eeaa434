#include "driver/driver_property.h"

#include <cerrno>
#include <new>
#include <utility>

#include "driver/guarded.h"
#include "model/driver_payload.h"

namespace brindlemux::driver {

const pw_metadata_methods DriverProperty::methods = [] {
  pw_metadata_methods table = {};
  table.version = PW_VERSION_METADATA_METHODS;
  table.add_listener = [](void* data, spa_hook* listener, const pw_metadata_events* events, void* listenerData) {
    return static_cast<DriverProperty*>(data)->addListener(*listener, *events, listenerData);
  };
  table.set_property = [](void* data, std::uint32_t subject, const char* key, const char*, const char* value) {
    guarded("write", [&] { static_cast<DriverProperty*>(data)->setProperty(subject, key, value); });
    return 0;
  };
  // Clearing would leave no list at all, which is none of the states that the driver can be in.
  table.clear = [](void* data) {
    static_cast<DriverProperty*>(data)->show();
    return 0;
  };
  return table;
}();

const pw_impl_metadata_events DriverProperty::objectEvents = [] {
  pw_impl_metadata_events events = {};
  events.version = PW_VERSION_IMPL_METADATA_EVENTS;
  events.destroy = [](void* data) {
    auto& self = *static_cast<DriverProperty*>(data);
    spa_hook_remove(&self.objectListener_);
    // The object listens to its implementation, which is us, and would leave its listener behind in our list.
    pw_impl_metadata_set_implementation(self.object_, nullptr);
    self.object_ = nullptr;
    self.lost_.signal();
  };
  return events;
}();

DriverProperty::DriverProperty(pw_context& context, std::string value, Write write)
    : context_(context),
      lost_(*pw_context_get_main_loop(&context), [this] { publish(); }),
      value_(std::move(value)),
      write_(std::move(write)) {
  interface_.type = PW_TYPE_INTERFACE_Metadata;
  interface_.version = PW_VERSION_METADATA;
  interface_.cb.funcs = &methods;
  interface_.cb.data = this;
  spa_hook_list_init(&listeners_);
  publish();
}

DriverProperty::~DriverProperty() {
  // Its destroy event clears the pointer.
  if (object_ != nullptr) pw_impl_metadata_destroy(object_);
}

void DriverProperty::publish() {
  object_ = pw_context_create_metadata(&context_, driverBundleID.data(), nullptr, 0);
  if (object_ == nullptr) throw std::bad_alloc();
  pw_impl_metadata_add_listener(object_, &objectListener_, &objectEvents, this);
  pw_impl_metadata_set_implementation(object_, reinterpret_cast<pw_metadata*>(&interface_));
  if (pw_impl_metadata_register(object_, nullptr) < 0) {
    pw_impl_metadata_destroy(object_);
    throw std::bad_alloc();
  }
}

int DriverProperty::addListener(spa_hook& listener, const pw_metadata_events& events, void* data) {
  spa_hook_list others;
  spa_hook_list_isolate(&listeners_, &others, &listener, &events, data);
  show();
  spa_hook_list_join(&listeners_, &others);
  return 0;
}

void DriverProperty::setProperty(std::uint32_t subject, const char* key, const char* value) {
  if (subject == 0 && value != nullptr && key != nullptr && key == driverPropertyKey) {
    guarded("write", [&] {
      if (std::optional<std::string> accepted = write_(value)) value_ = std::move(*accepted);
    });
  }
  show();
}

void DriverProperty::show() {
  spa_hook_list_call(&listeners_, pw_metadata_events, property, 0, 0, driverPropertyKey.data(), "Spa:String:JSON",
                     value_.c_str());
}

}  // namespace brindlemux::driver
