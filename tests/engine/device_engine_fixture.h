#pragma once

#include <gtest/gtest.h>

#include "support/routed_engine.h"

namespace brindlemux::test {

/// An engine with a virtual device to play into, a microphone and a player that sound, and speakers for a monitor.
class DeviceEngineTest : public testing::Test, public RoutedEngine {
 protected:
  AudioObjectID virtualDevice = hardware.addDevice(loopbackDevice(virtualUID));
  AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  AudioObjectID microphone = hardware.addDevice(inputDevice("Microphone", 2, constantSignal(0.25F)));
  AudioObjectID player = hardware.addProcess(playingProcess(100, "com.example.Player", constantSignal(0.125F)));
};

}  // namespace brindlemux::test
