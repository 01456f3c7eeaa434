#include "platform/simulated/property_text.h"

#include <sstream>
#include <string_view>

namespace brindlemux {
namespace {

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
// Some compilers of the language's version do not deduce it for an aggregate.
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

std::string numberText(double number) {
  std::ostringstream text;
  text.precision(15);
  text << number;
  return text.str();
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

template <typename Range, typename Text>
std::string joined(const Range& range, Text text) {
  std::string result;
  for (const auto& element : range) {
    if (!result.empty()) result += ' ';
    result += text(element);
  }
  return result;
}

std::string formatText(const StreamFormat& format) {
  return propertyText(format.formatID) + " flags " + std::to_string(format.formatFlags) + ", " +
         numberText(format.sampleRate) + " Hz, " + std::to_string(format.channelsPerFrame) + " channels, " +
         std::to_string(format.bitsPerChannel) + " bits, " + std::to_string(format.bytesPerFrame) + " bytes/frame, " +
         std::to_string(format.bytesPerPacket) + " bytes/packet, " + std::to_string(format.framesPerPacket) +
         " frames/packet";
}

const auto asNumber = [](const auto& number) { return std::to_string(number); };

}  // namespace

std::string propertyText(FourCharCode code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8)
    text += static_cast<char>((code >> static_cast<unsigned>(shift)) & 0xFFU);
  return text;
}

std::string propertyText(const DictionaryValue& value) {
  return std::visit(
      Overloaded{
          [](std::monostate) { return std::string("null"); },
          [](bool truth) { return std::string(truth ? "true" : "false"); },
          [](std::int64_t number) { return std::to_string(number); },
          [](double number) { return numberText(number); },
          [](const std::string& text) { return quoted(text); },
          [](const DictionaryArray& array) {
            return '[' + joined(array, [](const DictionaryValue& element) { return propertyText(element); }) + ']';
          },
          [](const Dictionary& dictionary) {
            return '{' +
                   joined(dictionary,
                          [](const auto& entry) { return entry.first + ": " + propertyText(entry.second); }) +
                   '}';
          },
      },
      value.value);
}

std::string propertyText(const PropertyValue& value) {
  return std::visit(
      Overloaded{
          [](std::monostate) { return std::string("null"); },
          [](std::uint32_t number) { return std::to_string(number); },
          [](std::int32_t number) { return std::to_string(number); },
          [](double number) { return numberText(number); },
          [](const std::string& text) { return quoted(text); },
          [](const std::vector<AudioObjectID>& ids) { return '[' + joined(ids, asNumber) + ']'; },
          [](const BufferLayout& layout) { return "buffers [" + joined(layout.channelsPerBuffer, asNumber) + ']'; },
          [](const StreamFormat& format) { return formatText(format); },
          [](const DictionaryValue& dictionary) { return propertyText(dictionary); },
      },
      value);
}

}  // namespace brindlemux
