#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/property_client.h"
#include "driver/recording.h"
#include "support/held_process.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

class DriverLifetime : public DriverFixture {
 protected:
  // The global id of the driver's module, as pw-dump tells it; empty when it is not loaded.
  std::string moduleId() const {
    for (const auto& object : nlohmann::json::parse(server_.run({"pw-dump"}).output, nullptr, false)) {
      if (object.value("type", "") != "PipeWire:Interface:Module") continue;
      if (object["info"].value("name", "") == "libpipewire-module-brindlemux-driver") {
        return std::to_string(object.value("id", 0));
      }
    }
    return {};
  }
};

/// A device with a stream whose channels change while the session manager is held: as that does not answer, it leaves
/// the stream where it is, and the old nodes wait for it.
class UnansweredHandover {
 public:
  explicit UnansweredHandover(PrivateServer& server)
      : client(server), recording_(server, nativeRecorder("a.source", 2), "r.wav") {
    EXPECT_TRUE(recording_.waitForMore(4800));
    sessionManager_.emplace(server.processId("wireplumber"));
    client.write(encodeDriverPayload({{"a", "A", 4}}));
    EXPECT_EQ(client.globalsNamed("a").size(), 2u);
  }
  void letAnswer() { sessionManager_.reset(); }

  PropertyClient client;

 private:
  Recording recording_;
  std::optional<HeldProcess> sessionManager_;
};

TEST_F(DriverLifetime, unloadingTakesEverythingAway) {
  publish({{"a", "A", 2}, {"b", "B", 16}});
  PropertyClient bound(server_);
  const auto playing =
      play(server_, nativePlayer("a", 2), {48000, {2, sineTone(30 * 48000, 1000, 0.5, 48000)}}, "p.wav");
  Recording recording(server_, nativeRecorder("a.source", 2), "r.wav");
  ASSERT_TRUE(recording.waitForSound(4800));
  ASSERT_EQ(server_.run({"pw-cli", "destroy", moduleId()}).status, 0);
  ASSERT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    return !current.node("a") && !current.node("b.source") && !current.node("brindlemux.clock");
  }));
  EXPECT_EQ(moduleId(), "");
  EXPECT_THROW(PropertyClient{server_}, std::runtime_error);
  EXPECT_TRUE(bound.synchronise());
  EXPECT_TRUE(server_.running());
  EXPECT_TRUE(server_.stop());
}

TEST_F(DriverLifetime, theServerEndsOrderlyWithDevicesAndClients) {
  publish({{"a", "A", 2}, {"b", "B", 16}});
  const PropertyClient bound(server_);
  Recording recording(server_, nativeRecorder("a.source", 2), "r.wav");
  ASSERT_TRUE(recording.waitForMore(4800));
  EXPECT_TRUE(server_.stop()) << server_.logs();
}

TEST_F(DriverLifetime, theServerEndsOrderlyWhileStreamsAreHandedOver) {
  publish({{"a", "A", 2}});
  UnansweredHandover handover(server_);
  const pid_t pipewire = server_.processId("pipewire");
  ASSERT_EQ(kill(pipewire, SIGTERM), 0);
  EXPECT_TRUE(waitUntil([&] { return kill(pipewire, 0) != 0; }));
  handover.letAnswer();
  const std::string said = server_.waitForEnd();
  EXPECT_NE(said.find("pipewire ended with status 0"), std::string::npos) << said;
}

TEST_F(DriverLifetime, unloadingWhileStreamsAreHandedOver) {
  publish({{"a", "A", 2}});
  UnansweredHandover handover(server_);
  const auto module = handover.client.globalsNamed("libpipewire-module-brindlemux-driver");
  ASSERT_EQ(module.size(), 1u);
  handover.client.destroy(module.front());
  EXPECT_EQ(handover.client.globalsNamed("a").size(), 0u);
  handover.letAnswer();
  EXPECT_TRUE(handover.client.synchronise());
  EXPECT_TRUE(server_.running());
}

TEST_F(DriverLifetime, aHandoverThatNobodyAnswersEndsByItself) {
  publish({{"a", "A", 2}});
  UnansweredHandover handover(server_);
  PropertyClient& client = handover.client;
  EXPECT_TRUE(waitUntil([&] { return client.synchronise() && client.globalsNamed("a").size() == 1; }));
}

TEST_F(DriverLifetime, aNodeThatAClientDestroysComesBack) {
  const VirtualDeviceConfig device = {"a", "A", 2};
  publish({device});
  PropertyClient client(server_);
  const auto before = client.globalsNamed("a");
  ASSERT_EQ(before.size(), 1u);
  const auto serialBefore = dump().node("a")->serial;
  client.destroy(before.front());
  EXPECT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    return isUp(current, device) && current.node("a")->serial != serialBefore;
  }));
  EXPECT_EQ(client.write(encodeDriverPayload({})), encodeDriverPayload({}));
  EXPECT_TRUE(server_.running());
}

TEST_F(DriverLifetime, thePropertyAndTheClockThatAClientDestroysComeBack) {
  publish({{"a", "A", 2}});
  for (const char* name : {"com.brindlemux.driver", "brindlemux.clock"}) {
    PropertyClient client(server_);
    const auto before = client.globalsNamed(name);
    ASSERT_EQ(before.size(), 1u) << name;
    client.destroy(before.front());
    EXPECT_TRUE(waitUntil([&] { return client.synchronise() && client.globalsNamed(name).size() == 1; })) << name;
    EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload({{"a", "A", 2}}));
  }
  PropertyClient client(server_);
  EXPECT_EQ(client.write(encodeDriverPayload({{"a", "B", 2}})), encodeDriverPayload({{"a", "B", 2}}));
  EXPECT_EQ(dump().node("brindlemux.clock")->property("node.group"), "brindlemux");
}

TEST_F(DriverLifetime, theServerStartsAgainWithTheDriver) {
  publish({{"a", "A", 2}});
  ASSERT_TRUE(server_.stop());
  server_.start();
  publish({{"a", "A", 2}});
}

TEST_F(DriverLifetime, aRestartedSessionManagerFindsFreshNodes) {
  const VirtualDeviceConfig device = {"a", "A", 2};
  publish({device});
  const auto before = dump().node("a");
  ASSERT_TRUE(before);
  ASSERT_TRUE(server_.restartSessionManager());
  EXPECT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    return isUp(current, device) && current.node("a")->serial != before->serial;
  })) << server_.logs();
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload({device}));
}

TEST_F(DriverLifetime, manyRoundsOfAddingAndRemoving) {
  PropertyClient client(server_);
  for (int round = 0; round < 100; ++round) {
    const std::string channels = std::to_string(1 + round % 16);
    const std::string list = R"({"devices":[{"uid":"a","name":"A","channels":2},{"uid":"b)" +
                             std::to_string(round % 3) + R"(","name":"B","channels":)" + channels + "}]}";
    ASSERT_EQ(client.write(list), list) << "round " << round;
    if (round % 5 == 4) client.write(R"({"devices":[]})");
  }
  EXPECT_EQ(client.write(R"({"devices":[{"uid":"a","name":"A","channels":2}]})"),
            R"({"devices":[{"uid":"a","name":"A","channels":2}]})");
  EXPECT_TRUE(waitUntil([&] { return isUp(dump(), {"a", "A", 2}); }));
  EXPECT_TRUE(server_.running());
}

TEST_F(DriverLifetime, aChangeOfChannelsTakesTheStreamsAlong) {
  publish({{"a", "A", 2}});
  // The card's microphone hears a constant that is louder than anything in the device: a recorder that is on the
  // microphone for a single sample shows it.
  const auto inTheRoom = play(server_, named("room", nativePlayer("card", 2)),
                              {48000, {2, std::vector<float>(60 * 48000, 0.75f)}}, "room.wav");
  ASSERT_TRUE(waitUntil([&] {
    return server_.run({"pw-link", "room:output_FL", "card.microphone:input_FL"}).status == 0 &&
           server_.run({"pw-link", "room:output_FR", "card.microphone:input_FR"}).status == 0;
  }));
  const WavFile tone = {48000, {2, sineTone(60 * 48000, 1000, 0.2, 48000)}};
  const ServerDump start = dump();
  const std::string sinkSerial = std::to_string(start.node("a")->serial);
  const std::string sourceSerial = std::to_string(start.node("a.source")->serial);
  const std::vector<std::string> streams = {"player", "player.serial", "recorder", "recorder.serial", "parecord"};
  const auto player = play(server_, named("player", nativePlayer("a", 2)), tone, "tone.wav");
  const auto playerBySerial = play(server_, named("player.serial", nativePlayer(sinkSerial, 2)), tone, "tone2.wav");
  Recording recording(server_, named("recorder", nativeRecorder("a.source", 2)), "name.wav");
  Recording recordingBySerial(server_, named("recorder.serial", nativeRecorder(sourceSerial, 2)), "serial.wav");
  Recording pulseRecording(server_, pulseRecorder("a.source", 2), "pulse.wav");
  for (Recording* each : {&recording, &recordingBySerial, &pulseRecording}) ASSERT_TRUE(each->waitForSound(4800));

  for (const int channels : {4, 16, 2}) {
    const auto before = dump().node("a");
    ASSERT_TRUE(before);
    publish({{"a", "A", channels}});
    for (const std::string& stream : streams) {
      EXPECT_TRUE(waitUntil([&] {
        const ServerDump current = dump();
        const auto sink = current.node("a");
        const auto source = current.node("a.source");
        return sink && source && sink->serial != before->serial &&
               isLinked(current, stream, stream.starts_with("player") ? *sink : *source);
      })) << stream
          << " at " << channels << " channels";
    }
    for (Recording* each : {&recording, &recordingBySerial, &pulseRecording}) {
      ASSERT_TRUE(each->waitForMore(24000));
      EXPECT_TRUE(each->waitForSound(4800)) << channels << " channels";
    }
  }
  for (Recording* each : {&recording, &recordingBySerial, &pulseRecording}) {
    const WavFile wav = each->finish();
    // Two players of 0.2 make 0.4.
    EXPECT_LT(std::ranges::max(wav.channels[0]), 0.5f) << "the microphone was recorded";
  }
}

}  // namespace
}  // namespace brindlemux::test
