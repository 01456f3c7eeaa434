#include "model/fatal_error.h"

#include <cstdio>
#include <cstdlib>

namespace brindlemux {

void fatalError(std::string_view what) noexcept {
  std::fprintf(stderr, "Brindlemux: fatal error: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace brindlemux
