#include <gtest/gtest.h>
#include <set>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/link_watch.h"
#include "driver/loop_probe.h"
#include "driver/property_client.h"
#include "driver/recording.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using Names = std::set<std::string>;

class DriverHandover : public DriverFixture {
 protected:
  std::unique_ptr<ChildProcess> startPlayer(const std::string& name, const std::string& target) {
    return play(server_, named(name, nativePlayer(target, 2)), silence_, name + ".wav");
  }

  std::string metadata() const { return server_.run({"pw-metadata"}).output; }

  void setDefaultSource(const std::string& name) {
    const std::string value = "{\"name\":\"" + name + "\"}";
    ASSERT_EQ(server_.run({"pw-metadata", "0", "default.configured.audio.source", value, "Spa:String:JSON"}).status, 0);
    ASSERT_TRUE(waitUntil([&] {
      return metadata().find("key:'default.audio.source' value:'" + value) != std::string::npos;
    })) << metadata();
  }

  // Waits until each of the streams is linked, on both channels, to the one node of that name.
  void expectLinked(const Names& streams, const std::string& nodeName) {
    std::string missing;
    ASSERT_TRUE(waitUntil([&] {
      const ServerDump current = dump();
      const auto node = current.node(nodeName);
      missing = node ? "" : nodeName;
      if (!node) return false;
      for (const std::string& stream : streams) {
        if (!isLinked(current, stream, *node)) missing += " " + stream;
      }
      return missing.empty();
    })) << missing
        << metadata() << server_.logs();
  }

 private:
  WavFile silence_ = {48000, {2, std::vector<float>(120 * 48000, 0.01f)}};
};

TEST_F(DriverHandover, noStreamIsEverOnAnotherDevice) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  const ServerDump start = dump();
  const std::string sinkSerial = std::to_string(start.node("a")->serial);
  const std::string sourceSerial = std::to_string(start.node("a.source")->serial);
  const LinkWatch watch(server_);
  const auto byName = startPlayer("player.name", "a");
  const auto bySerial = startPlayer("player.serial", sinkSerial);
  const auto pulse = play(server_, pulsePlayer("a", 2), {48000, {2, std::vector<float>(120 * 48000, 0.01f)}}, "p.wav");
  Recording recorder(server_, named("recorder.name", nativeRecorder("a.source", 2)), "name.wav");
  Recording recorderBySerial(server_, named("recorder.serial", nativeRecorder(sourceSerial, 2)), "serial.wav");
  Recording pulseRecorder_(server_, pulseRecorder("a.source", 2), "pulse.wav");
  const Names players = {"player.name", "player.serial", "paplay"};
  const Names recorders = {"recorder.name", "recorder.serial", "parecord"};
  ASSERT_NO_FATAL_FAILURE(expectLinked(players, "a"));
  ASSERT_NO_FATAL_FAILURE(expectLinked(recorders, "a.source"));
  for (int round = 0; round < 4; ++round) {
    for (const int channels : {4, 16, 7, 2}) {
      publish({{"a", "A", channels}, {"b", "B", 2}});
      ASSERT_NO_FATAL_FAILURE(expectLinked(players, "a"));
      ASSERT_NO_FATAL_FAILURE(expectLinked(recorders, "a.source"));
    }
  }
  for (const std::string& stream : players) EXPECT_EQ(watch.everLinkedTo(stream), Names{"a"}) << stream;
  for (const std::string& stream : recorders) EXPECT_EQ(watch.everLinkedTo(stream), Names{"a.source"}) << stream;
}

TEST_F(DriverHandover, changesInQuickSuccessionEndAtTheLast) {
  publish({{"a", "A", 2}});
  const std::string sinkSerial = std::to_string(dump().node("a")->serial);
  const LinkWatch watch(server_);
  const auto byName = startPlayer("player.name", "a");
  const auto bySerial = startPlayer("player.serial", sinkSerial);
  const Names players = {"player.name", "player.serial"};
  ASSERT_NO_FATAL_FAILURE(expectLinked(players, "a"));
  PropertyClient client(server_);
  for (const int channels : {4, 6, 8, 10, 12, 2, 3}) client.write(encodeDriverPayload({{"a", "A", channels}}));
  publish({{"a", "A", 5}});
  ASSERT_NO_FATAL_FAILURE(expectLinked(players, "a"));
  for (const std::string& stream : players) EXPECT_EQ(watch.everLinkedTo(stream), Names{"a"}) << stream;
}

TEST_F(DriverHandover, theDeviceHasPortsAtEveryMoment) {
  publish({{"a", "A", 2}});
  LinkWatch watch(server_);
  watch.watchPorts("a");
  // Nobody is linked to it: still it does not vanish for those who are about to be.
  for (const int channels : {4, 2, 16, 2}) publish({{"a", "A", channels}});
  EXPECT_GE(watch.fewestPorts(), 4) << "two inputs and their monitors";
  EXPECT_LT(watch.fewestPorts(), 1000) << "ports have gone";
}

TEST_F(DriverHandover, aStreamThatFollowsTheDefaultFollowsItAfterwards) {
  publish({{"a", "A", 2}});
  setDefaultSource("a.source");
  const LinkWatch watch(server_);
  Recording recorder(server_, named("recorder", nativeRecorder("", 2)), "r.wav");
  ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "a.source"));
  const auto defaults = server_.launch({"stdbuf", "-oL", "pw-metadata", "-m", "0", "default.audio.source"});
  ASSERT_TRUE(waitUntil([&] { return defaults->output().find("a.source") != std::string::npos; }));
  for (const int channels : {4, 16, 3, 2}) {
    publish({{"a", "A", channels}});
    ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "a.source"));
  }
  EXPECT_EQ(watch.everLinkedTo("recorder"), Names{"a.source"});
  EXPECT_EQ(defaults->output().find("card.microphone"), std::string::npos) << defaults->output();
  EXPECT_EQ(metadata().find("target.object"), std::string::npos) << metadata();
  setDefaultSource("card.microphone");
  ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "card.microphone"));
}

TEST_F(DriverHandover, aStreamThatMustNotBeMovedEndsRatherThanLandElsewhere) {
  publish({{"a", "A", 2}});
  const LinkWatch watch(server_);
  auto command = nativeRecorder("a.source", 2);
  command.emplace_back("--properties={\"node.name\":\"recorder\",\"node.dont-reconnect\":true}");
  Recording recorder(server_, command, "r.wav");
  ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "a.source"));
  publish({{"a", "A", 4}});
  // That is the session manager's doing, at the stream's own wish.
  EXPECT_TRUE(waitUntil([&] { return dump().nodesNamed("recorder").empty(); })) << server_.logs();
  EXPECT_EQ(watch.everLinkedTo("recorder"), Names{"a.source"});
}

TEST_F(DriverHandover, whatTheStreamItselfSaidIsNotRememberedAsAChoice) {
  publish({{"a", "A", 2}});
  const auto sinkSerial = std::to_string(dump().node("a")->serial);
  const auto player = startPlayer("player", sinkSerial);
  ASSERT_NO_FATAL_FAILURE(expectLinked({"player"}, "a"));
  for (const int channels : {4, 2}) {
    publish({{"a", "A", channels}});
    ASSERT_NO_FATAL_FAILURE(expectLinked({"player"}, "a"));
  }
  const std::string serial = std::to_string(dump().node("a")->serial);
  EXPECT_TRUE(waitUntil([&] {
    const std::string told = metadata();
    return told.find("key:'target.object' value:'" + serial + "'") != std::string::npos &&
           told.find("key:'target.node' value:'-1'") != std::string::npos;
  })) << metadata();
}

TEST_F(DriverHandover, renamingOneDeviceWhileAnotherChangesLosesNoFrame) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  expectUnbroken(server_, "a", "a.source", [this](const LoopProbe& probe) {
    for (const int channels : {4, 16, 2}) {
      publish({{"b", "B", channels}, {"a", "Name at " + std::to_string(channels), 2}});
      ASSERT_TRUE(probe.waitForMore(4800));
    }
  });
}

TEST_F(DriverHandover, aRestartedSessionManagerLinksTheStreamsAgain) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  const ServerDump start = dump();
  const auto byName = startPlayer("player.name", "a");
  const auto bySerial = startPlayer("player.serial", std::to_string(start.node("a")->serial));
  Recording recorder(server_, named("recorder", nativeRecorder("a.source", 2)), "r.wav");
  ASSERT_NO_FATAL_FAILURE(expectLinked({"player.name", "player.serial"}, "a"));
  ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "a.source"));
  for (int restart = 0; restart < 3; ++restart) {
    ASSERT_TRUE(server_.restartSessionManager());
    ASSERT_NO_FATAL_FAILURE(expectLinked({"player.name", "player.serial"}, "a")) << "restart " << restart;
    ASSERT_NO_FATAL_FAILURE(expectLinked({"recorder"}, "a.source")) << "restart " << restart;
  }
  const auto later = startPlayer("later", "b");
  ASSERT_NO_FATAL_FAILURE(expectLinked({"later"}, "b"));
}

TEST_F(DriverHandover, aStreamThatWasToldANumberIsToldTheNextOneAfterARestart) {
  publish({{"a", "A", 2}});
  const auto player = startPlayer("player", std::to_string(dump().node("a")->serial));
  ASSERT_NO_FATAL_FAILURE(expectLinked({"player"}, "a"));
  publish({{"a", "A", 4}});
  ASSERT_NO_FATAL_FAILURE(expectLinked({"player"}, "a"));
  ASSERT_TRUE(server_.restartSessionManager());
  ASSERT_NO_FATAL_FAILURE(expectLinked({"player"}, "a"));
}

}  // namespace
}  // namespace brindlemux::test
