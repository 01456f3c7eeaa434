#pragma once

#include <gtest/gtest.h>
#include <utility>

#include "platform/discovery.h"
#include "support/simulated_scene.h"

namespace brindlemux::test {

inline constexpr OSStatus failure = -50;

inline SimulatedAnswer answering(PropertyValue value) {
  SimulatedAnswer answer;
  answer.value = std::move(value);
  return answer;
}

inline SimulatedAnswer failing() {
  SimulatedAnswer answer;
  answer.status = failure;
  return answer;
}

class DiscoveryTest : public testing::Test, public SimulatedScene {};

}  // namespace brindlemux::test
