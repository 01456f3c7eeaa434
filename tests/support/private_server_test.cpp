#include "support/private_server.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "support/server_dump.h"

namespace brindlemux::test {
namespace {

PrivateServerOptions withoutDriver() {
  PrivateServerOptions options;
  options.driver = PrivateServerOptions::Driver::absent;
  return options;
}

TEST(PrivateServer, showsItsHardwareStandIns) {
  PrivateServerOptions options = withoutDriver();
  options.sinks = {{"speakers", 2, "Loud: \"Speakers\""}, {"interface", 6, "Interface"}};
  options.sources = {{"microphone", 1, "Microphone"}};
  const PrivateServer server(options);
  const ServerDump dump(server);
  const auto speakers = dump.node("speakers");
  const auto interface = dump.node("interface");
  const auto microphone = dump.node("microphone");
  ASSERT_TRUE(speakers && interface && microphone);
  EXPECT_EQ(speakers->property("node.description"), "Loud: \"Speakers\"");
  EXPECT_EQ(speakers->inputPorts, 2);
  EXPECT_EQ(interface->inputPorts, 6);
  EXPECT_EQ(microphone->outputPorts, 1);
  EXPECT_NE(server.run({"pw-metadata", "0", "default.audio.sink"}).output.find("\"speakers\""), std::string::npos);
  EXPECT_NE(server.run({"pw-metadata", "0", "default.audio.source"}).output.find("\"microphone\""), std::string::npos);
  EXPECT_NE(server.run({"pactl", "info"}).output.find("Default Sink: speakers"), std::string::npos);
}

TEST(PrivateServer, givesTheClockThatIsAskedFor) {
  PrivateServerOptions options = withoutDriver();
  options.rateHz = 44100;
  options.quantum = 256;
  options.minQuantum = 32;
  options.maxQuantum = 512;
  const PrivateServer server(options);
  const std::string settings = server.run({"pw-metadata", "-n", "settings"}).output;
  for (const char* setting : {"'clock.rate' value:'44100'", "'clock.quantum' value:'256'",
                              "'clock.min-quantum' value:'32'", "'clock.max-quantum' value:'512'"}) {
    EXPECT_NE(settings.find(setting), std::string::npos) << settings;
  }
}

TEST(PrivateServer, stopsAndStartsAgainInItsFolder) {
  PrivateServer server(withoutDriver());
  EXPECT_TRUE(std::filesystem::exists(server.socket()));
  EXPECT_TRUE(server.stop());
  EXPECT_FALSE(server.running());
  EXPECT_NE(server.run({"pw-cli", "info", "0"}).status, 0);
  server.start();
  EXPECT_TRUE(server.running());
  EXPECT_EQ(server.run({"pw-cli", "info", "0"}).status, 0);
}

TEST(PrivateServer, restartsTheSessionManagerAlone) {
  PrivateServerOptions options = withoutDriver();
  options.sinks = {{"one", 2, "One"}};
  PrivateServer server(options);
  const auto before = ServerDump(server).node("one");
  EXPECT_TRUE(server.restartSessionManager());
  EXPECT_TRUE(server.running());
  ASSERT_TRUE(before && ServerDump(server).node("one"));
  EXPECT_EQ(ServerDump(server).node("one")->serial, before->serial);
  EXPECT_TRUE(server.stop());
}

TEST(PrivateServer, twoOfThemDoNotMeet) {
  PrivateServerOptions options = withoutDriver();
  options.sinks = {{"one", 2, "One"}};
  const PrivateServer first(options);
  options.sinks = {{"two", 2, "Two"}};
  const PrivateServer second(options);
  EXPECT_TRUE(ServerDump(first).node("one"));
  EXPECT_FALSE(ServerDump(first).node("two"));
  EXPECT_TRUE(ServerDump(second).node("two"));
}

}  // namespace
}  // namespace brindlemux::test
