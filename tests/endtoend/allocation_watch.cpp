// Loaded into the program before the C library: counts what its data thread allocates and frees, in a file that the
// environment names and that a test reads.
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "endtoend/allocation_counts.h"

namespace {

using brindlemux::test::AllocationCounts;

// Of the initial-exec kind, so that reaching it from within malloc never allocates.
__attribute__((tls_model("initial-exec"))) constinit thread_local bool isDataThread = false;
std::atomic<AllocationCounts*> counts = nullptr;

void note(std::atomic<std::int64_t> AllocationCounts::*counter) noexcept {
  AllocationCounts* const shared = counts.load(std::memory_order_relaxed);
  if (shared == nullptr) return;
  (shared->*(isDataThread ? counter : &AllocationCounts::otherCalls)).fetch_add(1, std::memory_order_relaxed);
}

__attribute__((constructor)) void openCounts() {
  const char* const path = std::getenv("BRINDLEMUX_ALLOCATION_COUNTS");
  if (path == nullptr) return;
  const int file = open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) return;
  void* const memory = mmap(nullptr, sizeof(AllocationCounts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory != MAP_FAILED) counts = static_cast<AllocationCounts*>(memory);
}

}  // namespace

// The C library's own entries, under names that stay reachable when the usual ones are taken over.
extern "C" {

/// The program's data thread names itself.
int pthread_setname_np(pthread_t thread, const char* name) noexcept {
  AllocationCounts* const shared = counts.load(std::memory_order_relaxed);
  if (std::strcmp(name, "brindlemux-data") == 0 && pthread_equal(thread, pthread_self()) != 0) {
    isDataThread = true;
    if (shared != nullptr) shared->dataThreads.fetch_add(1, std::memory_order_relaxed);
  }
  using SetName = int (*)(pthread_t, const char*);
  static const auto setName = reinterpret_cast<SetName>(dlsym(RTLD_NEXT, "pthread_setname_np"));
  return setName(thread, name);
}

// The library's own names for what stands below.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  return __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  note(&AllocationCounts::allocations);
  *block = __libc_memalign(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) noexcept {
  if (block != nullptr) note(&AllocationCounts::frees);
  __libc_free(block);
}

}  // extern "C"
