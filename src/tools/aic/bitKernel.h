// The ways in which a band writes numbers; see sliceKernel.h for how this
// is built.
#pragma once

#include <cstdint>

#include "tools/blocks/BitWriter.h"

namespace tessarin::aic {
namespace {

using blocks::BitWriter;

// One of the sixteen ways to write a number n: the high part n >> bits as an Exp-Golomb code or in
// unary, then the low `bits` bits.
struct NumberCode {
  bool golomb = true;
  unsigned bits = 0;
  std::uint64_t size = 0;  // of all numbers together, in bits
};

// Decoders need not read more than 31 or so zeros in a unary part.
constexpr std::uint32_t longestUnary = 30;

// Position of the highest bit that is set.
TESSARIN_INLINE unsigned highestBit(std::uint32_t number) {
  return 31 - static_cast<unsigned>(__builtin_clz(number));
}

// The cheapest way for numbers of which reaching[n] are n or more, with n up to `largest`. A unary
// part has a bit for each multiple of 2^bits that is reached, an Exp-Golomb code two for each
// length that is reached.
NumberCode cheapestCode(const std::uint32_t* reaching, int largestNumber) {
  const auto largest = static_cast<std::uint32_t>(largestNumber);
  const std::uint64_t count = reaching[0];
  NumberCode best;
  best.size = ~std::uint64_t{0};
  for (unsigned bits = 0; bits < 8; ++bits) {
    const std::uint32_t step = 1U << bits;
    std::uint64_t lengths = 0;
    for (std::uint32_t bound = 2 * step; bound - step <= largest; bound *= 2)
      lengths += reaching[bound - step];
    const std::uint64_t golombSize = count * (1 + bits) + 2 * lengths;
    if (golombSize < best.size)
      best = {true, bits, golombSize};
    if (largest >> bits > longestUnary)
      continue;
    std::uint64_t zeros = 0;
    for (std::uint32_t bound = step; bound <= largest; bound += step)
      zeros += reaching[bound];
    const std::uint64_t unarySize = count * (1 + bits) + zeros;
    if (unarySize < best.size)
      best = {false, bits, unarySize};
  }
  return best;
}

// The bits of single numbers. Both ways end with the number's low bits, and an Exp-Golomb code
// with them behind it is one of a higher order: the number plus 2^bits with zeros before it.
template <bool golomb>
class NumberWriter {
 public:
  explicit NumberWriter(const NumberCode& code) : bits_(code.bits), step_(1U << code.bits) {}

  TESSARIN_INLINE std::uint64_t code(std::uint32_t number) const {
    return golomb ? number + step_ : (number & (step_ - 1)) | step_;
  }
  TESSARIN_INLINE unsigned length(std::uint32_t number) const {
    return golomb ? 2 * highestBit(number + step_) + 1 - bits_ : (number >> bits_) + 1 + bits_;
  }

 private:
  unsigned bits_;
  std::uint32_t step_;
};

}  // namespace
}  // namespace tessarin::aic
