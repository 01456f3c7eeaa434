#include "app/shell/process_setup.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>

namespace brindlemux {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

/// Not inline: the compiler may leave out an allocation that it sees the end of.
[[gnu::noinline]] std::unique_ptr<std::byte[]> block(std::size_t bytes) {
  return std::make_unique_for_overwrite<std::byte[]>(bytes);
}

/// The blocks that go back to the system when they are freed.
std::size_t returnableBlocks() { return mallinfo2().hblks; }

TEST(ProcessSetup, aLargeBlockGoesBackToTheSystemWhateverWasFreedBefore) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers bring an allocator of their own";
#endif
  returnLargeBlocks();
  // What the library learns from at most: 32 MiB.
  block(30 * mebibyte).reset();
  const std::size_t before = returnableBlocks();
  // More than what other tests in this process have left free.
  const std::size_t bytes = mallinfo2().fordblks + mebibyte;
  ASSERT_LT(bytes, 30 * mebibyte);
  const auto large = block(bytes);
  EXPECT_EQ(returnableBlocks(), before + 1);
}

}  // namespace
}  // namespace brindlemux
