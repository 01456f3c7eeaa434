#pragma once

#include <cstdint>
#include <span>

namespace brindlemux {

/// A block handed to a converter: sample i of channel c is channels[c][i * stride]. No frames: no data now.
struct ConverterInput {
  std::span<const float* const> channels;
  std::int64_t stride = 1;
  std::int64_t frames = 0;
};

/// Supplies a converter with input when it asks.
class ConverterSource {
 public:
  /// `frames` is what the converter can use; the source may hand over more or fewer. What it hands over stays valid and
  /// unchanged until the next pull, or until a conversion ends for want of data.
  ///
  /// Threads: the one that converts; never allocates.
  virtual ConverterInput pull(std::int64_t frames) noexcept = 0;

 protected:
  ~ConverterSource() = default;
};

}  // namespace brindlemux
