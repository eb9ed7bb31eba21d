// Part of kernels; lanes.h says how they are built.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/blocks/lanes.h"

namespace tessarin::blocks {
namespace {

// Bits, most significant first.
class BitWriter {
 public:
  static constexpr unsigned mostBits = 56;

  // Every call may touch eight bytes behind what it writes.
  explicit BitWriter(std::uint8_t* bytes) : start_(bytes), next_(bytes) {}

  // Appends the low `length` bits of `code`, whose other bits are zero; 1 to mostBits.
  TESSARIN_INLINE void put(std::uint64_t code, unsigned length) {
    waiting_ = waiting_ << length | code;
    count_ += length;
    const std::uint64_t aligned = __builtin_bswap64(waiting_ << (64 - count_));
    __builtin_memcpy(next_, &aligned, sizeof aligned);
    next_ += count_ >> 3;
    count_ &= 7;
  }

  // Fills up to a multiple of so many bytes and answers the length.
  std::size_t finish(int multiple) {
    if (count_ != 0)
      put(0, 8 - count_);
    while ((next_ - start_) % multiple != 0)
      *next_++ = 0;
    return static_cast<std::size_t>(next_ - start_);
  }

 private:
  std::uint8_t* start_;
  std::uint8_t* next_;
  std::uint64_t waiting_ = 0;  // only the low count_ bits are still to be written
  unsigned count_ = 0;
};

}  // namespace
}  // namespace tessarin::blocks
