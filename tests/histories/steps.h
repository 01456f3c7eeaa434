#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "histories/history.h"

namespace brindlemux::history {

/// One kind of step. Its action returns what it did, in a few words; nothing for one that found nothing to do.
struct Step {
  std::int64_t weight;
  std::string (*action)(History&, Random&);
};

/// Devices and processes come, go and change; time passes.
std::span<const Step> worldSteps();
/// A graph is edited; an engine or all of them start anew.
std::span<const Step> graphSteps();
/// Calls fail, and stop failing.
std::span<const Step> faultSteps();

/// One step of any kind, chosen by weight.
std::string performRandomStep(History& history, Random& random);

}  // namespace brindlemux::history
