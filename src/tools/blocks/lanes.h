// Eight numbers of 16 bits side by side, for kernels: code that is built once for any processor and
// once for those with AVX2. All that kernels are made of has internal linkage and calls no function
// of the standard library, so that nothing for the newer processor can leak into the rest of the
// program. What the compiler does not find by itself is told to it where the processor is known.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstdint>

namespace tessarin::blocks {
namespace {

#define TESSARIN_INLINE inline __attribute__((always_inline))

using Words = std::int16_t __attribute__((vector_size(16)));
using UnsignedWords = std::uint16_t __attribute__((vector_size(16)));
using Octets = std::uint8_t __attribute__((vector_size(8)));

TESSARIN_INLINE Words loadOctets(const std::uint8_t* samples) {
  Octets octets;
  __builtin_memcpy(&octets, samples, sizeof octets);
  return __builtin_convertvector(octets, Words);
}

// The lanes of both, alternating, from the lower or upper four.
TESSARIN_INLINE Words alternatingLow(Words a, Words b) {
  return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
}
TESSARIN_INLINE Words alternatingHigh(Words a, Words b) {
  return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
}

// A bit for each lane that is not zero, those of `low` first.
TESSARIN_INLINE std::uint32_t nonZeroLanes(Words low, Words high) {
#ifdef __SSE2__
  const __m128i zero = _mm_setzero_si128();
  const __m128i zeros = _mm_packs_epi16(_mm_cmpeq_epi16(reinterpret_cast<__m128i>(low), zero),
                                        _mm_cmpeq_epi16(reinterpret_cast<__m128i>(high), zero));
  return ~static_cast<std::uint32_t>(_mm_movemask_epi8(zeros)) & 0xFFFF;
#else
  std::uint32_t marks = 0;
  for (int i = 0; i < 8; ++i)
    marks |= (low[i] != 0 ? 1U : 0U) << i | (high[i] != 0 ? 256U : 0U) << i;
  return marks;
#endif
}

}  // namespace
}  // namespace tessarin::blocks
