#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace brindlemux {

/// What the registers of the kernels and the first-level cache are aligned to.
inline constexpr std::size_t cacheLineBytes = 64;

/// Gives out memory that begins with a cache line: a register that crosses two is read and written at half the speed.
template <typename T>
struct CacheLineAllocator {
  using value_type = T;

  CacheLineAllocator() = default;
  template <typename Other>
  explicit CacheLineAllocator(const CacheLineAllocator<Other>&) noexcept {}

  T* allocate(std::size_t count) {
    return static_cast<T*>(::operator new (count * sizeof(T), std::align_val_t{cacheLineBytes}));
  }
  void deallocate(T* memory, std::size_t) noexcept { ::operator delete (memory, std::align_val_t{cacheLineBytes}); }

  friend bool operator==(const CacheLineAllocator&, const CacheLineAllocator&) = default;
};

using AlignedFloats = std::vector<float, CacheLineAllocator<float>>;

}  // namespace brindlemux
