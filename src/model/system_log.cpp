#include "model/system_log.h"

#include <cstdio>

namespace brindlemux {

void StandardErrorLog::write(std::string_view text) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
}

}  // namespace brindlemux
