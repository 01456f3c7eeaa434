#include "contract/audio_hardware_contract.h"
#include "platform/pipewire/pipewire_audio_hardware.h"
#include "platform/simulated/virtual_scheduler.h"
#include "support/private_server.h"
#include "support/sine_tone.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

class PipeWireUnderTest final : public AudioHardwareUnderTest {
 public:
  PipeWireUnderTest() : server_(serverOptions()) {
    server_.adoptEnvironment();
    const auto tone = server_.folder() / "tone.wav";
    writeWav(tone, {.sampleRateHz = 48000, .channels = {sineTone(48000 * 30, 1000, 0.5, 48000)}});
    player_ = server_.launch({"pw-play", tone.string()});
    hardware_ = std::make_unique<PipeWireAudioHardware>();
    const bool isComplete = waitUntil([this] {
      return device("speakers") != 0 && device("mic") != 0 && playingProcess() != 0 && isPlaying(playingProcess());
    });
    EXPECT_TRUE(isComplete) << server_.logs();
  }

  AudioHardware& hardware() override { return *hardware_; }
  Scheduler& queue() override { return queue_; }
  AudioObjectID outputDevice() override { return device("speakers"); }
  AudioObjectID inputDevice() override { return device("mic"); }
  AudioObjectID playingProcess() override {
    return translated(kAudioHardwarePropertyTranslatePIDToProcessObject, std::int32_t{playingProcessPID()});
  }
  std::int32_t playingProcessPID() override { return player_->pid(); }

  void plug(const std::string& uid) override {
    const RunResult loaded = server_.run({"pactl", "load-module", "module-null-sink", "sink_name=" + uid});
    EXPECT_EQ(loaded.status, 0) << loaded.error;
    module_ = loaded.output.substr(0, loaded.output.find('\n'));
  }
  void unplug(const std::string&) override {
    const RunResult unloaded = server_.run({"pactl", "unload-module", module_});
    EXPECT_EQ(unloaded.status, 0) << unloaded.error;
  }

  bool waitUntil(const std::function<bool()>& condition) override {
    return test::waitUntil([&] {
      queue_.runPosted();
      return condition();
    });
  }

 private:
  static PrivateServerOptions serverOptions() {
    PrivateServerOptions options;
    options.driver = PrivateServerOptions::Driver::absent;
    options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"}};
    options.sources = {{.name = "mic", .channels = 2, .description = "Microphone"}};
    return options;
  }

  AudioObjectID translated(FourCharCode selector, const PropertyValue& qualifier) {
    PropertyValue value;
    if (hardware_->propertyData(kAudioObjectSystemObject, {selector}, qualifier, value) != noErr) return 0;
    return std::get<AudioObjectID>(value);
  }
  AudioObjectID device(const std::string& uid) { return translated(kAudioHardwarePropertyTranslateUIDToDevice, uid); }
  bool isPlaying(AudioObjectID process) {
    PropertyValue value;
    return hardware_->propertyData(process, {kAudioProcessPropertyIsRunningOutput}, {}, value) == noErr &&
           std::get<std::uint32_t>(value) != 0;
  }

  PrivateServer server_;
  std::unique_ptr<ChildProcess> player_;
  VirtualScheduler queue_;
  std::unique_ptr<PipeWireAudioHardware> hardware_;
  std::string module_;
};

INSTANTIATE_TEST_SUITE_P(PipeWire, AudioHardwareContract,
                         testing::Values(AudioHardwareFactory{"pipewire",
                                                              [] { return std::make_unique<PipeWireUnderTest>(); }}));

}  // namespace
}  // namespace brindlemux::test
