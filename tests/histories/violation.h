#pragma once

#include <stdexcept>
#include <string>

namespace brindlemux::history {

/// What a history found wrong.
class Violation : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& otherwise) {
  if (!holds) throw Violation(otherwise);
}

}  // namespace brindlemux::history
