#include "editor/node_texts.h"

#include <gtest/gtest.h>

#include "editor/card_figures.h"

namespace brindlemux {
namespace {

TEST(NodeTexts, firstTwoChannelsAreLeftAndRight) {
  EXPECT_EQ(channelLabel(0), "1 (L)");
  EXPECT_EQ(channelLabel(1), "2 (R)");
  EXPECT_EQ(channelLabel(2), "3");
  EXPECT_EQ(channelLabel(15), "16");
}

TEST(NodeTexts, gainIsAWholePercent) {
  EXPECT_EQ(gainText(0.0F), "0%");
  EXPECT_EQ(gainText(1.0F), "100%");
  EXPECT_EQ(gainText(1.004F), "100%");
  EXPECT_EQ(gainText(0.995F), "100%");  // 99.5
  EXPECT_EQ(gainText(0.994F), "99%");
  EXPECT_EQ(gainText(0.125F), "13%");  // 12.5, exact in binary
  EXPECT_EQ(gainText(4.0F), "400%");
}

TEST(NodeTexts, gainsThatNoSliderGivesAreWrittenToo) {
  EXPECT_EQ(gainText(-0.125F), "-13%");
  EXPECT_EQ(gainText(1000.0F), "100000%");
  // 2 to the power of 120, times 100, does not fit into 32-bit float any more; the text ends all the same.
  EXPECT_EQ(gainText(0x1p120F).substr(0, 4), "1329");
  EXPECT_EQ(gainText(0x1p127F), "inf%");
}

TEST(NodeTexts, sourcesAreNamedByWhatTheyCapture) {
  EXPECT_EQ(sourceName(AppSource{"com.example.Player", "Player"}), "Player");
  EXPECT_EQ(sourceName(MicSource{"Microphone.UID", "Microphone"}), "Microphone");
  EXPECT_EQ(sourceName(SystemAudioSource{}), "System Audio");
  EXPECT_EQ(sourceSymbol(AppSource{}), "app.badge");
  EXPECT_EQ(sourceSymbol(MicSource{}), "mic.fill");
  EXPECT_EQ(sourceSymbol(SystemAudioSource{}), "speaker.wave.2.fill");
}

TEST(NodeTexts, subtitleSaysDisabledBeforeAnythingElse) {
  EXPECT_EQ(sourceSubtitle(true, true), "Capturing audio");
  EXPECT_EQ(sourceSubtitle(true, false), "Source inactive (app not running?)");
  EXPECT_EQ(sourceSubtitle(false, true), "Disabled");
  EXPECT_EQ(sourceSubtitle(false, false), "Disabled");
}

TEST(CardFigures, levelIsHotAbove098) {
  EXPECT_FALSE(CardFigures::isHot(0.98));
  // As the meters give it: the 32-bit value nearest to 0.98, which is a little more than the 64-bit one.
  EXPECT_FALSE(CardFigures::isHot(static_cast<double>(0.98F)));
  EXPECT_TRUE(CardFigures::isHot(0.981));
  EXPECT_TRUE(CardFigures::isHot(2.0));
}

}  // namespace
}  // namespace brindlemux
