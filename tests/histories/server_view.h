#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "histories/world.h"

namespace brindlemux::history {

/// What runs or shall run for one engine, in lines of text, sorted. `kinds` says what it is made for, `details` how.
struct Running {
  std::vector<std::string> kinds;
  std::vector<std::string> details;

  void add(const std::string& kind, const std::string& detail);
  void sort();

  static std::string captureOf(const std::string& uid, AudioObjectID device);
  static std::string outputOn(const std::string& uid, AudioObjectID device);
  static std::string channels(std::int64_t count);
  /// `bundleID` is empty for a tap of all system audio.
  static std::string tapOf(const std::string& bundleID);
  /// What a tap hears, or what it does not, and on which clock.
  static std::string tapDetail(const std::vector<AudioObjectID>& processes, const std::string& clockUID);
};

/// A tap that an engine runs.
struct RunningTap {
  std::vector<AudioObjectID> processes;
  std::string clockUID;
};

/// By the bundle ID of what is tapped, empty for all system audio: an engine has one of each at the most.
using RunningTaps = std::map<std::string, RunningTap>;

using Labels = std::set<std::string>;

/// The label of everything that exists on the server for its clients: procedures, units, taps and aggregates.
Labels labelsOf(const SimulatedAudioHardware& hardware);

/// What the resources with these labels amount to. Anything halfway, stopped or without its counterpart is a line of
/// its own that no graph asks for.
Running runningOf(const World& world, const Labels& labels);
RunningTaps tapsOf(const World& world, const Labels& labels);

/// Releases the resources with these labels, as a server does that is itself again.
void release(SimulatedAudioHardware& hardware, const Labels& labels);

}  // namespace brindlemux::history
