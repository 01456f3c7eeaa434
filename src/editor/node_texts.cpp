#include "editor/node_texts.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace brindlemux {

std::string channelLabel(std::int64_t channel) {
  if (channel == 0) return "1 (L)";
  if (channel == 1) return "2 (R)";
  return std::to_string(channel + 1);
}

std::string gainText(float gain) {
  // The largest gain of a graphs file has 41 digits.
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.0f%%", static_cast<double>(std::round(gain * 100.0F)));
  return text.data();
}

std::string sourceName(const SourceKindConfig& kind) {
  if (const auto* app = std::get_if<AppSource>(&kind)) return app->name;
  if (const auto* mic = std::get_if<MicSource>(&kind)) return mic->name;
  return "System Audio";
}

std::string sourceSymbol(const SourceKindConfig& kind) {
  if (std::holds_alternative<AppSource>(kind)) return "app.badge";
  if (std::holds_alternative<MicSource>(kind)) return "mic.fill";
  return "speaker.wave.2.fill";
}

std::string sourceSubtitle(bool isEnabled, bool isActive) {
  if (!isEnabled) return "Disabled";
  return isActive ? "Capturing audio" : "Source inactive (app not running?)";
}

}  // namespace brindlemux
