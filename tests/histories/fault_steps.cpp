#include <array>

#include "histories/steps.h"

namespace brindlemux::history {
namespace {

/// How a journaled call may begin; "" is any call.
const std::vector<std::string>& prefixes() {
  static const std::vector<std::string> all = {"",
                                               "createIOProc",
                                               "destroyIOProc",
                                               "startDevice",
                                               "stopDevice",
                                               "createProcessTap",
                                               "destroyProcessTap",
                                               "createAggregateDevice",
                                               "destroyAggregateDevice",
                                               "findComponent",
                                               "createAudioUnit",
                                               "setAudioUnitProperty",
                                               "initializeAudioUnit",
                                               "startOutputUnit",
                                               "stopOutputUnit",
                                               "uninitializeAudioUnit",
                                               "disposeAudioUnit",
                                               "setPropertyData",
                                               "propertyData ",
                                               "propertyDataSize",
                                               "propertyData system uidd",
                                               "propertyData system dOut",
                                               "propertyData system prs#",
                                               "propertyData tap"};
  return all;
}

OSStatus anyStatus(Random& random) {
  static const std::vector<OSStatus> statuses = {-1, -50, kAudioHardwareUnspecifiedError, kAudioHardwareBadObjectError,
                                                 -10851};
  return random.oneOf(statuses);
}

std::string failOnce(History& history, Random& random) {
  const std::string& prefix = random.oneOf(prefixes());
  const std::int64_t skip = random.below(prefix.empty() ? 60 : 4);
  history.world().hardware.journal().failNext(prefix, anyStatus(random), skip);
  return "fail \"" + prefix + "\" after " + std::to_string(skip);
}

std::string failCall(History& history, Random& random) {
  const std::int64_t number = random.between(1, 40);
  history.world().hardware.journal().failCall(number, anyStatus(random));
  return "fail change " + std::to_string(number);
}

std::string failEvery(History& history, Random& random) {
  const std::string& prefix = prefixes()[static_cast<std::size_t>(random.between(1, std::ssize(prefixes()) - 1))];
  history.world().hardware.journal().failEvery(prefix, anyStatus(random));
  return "fail every \"" + prefix + "\"";
}

/// Nothing stops any more, and nothing is released.
std::string refuseReleases(History& history, Random& random) {
  const OSStatus status = anyStatus(random);
  for (const char* prefix : {"stop", "uninitialize", "dispose", "destroy"}) {
    history.world().hardware.journal().failEvery(prefix, status);
  }
  return "release nothing";
}

std::string refuseUnits(History& history, Random&) {
  history.world().refuseUnits(true);
  return "make no units";
}

std::string endFaults(History& history, Random&) {
  history.endFaults();
  return "end faults";
}

}  // namespace

std::span<const Step> faultSteps() {
  static constexpr auto steps = std::to_array<Step>(
      {{40, failOnce}, {20, failCall}, {8, failEvery}, {3, refuseReleases}, {3, refuseUnits}, {40, endFaults}});
  return steps;
}

}  // namespace brindlemux::history
