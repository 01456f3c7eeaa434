#include "histories/steps.h"

#include <array>

namespace brindlemux::history {

std::string performRandomStep(History& history, Random& random) {
  const std::array<std::span<const Step>, 3> tables = {worldSteps(), graphSteps(), faultSteps()};
  std::int64_t total = 0;
  for (const auto& table : tables) {
    for (const Step& step : table) total += step.weight;
  }
  std::int64_t choice = random.below(total);
  for (const auto& table : tables) {
    for (const Step& step : table) {
      if (choice < step.weight) return step.action(history, random);
      choice -= step.weight;
    }
  }
  return {};
}

}  // namespace brindlemux::history
