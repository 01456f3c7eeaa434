#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace brindlemux::test {

/// What is left out of a graphs file has its default, as when a person writes it. Values are JSON's.
using TextMembers = std::map<std::string, std::string>;

/// From a channel of the source or of the device to one of the device or of the monitor.
struct TextWire {
  int from = 0;
  int to = 0;
};

struct TextSource {
  std::string kind;  ///< as the graphs file has it
  std::vector<TextWire> wires;
};

struct TextMonitor {
  std::string deviceUID;
  std::vector<TextWire> wires;
  TextMembers members = {};
};

std::string applicationKind(const std::string& bundleID);
std::string inputKind(const std::string& deviceUID);
std::string systemAudioKind();

/// The identifier of the source at that place in the text.
std::string sourceIDInText(std::size_t place);

/// The graphs file of the session's device alone.
std::string graphText(const TextMembers& members, const std::vector<TextSource>& sources,
                      const std::vector<TextMonitor>& monitors);

}  // namespace brindlemux::test
