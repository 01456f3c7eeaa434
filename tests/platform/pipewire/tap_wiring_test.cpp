#include "platform/pipewire/tap_wiring.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindlemux {
namespace {

/// For each of a tap's inputs the indices of the ports that reach it.
using Reached = std::vector<std::vector<std::size_t>>;

/// A tap's node with nothing but its inputs.
class Tap {
 public:
  Tap() {
    for (std::size_t i = 0; i < tapInputCount; ++i) inputs_[i] = &ports_[i];
  }
  const TapPorts& inputs() const { return inputs_; }

  Reached reachedBy(const std::vector<LinkRequest>& links, const ServerPort* first) const {
    Reached reached(tapInputCount);
    for (const LinkRequest& link : links) {
      EXPECT_EQ(link.mode, LinkMode::passive);
      reached[static_cast<std::size_t>(link.input - ports_.data())].push_back(
          static_cast<std::size_t>(link.output - first));
    }
    return reached;
  }

 private:
  std::array<ServerPort, tapInputCount> ports_;
  TapPorts inputs_ = {};
};

/// What a stream reaches whose application plays that many channels and whose ports have these positions.
Reached reachedBy(std::uint32_t channels, const std::vector<std::string>& positions) {
  std::vector<ServerPort> stream(positions.size());
  std::vector<const ServerPort*> pointers;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    stream[i].channel = positions[i];
    pointers.push_back(&stream[i]);
  }
  const Tap tap;
  std::vector<LinkRequest> links;
  addStreamLinks(pointers, channels, tap.inputs(), links);
  return tap.reachedBy(links, stream.data());
}

TEST(TapWiring, stereoKeepsItsSides) { EXPECT_EQ(reachedBy(2, {"FL", "FR"}), (Reached{{0}, {1}, {}, {}, {}})); }

TEST(TapWiring, sidesFollowPositionsAndNotOrder) {
  EXPECT_EQ(reachedBy(2, {"LFE", "FR", "FL"}), (Reached{{2}, {1}, {}, {}, {}}));
}

TEST(TapWiring, monoReachesBothSides) { EXPECT_EQ(reachedBy(1, {"MONO"}), (Reached{{0}, {0}, {}, {}, {}})); }

TEST(TapWiring, channelsWithoutPositionsGoByOrder) {
  EXPECT_EQ(reachedBy(4, {"AUX0", "AUX1", "AUX2", "AUX3"}), (Reached{{0}, {1}, {}, {}, {}}));
  EXPECT_EQ(reachedBy(1, {""}), (Reached{{0}, {0}, {}, {}, {}}));
}

TEST(TapWiring, aStreamWithoutPortsIsNotLinked) { EXPECT_EQ(reachedBy(2, {}), Reached(tapInputCount)); }

TEST(TapWiring, surroundReachesItsPlacesWithoutTheLowFrequencyEffects) {
  EXPECT_EQ(reachedBy(6, {"FL", "FR", "FC", "LFE", "RL", "RR"}), (Reached{{0}, {1}, {2}, {4}, {5}}));
  EXPECT_EQ(reachedBy(8, {"FL", "FR", "FC", "LFE", "RL", "RR", "SL", "SR"}), (Reached{{0}, {1}, {2}, {4, 6}, {5, 7}}));
  EXPECT_EQ(reachedBy(4, {"FL", "FR", "FC", "RC"}), (Reached{{0}, {1}, {2}, {3}, {3}}));
}

TEST(TapWiring, whatTheServerDerivesFromStereoIsNotHeardTwice) {
  EXPECT_EQ(reachedBy(2, {"FL", "FR", "FC", "LFE", "RL", "RR"}), (Reached{{0}, {1}, {}, {}, {}}));
  EXPECT_EQ(reachedBy(0, {"FL", "FR", "FC", "LFE", "RL", "RR"}), (Reached{{0}, {1}, {}, {}, {}}));
}

TEST(TapWiring, surroundOnAStereoDeviceHasBeenMixedDownAlready) {
  EXPECT_EQ(reachedBy(6, {"FL", "FR"}), (Reached{{0}, {1}, {}, {}, {}}));
}

TEST(TapWiring, aPortThatPlaysToSeveralDevicesIsLinkedOnce) {
  const ServerPort ports[2];
  const TappedPort tapped[] = {{&ports[0], "FL"}, {&ports[1], "FR"}, {&ports[0], "AUX0"}, {&ports[1], "AUX7"}};
  const Tap tap;
  std::vector<LinkRequest> links;
  addPositionedLinks(tapped, tap.inputs(), links);
  EXPECT_EQ(tap.reachedBy(links, ports), (Reached{{0}, {1}, {}, {}, {}}));
}

}  // namespace
}  // namespace brindlemux
