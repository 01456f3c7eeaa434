#include "app/shell/process_setup.h"

#include <malloc.h>
#include <sys/resource.h>

namespace brindlemux {

void allowManyFiles() noexcept {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

void returnLargeBlocks() noexcept {
  // What the library begins with; that it is said keeps it so.
  constexpr int bytes = 128 * 1024;
  mallopt(M_MMAP_THRESHOLD, bytes);
}

}  // namespace brindlemux
