#include "support/realtime_guard.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BRINDLEMUX_SANITIZED_ALLOCATOR 1
#else
#define BRINDLEMUX_SANITIZED_ALLOCATOR 0
#endif

namespace {

// Of the initial-exec kind, so that reaching them from within malloc never allocates.
#define BRINDLEMUX_EARLY_THREAD_LOCAL __attribute__((tls_model("initial-exec"))) constinit thread_local

BRINDLEMUX_EARLY_THREAD_LOCAL bool counting = false;
BRINDLEMUX_EARLY_THREAD_LOCAL brindlemux::test::RealtimeCounts counts;

void countAllocation() noexcept {
  if (counting) ++counts.allocations;
}

void countFree(const volatile void* block) noexcept {
  if (counting && block != nullptr) ++counts.frees;
}

}  // namespace

namespace brindlemux::test {

RealtimeGuard::RealtimeGuard() noexcept {
  counts = {};
  counting = true;
}

RealtimeGuard::~RealtimeGuard() { counting = false; }

RealtimeCounts RealtimeGuard::finish() noexcept {
  counting = false;
  return counts;
}

bool RealtimeGuard::countsLocks() noexcept { return BRINDLEMUX_SANITIZED_ALLOCATOR == 0; }

}  // namespace brindlemux::test

#if BRINDLEMUX_SANITIZED_ALLOCATOR

// Of the sanitizers' runtime library; GCC installs no header for it.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, std::size_t),
                                                         void (*)(const volatile void*));

namespace {

[[maybe_unused]] const int hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { countAllocation(); }, [](const volatile void* block) { countFree(block); });

}  // namespace

#else

namespace {

void countBlockingLock() noexcept {
  if (counting) ++counts.blockingLocks;
}

/// The C library's own function of a name that this file takes over.
template <typename Function>
Function* original(const char* name) noexcept {
  void* const symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) std::abort();
  return reinterpret_cast<Function*>(symbol);
}

}  // namespace

// Visible, so that shared libraries too (the C++ library's operator new among them) come through here.
#define BRINDLEMUX_TAKE_OVER __attribute__((visibility("default")))

extern "C" {

// The C library's own entries, under names that stay reachable when the usual ones are taken over.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
// NOLINTEND(bugprone-reserved-identifier)

BRINDLEMUX_TAKE_OVER void* malloc(std::size_t size) noexcept {
  countAllocation();
  return __libc_malloc(size);
}

BRINDLEMUX_TAKE_OVER void* calloc(std::size_t count, std::size_t size) noexcept {
  countAllocation();
  return __libc_calloc(count, size);
}

BRINDLEMUX_TAKE_OVER void* realloc(void* block, std::size_t size) noexcept {
  countAllocation();
  return __libc_realloc(block, size);
}

BRINDLEMUX_TAKE_OVER void* memalign(std::size_t alignment, std::size_t size) noexcept {
  countAllocation();
  return __libc_memalign(alignment, size);
}

BRINDLEMUX_TAKE_OVER void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  countAllocation();
  return __libc_memalign(alignment, size);
}

BRINDLEMUX_TAKE_OVER int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  countAllocation();
  *block = __libc_memalign(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

BRINDLEMUX_TAKE_OVER void free(void* block) noexcept {
  countFree(block);
  __libc_free(block);
}

BRINDLEMUX_TAKE_OVER int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static const auto forward = original<int(pthread_mutex_t*)>("pthread_mutex_lock");
  countBlockingLock();
  return forward(mutex);
}

BRINDLEMUX_TAKE_OVER int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  static const auto forward = original<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
  countBlockingLock();
  return forward(lock);
}

BRINDLEMUX_TAKE_OVER int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  static const auto forward = original<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
  countBlockingLock();
  return forward(lock);
}

BRINDLEMUX_TAKE_OVER long syscall(long number, ...) noexcept {
  static const auto forward = original<long(long, ...)>("syscall");
  // Reading more than was passed is harmless here: the arguments travel in registers and stack slots that exist.
  va_list list;
  va_start(list, number);
  const long first = va_arg(list, long);
  const long second = va_arg(list, long);
  const long third = va_arg(list, long);
  const long fourth = va_arg(list, long);
  const long fifth = va_arg(list, long);
  const long sixth = va_arg(list, long);
  va_end(list);
  if (number == SYS_futex) countBlockingLock();
  return forward(number, first, second, third, fourth, fifth, sixth);
}

}  // extern "C"

#endif
