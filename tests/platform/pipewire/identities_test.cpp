// Whom the program takes the server's clients for.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/discovery.h"
#include "platform/pipewire/heard.h"
#include "platform/pipewire/server_fixture.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// A desktop that knows one application. Where desktops keep their applications is asked for once in a process, so that
/// it is told before the first test.
class KnownApplication : public testing::Environment {
 public:
  void SetUp() override {
    const auto entries = folder_.path() / "applications";
    std::filesystem::create_directory(entries);
    std::ofstream(entries / "org.example.TonePlayer.desktop")
        << "[Desktop Entry]\nType=Application\nName=Tone Player\nExec=tone-player %U\n";
    setenv("XDG_DATA_DIRS", folder_.path().c_str(), 1);
  }

 private:
  TemporaryFolder folder_;
};

const auto* const knownApplication = testing::AddGlobalTestEnvironment(new KnownApplication);

/// What tells a playing process: its identity and its name.
using Identity = std::pair<std::string, std::string>;

class Identities : public PipeWireServer {
 protected:
  /// A program of that name that plays as `player` does.
  std::string programLike(const std::string& player, const std::string& name) {
    const std::string found = server_.run({"which", player}).output;
    auto program = server_.folder() / name;
    std::filesystem::copy_file(found.substr(0, found.find('\n')), program);
    return program.string();
  }
  std::vector<AudioProcessInfo> playing() const {
    auto processes = Discovery(*hardware_, hardware_->runningApplications()).listAudioProcesses();
    std::erase_if(processes, [](const AudioProcessInfo& process) { return !process.isPlaying; });
    return processes;
  }
  std::multiset<Identity> identities() const {
    std::multiset<Identity> found;
    for (const AudioProcessInfo& process : playing()) found.emplace(process.bundleID.value_or("none"), process.name);
    return found;
  }
  /// The object of the process that plays under that identity.
  AudioObjectID objectOf(const std::string& bundleID) const {
    for (const AudioProcessInfo& process : playing()) {
      if (process.bundleID == bundleID) return process.id;
    }
    return kAudioObjectUnknown;
  }
};

TEST_F(Identities, everyKindOfClientIsKnownForWhatItIs) {
  const std::string tone = writeTone().string();
  const std::vector<std::pair<std::vector<std::string>, Identity>> clients = {
      // Another name for pacat.
      {{"paplay", tone}, {"pacat", "paplay"}},
      // A name that a library gives to whatever uses it says nothing; nor does what is being played.
      {{programLike("pacat", "pulse-player"), "--playback", "--file-format", "--client-name=Lavf59", tone},
       {"pulse-player", "pulse-player"}},
      {{programLike("pw-cat", "native-player"), "--playback", tone}, {"native-player", "native-player"}},
      // The plug-in calls its user "PipeWire ALSA [aplay]".
      {{"aplay", "-q", "-D", "pipewire", tone}, {"aplay", "aplay"}},
      {{"pw-jack", "jack_simple_client"}, {"jack_simple_client", "jack_simple_client"}},
      {{"env", R"(PIPEWIRE_PROPS={ application.id = org.example.Native application.name = "SDL Application" })",
        programLike("pw-cat", "sdl-player"), "--playback", tone},
       {"org.example.Native", "sdl-player"}},
      {{"env", "PULSE_PROP=application.id=org.example.Pulse", programLike("pacat", "named-player"), "--playback",
        "--file-format", "--client-name=A Player", tone},
       {"org.example.Pulse", "A Player"}},
      {{"env",
        ("PULSE_PROP=application.id=org.example.Other application.process.id=2 "
         "pipewire.access.portal.app_id=org.example.Boxed"),
        programLike("pacat", "boxed-player"), "--playback", "--file-format", "--client-name=Boxed", tone},
       {"org.example.Boxed", "Boxed"}},
      {{programLike("pw-cat", "tone-player"), "--playback", tone}, {"org.example.TonePlayer", "Tone Player"}},
  };
  std::vector<std::unique_ptr<ChildProcess>> processes;
  std::multiset<Identity> expected;
  for (const auto& [command, identity] : clients) {
    processes.push_back(server_.launch(command));
    expected.insert(identity);
  }
  waitUntil([&] { return identities() == expected; });
  EXPECT_EQ(identities(), expected) << server_.logs();
}

TEST_F(Identities, twoThatCallThemselvesAlikeStayApart) {
  const auto play = [&](const std::string& program, double frequencyHz) {
    const auto path = server_.folder() / (program + ".wav");
    const std::vector<float> tone = sineTone(48000 * 60, frequencyHz, 0.1, 48000);
    writeWav(path, {.sampleRateHz = 48000, .channels = {tone, tone}});
    return server_.launch({programLike("pacat", program), "--playback", "--file-format", "--client-name=Player",
                           "--stream-name=Music", path.string()});
  };
  const auto first = play("first-player", 1000);
  const auto second = play("second-player", 2000);
  const std::multiset<Identity> expected = {{"first-player", "Player"}, {"second-player", "Player"}};
  waitUntil([&] { return identities() == expected; });
  ASSERT_EQ(identities(), expected) << server_.logs();
  for (const auto& [program, own, foreign] :
       {std::tuple("first-player", 1000.0, 2000.0), {"second-player", 2000.0, 1000.0}}) {
    Heard heard;
    const RunningTap tap = startTap(*hardware_, {.processes = {objectOf(program)}}, heard.recorder());
    // Amplitude 0.1.
    const Heard::Levels levels = {{own, {-20, -20}}, {foreign, {silenceDb, silenceDb}}};
    EXPECT_EQ(heard.differencesFrom(levels), "") << program << server_.logs();
    EXPECT_EQ(hardware_->destroyIOProc(tap.aggregate, tap.procedure), noErr);
    EXPECT_EQ(hardware_->destroyAggregateDevice(tap.aggregate), noErr);
    EXPECT_EQ(hardware_->destroyProcessTap(tap.tap), noErr);
  }
}

TEST_F(Identities, processesOfOneApplicationAreOneApplicationAndSeveralObjects) {
  const std::string tone = writeTone().string();
  const auto first = server_.launch({"paplay", tone});
  const auto second = server_.launch({"paplay", tone});
  const std::multiset<Identity> expected = {{"pacat", "paplay"}, {"pacat", "paplay"}};
  waitUntil([&] { return identities() == expected; });
  ASSERT_EQ(identities(), expected) << server_.logs();
  const auto processes = playing();
  EXPECT_NE(processes[0].id, processes[1].id);
  EXPECT_EQ(std::set({processes[0].pid, processes[1].pid}), std::set({first->pid(), second->pid()}));
}

}  // namespace
}  // namespace brindlemux::test
