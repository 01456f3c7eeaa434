#pragma once

#include <string_view>

namespace brindlemux {

/// Where the program reports what a person may want to read later.
class SystemLog {
 public:
  virtual ~SystemLog() = default;
  /// Writes one line; `text` carries no line end.
  virtual void write(std::string_view text) = 0;
};

/// Standard error, which a desktop session keeps in its journal. Threads: any.
class StandardErrorLog final : public SystemLog {
 public:
  void write(std::string_view text) override;
};

}  // namespace brindlemux
