#include "platform/pipewire/tap_wiring.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindlemux {
namespace {

/// Which of a stream's ports reach the tap's left and right side, for a stream with ports of these channels.
struct Reached {
  std::vector<std::size_t> left;
  std::vector<std::size_t> right;
  friend bool operator==(const Reached&, const Reached&) = default;
};

Reached reachedBy(const std::vector<std::string>& channels) {
  std::vector<ServerPort> stream(channels.size());
  std::vector<const ServerPort*> pointers;
  for (std::size_t i = 0; i < channels.size(); ++i) {
    stream[i].channel = channels[i];
    pointers.push_back(&stream[i]);
  }
  const ServerPort left;
  const ServerPort right;
  std::vector<LinkRequest> links;
  addTapLinks(pointers, left, right, links);
  Reached reached;
  for (const LinkRequest& link : links) {
    EXPECT_EQ(link.mode, LinkMode::passive);
    const auto index = static_cast<std::size_t>(link.output - stream.data());
    (link.input == &left ? reached.left : reached.right).push_back(index);
  }
  return reached;
}

TEST(TapWiring, stereoKeepsItsSides) { EXPECT_EQ(reachedBy({"FL", "FR"}), (Reached{{0}, {1}})); }

TEST(TapWiring, sidesFollowPositionsAndNotOrder) { EXPECT_EQ(reachedBy({"LFE", "FR", "FL"}), (Reached{{2}, {1}})); }

TEST(TapWiring, monoReachesBothSides) { EXPECT_EQ(reachedBy({"MONO"}), (Reached{{0}, {0}})); }

TEST(TapWiring, channelsWithoutPositionsGoByOrder) {
  EXPECT_EQ(reachedBy({"AUX0", "AUX1", "AUX2", "AUX3"}), (Reached{{0}, {1}}));
  EXPECT_EQ(reachedBy({""}), (Reached{{0}, {0}}));
}

TEST(TapWiring, aStreamWithoutPortsIsNotLinked) { EXPECT_EQ(reachedBy({}), Reached{}); }

}  // namespace
}  // namespace brindlemux
