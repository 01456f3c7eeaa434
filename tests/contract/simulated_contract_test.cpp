#include "contract/audio_hardware_contract.h"
#include "platform/simulated/virtual_scheduler.h"
#include "support/simulated_scene.h"

namespace brindlemux::test {
namespace {

class SimulatedUnderTest final : public AudioHardwareUnderTest {
 public:
  AudioHardware& hardware() override { return hardware_; }
  Scheduler& queue() override { return queue_; }
  AudioObjectID outputDevice() override { return outputDevice_; }
  AudioObjectID inputDevice() override { return inputDevice_; }
  AudioObjectID playingProcess() override { return process_; }
  std::int32_t playingProcessPID() override { return pid; }

  void plug(const std::string& uid) override { hardware_.addDevice(brindlemux::test::outputDevice(uid)); }
  void unplug(const std::string& uid) override { hardware_.removeDevice(hardware_.deviceWithUID(uid)); }

  bool waitUntil(const std::function<bool()>& condition) override {
    // Ten virtual seconds, a millisecond at a time.
    for (int step = 0; step < 10000; ++step) {
      if (condition()) return true;
      hardware_.advance(48);
      queue_.advance(std::chrono::milliseconds(1));
    }
    return condition();
  }

 private:
  static constexpr std::int32_t pid = 4711;

  SimulatedAudioHardware hardware_;
  VirtualScheduler queue_;
  AudioObjectID outputDevice_ = hardware_.addDevice(brindlemux::test::outputDevice("Speakers"));
  AudioObjectID inputDevice_ = hardware_.addDevice(brindlemux::test::inputDevice("Microphone"));
  AudioObjectID process_ = hardware_.addProcess(brindlemux::test::playingProcess(pid, "com.example.Player"));
};

INSTANTIATE_TEST_SUITE_P(Simulated, AudioHardwareContract,
                         testing::Values(AudioHardwareFactory{"simulated",
                                                              [] { return std::make_unique<SimulatedUnderTest>(); }}));

}  // namespace
}  // namespace brindlemux::test
