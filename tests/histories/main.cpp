// Runs many long histories: long_histories [--first-seed N] [--seeds N] [--steps M] [--aloud]
#include <charconv>
#include <chrono>
#include <cstring>
#include <iostream>
#include <string_view>

#include "histories/shrinker.h"

namespace {

using namespace brindlemux::history;

struct Options {
  std::int64_t firstSeed = 1;
  std::int64_t seeds = 20;
  std::int64_t steps = 10000;
  bool aloud = false;
};

std::optional<Options> parsed(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view name = arguments[i];
    if (name == "--aloud") {
      options.aloud = true;
      continue;
    }
    std::int64_t* number = name == "--first-seed" ? &options.firstSeed
                           : name == "--seeds"    ? &options.seeds
                           : name == "--steps"    ? &options.steps
                                                  : nullptr;
    if (number == nullptr || ++i == count) return std::nullopt;
    const char* end = arguments[i] + std::strlen(arguments[i]);
    const auto [rest, error] = std::from_chars(arguments[i], end, *number);
    if (error != std::errc() || rest != end || *number < 0) return std::nullopt;
  }
  return options;
}

}  // namespace

int main(int count, char** arguments) {
  const auto options = parsed(count, arguments);
  if (!options) {
    std::cerr << "usage: long_histories [--first-seed N] [--seeds N] [--steps M] [--aloud]\n";
    return 2;
  }
  const auto begin = std::chrono::steady_clock::now();
  std::int64_t failed = 0;
  for (std::int64_t seed = options->firstSeed; seed < options->firstSeed + options->seeds; ++seed) {
    const auto number = static_cast<std::uint64_t>(seed);
    auto failure = options->aloud ? runHistoryAloud(number, options->steps) : runHistory(number, options->steps);
    if (!failure) continue;
    ++failed;
    const auto again = [number](std::int64_t steps) { return runHistory(number, steps); };
    std::cerr << description(options->aloud ? *failure : shortestFailure(again, *failure)) << '\n';
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  std::cout << options->seeds << " histories of " << options->steps << " steps, " << failed << " failed, "
            << taken.count() << " s\n";
  return failed == 0 ? 0 : 1;
}
