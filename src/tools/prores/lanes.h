// Eight numbers of 32 bits side by side; tools/blocks/lanes.h says what kernels are. The compiler
// makes of these whatever the processor has.
#pragma once

#include <cstdint>

#include "tools/blocks/lanes.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace tessarin::prores {
namespace {

using blocks::Words;
using Floats = float __attribute__((vector_size(32)));
using Integers = std::int32_t __attribute__((vector_size(32)));

TESSARIN_INLINE Floats loadFloats(const float* from) {
  Floats value;
  __builtin_memcpy(&value, from, sizeof value);
  return value;
}

TESSARIN_INLINE void storeFloats(float* to, Floats value) {
  __builtin_memcpy(to, &value, sizeof value);
}

TESSARIN_INLINE Words loadWords(const void* from) {
  Words value;
  __builtin_memcpy(&value, from, sizeof value);
  return value;
}

TESSARIN_INLINE void storeWords(std::int16_t* to, Words value) {
  __builtin_memcpy(to, &value, sizeof value);
}

TESSARIN_INLINE Floats absolute(Floats value) {
  return reinterpret_cast<Floats>(reinterpret_cast<Integers>(value) & 0x7FFFFFFF);
}

// One where the number is below zero.
TESSARIN_INLINE Integers negative(Floats value) {
  return (reinterpret_cast<Integers>(value) >> 31) & 1;
}

// A bit for each lane that is as large as the other.
TESSARIN_INLINE std::uint32_t reaching(Floats a, Floats b) {
#if defined(__AVX2__)
  return static_cast<std::uint32_t>(_mm256_movemask_ps(
      _mm256_cmp_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b), _CMP_GE_OQ)));
#elif defined(__SSE2__)
  __m128 parts[4];
  __builtin_memcpy(parts, &a, sizeof a);
  __builtin_memcpy(parts + 2, &b, sizeof b);
  return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_cmpge_ps(parts[0], parts[2])) |
                                    _mm_movemask_ps(_mm_cmpge_ps(parts[1], parts[3])) << 4);
#else
  std::uint32_t marks = 0;
  for (int i = 0; i < 8; ++i)
    marks |= (a[i] >= b[i] ? 1U : 0U) << i;
  return marks;
#endif
}

// Numbers of -32,768 to 32,767 with sixteen bits each.
TESSARIN_INLINE Words narrowed(Integers value) {
#if defined(__AVX2__)
  const auto raw = reinterpret_cast<__m256i>(value);
  return reinterpret_cast<Words>(
      _mm_packs_epi32(_mm256_castsi256_si128(raw), _mm256_extracti128_si256(raw, 1)));
#elif defined(__SSE2__)
  __m128i parts[2];
  __builtin_memcpy(parts, &value, sizeof value);
  return reinterpret_cast<Words>(_mm_packs_epi32(parts[0], parts[1]));
#else
  return __builtin_convertvector(value, Words);
#endif
}

// a * partOfA + b * partOfB, the lower four lanes and then the upper ones.
TESSARIN_INLINE Integers weightedSum(Words a, Words b, std::int16_t partOfA, std::int16_t partOfB) {
#if defined(__AVX2__)
  const auto pairs = _mm256_set_m128i(reinterpret_cast<__m128i>(blocks::alternatingHigh(a, b)),
                                      reinterpret_cast<__m128i>(blocks::alternatingLow(a, b)));
  const std::int32_t parts = partOfB * 65536 + static_cast<std::uint16_t>(partOfA);
  return reinterpret_cast<Integers>(_mm256_madd_epi16(pairs, _mm256_set1_epi32(parts)));
#elif defined(__SSE2__)
  const auto parts = reinterpret_cast<__m128i>(
      Words{partOfA, partOfB, partOfA, partOfB, partOfA, partOfB, partOfA, partOfB});
  const __m128i sums[2] = {
      _mm_madd_epi16(reinterpret_cast<__m128i>(blocks::alternatingLow(a, b)), parts),
      _mm_madd_epi16(reinterpret_cast<__m128i>(blocks::alternatingHigh(a, b)), parts)};
  Integers both;
  __builtin_memcpy(&both, sums, sizeof both);
  return both;
#else
  return __builtin_convertvector(a, Integers) * partOfA +
         __builtin_convertvector(b, Integers) * partOfB;
#endif
}

}  // namespace
}  // namespace tessarin::prores
