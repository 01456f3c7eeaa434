#include "platform/pipewire/pipewire_audio_hardware.h"

#include "platform/pipewire/server_properties.h"
#include "platform/pipewire/server_state.h"
#include "platform/pipewire/stream_registry.h"
#include "platform/property_size.h"

namespace brindlemux {
namespace {

constexpr AudioComponentID outputComponent = 1;

}  // namespace

struct PipeWireAudioHardware::Parts {
  ServerState server;
  StreamRegistry streams{server};
  ServerProperties properties{server, streams};
};

PipeWireAudioHardware::PipeWireAudioHardware() : parts_(std::make_unique<Parts>()) {}

PipeWireAudioHardware::~PipeWireAudioHardware() = default;

const RunningApplications& PipeWireAudioHardware::runningApplications() const { return parts_->server; }

bool PipeWireAudioHardware::hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const {
  PropertyValue value;
  return parts_->properties.read(object, address, {}, value) == noErr;
}

OSStatus PipeWireAudioHardware::propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                 std::uint32_t& size) const {
  PropertyValue value;
  const OSStatus status = parts_->properties.read(object, address, {}, value);
  if (status == noErr) size = propertySize(value);
  return status;
}

OSStatus PipeWireAudioHardware::propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                             const PropertyValue& qualifier, PropertyValue& value) const {
  return parts_->properties.read(object, address, qualifier, value);
}

OSStatus PipeWireAudioHardware::setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                const PropertyValue& value) {
  return parts_->properties.write(object, address, value);
}

OSStatus PipeWireAudioHardware::addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                    Scheduler& queue, std::function<void()> listener) {
  if (object != kAudioObjectSystemObject) return kAudioHardwareBadObjectError;
  if (address.selector != kAudioHardwarePropertyDevices) return kAudioHardwareUnknownPropertyError;
  parts_->server.addDeviceListener(queue, std::move(listener));
  return noErr;
}

OSStatus PipeWireAudioHardware::createIOProc(AudioObjectID device, std::string_view /*queueLabel*/, IOBlock block,
                                             AudioDeviceIOProcID& procedure) {
  return parts_->streams.createProcedure(device, std::move(block), procedure);
}

OSStatus PipeWireAudioHardware::destroyIOProc(AudioObjectID device, AudioDeviceIOProcID procedure) {
  return parts_->streams.destroyProcedure(device, procedure);
}

OSStatus PipeWireAudioHardware::startDevice(AudioObjectID device, AudioDeviceIOProcID procedure) {
  return parts_->streams.startProcedure(device, procedure);
}

OSStatus PipeWireAudioHardware::stopDevice(AudioObjectID device, AudioDeviceIOProcID procedure) {
  return parts_->streams.stopProcedure(device, procedure);
}

OSStatus PipeWireAudioHardware::createProcessTap(const TapDescription& description, AudioObjectID& tap) {
  return parts_->streams.createTap(description, tap);
}

OSStatus PipeWireAudioHardware::destroyProcessTap(AudioObjectID tap) { return parts_->streams.destroyTap(tap); }

OSStatus PipeWireAudioHardware::createAggregateDevice(const Dictionary& description, AudioObjectID& device) {
  return parts_->streams.createAggregate(description, device);
}

OSStatus PipeWireAudioHardware::destroyAggregateDevice(AudioObjectID device) {
  return parts_->streams.destroyAggregate(device);
}

AudioComponentID PipeWireAudioHardware::findComponent(FourCharCode type, FourCharCode subType,
                                                      FourCharCode manufacturer) const {
  const bool isOutput = type == kAudioUnitType_Output && subType == kAudioUnitSubType_HALOutput &&
                        manufacturer == kAudioUnitManufacturer_Apple;
  return isOutput ? outputComponent : 0;
}

OSStatus PipeWireAudioHardware::createAudioUnit(AudioComponentID component, AudioUnitID& unit) {
  return component == outputComponent ? parts_->streams.createUnit(unit) : kAudioHardwareBadObjectError;
}

OSStatus PipeWireAudioHardware::setAudioUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope /*scope*/,
                                                     std::uint32_t /*element*/, AudioUnitPropertyValue value) {
  return parts_->streams.setUnitProperty(unit, property, std::move(value));
}

OSStatus PipeWireAudioHardware::initializeAudioUnit(AudioUnitID unit) { return parts_->streams.initializeUnit(unit); }

OSStatus PipeWireAudioHardware::startOutputUnit(AudioUnitID unit) { return parts_->streams.startUnit(unit); }

OSStatus PipeWireAudioHardware::stopOutputUnit(AudioUnitID unit) { return parts_->streams.stopUnit(unit); }

OSStatus PipeWireAudioHardware::uninitializeAudioUnit(AudioUnitID unit) {
  return parts_->streams.uninitializeUnit(unit);
}

OSStatus PipeWireAudioHardware::disposeAudioUnit(AudioUnitID unit) { return parts_->streams.disposeUnit(unit); }

}  // namespace brindlemux
