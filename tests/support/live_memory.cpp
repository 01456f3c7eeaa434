#include "support/live_memory.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<std::int64_t> liveBlocks;
std::atomic<std::int64_t> liveBytes;

void* count(void* block) noexcept {
  if (block == nullptr) return nullptr;
  liveBlocks.fetch_add(1, std::memory_order_relaxed);
  liveBytes.fetch_add(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
  return block;
}

void* counted(void* block) {
  if (count(block) == nullptr) throw std::bad_alloc();
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  liveBytes.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
  std::free(block);
}

}  // namespace

brindlemux::test::LiveMemory brindlemux::test::liveMemory() noexcept { return {liveBlocks, liveBytes}; }

// The library's other forms of these come down to them; those that do not throw are here too, since a sanitizer has its
// own. Visible, so that shared libraries come through here too.
#define BRINDLEMUX_VISIBLE __attribute__((visibility("default")))

BRINDLEMUX_VISIBLE void* operator new(std::size_t size) { return counted(std::malloc(size != 0 ? size : 1)); }
BRINDLEMUX_VISIBLE void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return count(std::malloc(size != 0 ? size : 1));
}
BRINDLEMUX_VISIBLE void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}
BRINDLEMUX_VISIBLE void operator delete(void* block) noexcept { release(block); }
BRINDLEMUX_VISIBLE void operator delete(void* block, std::size_t) noexcept { release(block); }
BRINDLEMUX_VISIBLE void operator delete(void* block, std::align_val_t) noexcept { release(block); }
BRINDLEMUX_VISIBLE void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
