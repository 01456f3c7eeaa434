#include <string>

#include "fuzz/fuzz_target.h"
#include "platform/driver_config.h"
#include "platform/pipewire/json_dictionary.h"
#include "platform/pipewire/metadata_values.h"
#include "platform/simulated/simulated_audio_hardware.h"
#include "support/simulated_scene.h"

using namespace brindlemux;
using test::require;

// What the program makes of metadata that any client may have written: the driver's list, and the session's defaults.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = test::textOf(data, size);
  const auto name = nodeNameIn(text);
  const auto rate = positiveNumberIn(text);
  require(!rate || (*rate >= 1 && *rate <= 4294967295.0), "a rate is positive");

  const auto dictionary = dictionaryFromJSON(text);
  require(isSameJSON(text, text) == dictionary.has_value(), "only JSON equals itself");
  if (!dictionary) {
    require(!name, "no name stands in what is no JSON");
    return 0;
  }
  const std::string written = jsonFromDictionary(*dictionary);
  const auto again = dictionaryFromJSON(written);
  require(again.has_value(), "what was written can be read");

  test::SimulatedScene scene;
  DriverConfig config{scene.hardware};
  scene.hardware.installDriver();
  SimulatedAnswer answer;
  answer.value = *dictionary;
  scene.hardware.setAnswer(scene.hardware.driver(), driverPropertyAddress, std::move(answer));
  const auto devices = config.readDevices();
  if (!devices) return 0;
  for (const VirtualDeviceConfig& device : *devices) {
    require(device.channels >= 2 && device.channels <= 16 && device.channels % 2 == 0, "channels are even, 2 to 16");
  }
  return 0;
}
