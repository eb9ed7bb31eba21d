// Two blocks side by side in one vector of sixteen 16-bit lanes, for processors with AVX2.
// lanesPortable.h has the same names for all others.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "tools/blocks/lanes.h"

namespace tessarin::aic {
namespace {

using Pair = std::int16_t __attribute__((vector_size(32)));

TESSARIN_INLINE __m256i raw(Pair lanes) {
  return reinterpret_cast<__m256i>(lanes);
}

TESSARIN_INLINE Pair lanes(__m256i value) {
  return reinterpret_cast<Pair>(value);
}

// Eight samples of each block.
TESSARIN_INLINE Pair load(const std::uint8_t* first, const std::uint8_t* second) {
  return lanes(
      _mm256_cvtepu8_epi16(_mm_unpacklo_epi64(_mm_loadu_si64(first), _mm_loadu_si64(second))));
}

// The same eight numbers for both blocks; aligned to 16 bytes.
TESSARIN_INLINE Pair repeated(const std::uint16_t* numbers) {
  return lanes(
      _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(numbers))));
}

// The high halves of the products, rounded down.
TESSARIN_INLINE Pair highProduct(Pair a, std::int16_t factor) {
  return lanes(_mm256_mulhi_epi16(raw(a), _mm256_set1_epi16(factor)));
}

TESSARIN_INLINE Pair highProductUnsigned(Pair a, Pair b) {
  return lanes(_mm256_mulhi_epu16(raw(a), raw(b)));
}

TESSARIN_INLINE Pair shiftedUnsigned(Pair a, int count) {
  return lanes(_mm256_srl_epi16(raw(a), _mm_cvtsi32_si128(count)));
}

TESSARIN_INLINE Pair absolute(Pair a) {
  return lanes(_mm256_abs_epi16(raw(a)));
}

TESSARIN_INLINE Pair larger(Pair a, Pair b) {
  return lanes(_mm256_max_epi16(raw(a), raw(b)));
}

// The lanes of both, alternating, from the lower or upper four of each block.
struct AlternatingPairs {
  static TESSARIN_INLINE Pair low(Pair a, Pair b) {
    return lanes(_mm256_unpacklo_epi16(raw(a), raw(b)));
  }
  static TESSARIN_INLINE Pair high(Pair a, Pair b) {
    return lanes(_mm256_unpackhi_epi16(raw(a), raw(b)));
  }
};

// The lower or upper four lanes of a, then those of b.
TESSARIN_INLINE Pair lowHalves(Pair a, Pair b) {
  return lanes(_mm256_unpacklo_epi64(raw(a), raw(b)));
}
TESSARIN_INLINE Pair highHalves(Pair a, Pair b) {
  return lanes(_mm256_unpackhi_epi64(raw(a), raw(b)));
}

// Lanes of a (0 to 7) and b (8 to 15) in another order; one for each block.
struct Order {
  // Bytes of a and of b in the processor's form, where 0x80 makes a zero.
  alignas(32) std::uint8_t fromA[32] = {};
  alignas(32) std::uint8_t fromB[32] = {};

  constexpr Order(const std::uint8_t (&first)[8], const std::uint8_t (&second)[8]) {
    for (int i = 0; i < 32; ++i) {
      const int lane = i < 16 ? first[i / 2] : second[i / 2 - 8];
      const int byte = 2 * (lane & 7) + (i & 1);
      fromA[i] = static_cast<std::uint8_t>(lane < 8 ? byte : 0x80);
      fromB[i] = static_cast<std::uint8_t>(lane < 8 ? 0x80 : byte);
    }
  }
};

TESSARIN_INLINE Pair reordered(Pair a, Pair b, const Order& order) {
  const __m256i lanesOfA =
      _mm256_shuffle_epi8(raw(a), _mm256_load_si256(reinterpret_cast<const __m256i*>(order.fromA)));
  const __m256i lanesOfB =
      _mm256_shuffle_epi8(raw(b), _mm256_load_si256(reinterpret_cast<const __m256i*>(order.fromB)));
  return lanes(_mm256_or_si256(lanesOfA, lanesOfB));
}

// Sixteen lanes of each block, `low` before `high`, to places of their own; aligned to 32 bytes.
TESSARIN_INLINE void store(Pair low, Pair high, std::uint16_t* first, std::uint16_t* second) {
  _mm256_store_si256(reinterpret_cast<__m256i*>(first),
                     _mm256_permute2x128_si256(raw(low), raw(high), 0x20));
  _mm256_store_si256(reinterpret_cast<__m256i*>(second),
                     _mm256_permute2x128_si256(raw(low), raw(high), 0x31));
}

// A bit for each lane that is not zero: the first block's sixteen, then the second's.
TESSARIN_INLINE std::uint32_t nonZeroLanes(Pair low, Pair high) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i zeros =
      _mm256_packs_epi16(_mm256_cmpeq_epi16(raw(low), zero), _mm256_cmpeq_epi16(raw(high), zero));
  return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(zeros));
}

TESSARIN_INLINE int largestLane(Pair a) {
  int largest = 0;
  for (int i = 0; i < 16; ++i)
    largest = a[i] > largest ? a[i] : largest;
  return largest;
}

}  // namespace
}  // namespace tessarin::aic
