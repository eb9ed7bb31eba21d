// Two blocks side by side in two vectors of eight 16-bit lanes, for any processor. lanesAvx2.h has
// the same names for those with AVX2, and explains them.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstdint>

#include "tools/blocks/lanes.h"

namespace tessarin::aic {
namespace {

using blocks::UnsignedWords;
using blocks::Words;

struct Pair {
  Words first;
  Words second;
};

TESSARIN_INLINE Pair operator+(Pair a, Pair b) {
  return {a.first + b.first, a.second + b.second};
}
TESSARIN_INLINE Pair operator-(Pair a, Pair b) {
  return {a.first - b.first, a.second - b.second};
}
TESSARIN_INLINE Pair operator&(Pair a, Pair b) {
  return {a.first & b.first, a.second & b.second};
}
TESSARIN_INLINE Pair operator<<(Pair a, int count) {
  return {a.first << count, a.second << count};
}
TESSARIN_INLINE Pair operator>>(Pair a, int count) {
  return {a.first >> count, a.second >> count};
}
TESSARIN_INLINE Pair operator+(Pair a, std::int16_t b) {
  return {a.first + b, a.second + b};
}

TESSARIN_INLINE Pair load(const std::uint8_t* first, const std::uint8_t* second) {
  return {blocks::loadOctets(first), blocks::loadOctets(second)};
}

TESSARIN_INLINE Pair repeated(const std::uint16_t* numbers) {
  Words words;
  __builtin_memcpy(&words, numbers, sizeof words);
  return {words, words};
}

TESSARIN_INLINE Words highProduct(Words a, std::int16_t factor) {
#ifdef __SSE2__
  return reinterpret_cast<Words>(
      _mm_mulhi_epi16(reinterpret_cast<__m128i>(a), _mm_set1_epi16(factor)));
#else
  Words product;
  for (int i = 0; i < 8; ++i)
    product[i] = static_cast<std::int16_t>(a[i] * factor >> 16);
  return product;
#endif
}

TESSARIN_INLINE Pair highProduct(Pair a, std::int16_t factor) {
  return {highProduct(a.first, factor), highProduct(a.second, factor)};
}

TESSARIN_INLINE Words highProductUnsigned(Words a, Words b) {
#ifdef __SSE2__
  return reinterpret_cast<Words>(
      _mm_mulhi_epu16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
  Words product;
  for (int i = 0; i < 8; ++i) {
    const std::uint32_t whole = std::uint32_t{static_cast<std::uint16_t>(a[i])} *
                                std::uint32_t{static_cast<std::uint16_t>(b[i])};
    product[i] = static_cast<std::int16_t>(whole >> 16);
  }
  return product;
#endif
}

TESSARIN_INLINE Pair highProductUnsigned(Pair a, Pair b) {
  return {highProductUnsigned(a.first, b.first), highProductUnsigned(a.second, b.second)};
}

TESSARIN_INLINE Pair shiftedUnsigned(Pair a, int count) {
  return {reinterpret_cast<Words>(reinterpret_cast<UnsignedWords>(a.first) >> count),
          reinterpret_cast<Words>(reinterpret_cast<UnsignedWords>(a.second) >> count)};
}

TESSARIN_INLINE Words larger(Words a, Words b) {
  return a > b ? a : b;
}

TESSARIN_INLINE Pair larger(Pair a, Pair b) {
  return {larger(a.first, b.first), larger(a.second, b.second)};
}

TESSARIN_INLINE Pair absolute(Pair a) {
  return {larger(a.first, -a.first), larger(a.second, -a.second)};
}

struct AlternatingPairs {
  static TESSARIN_INLINE Pair low(Pair a, Pair b) {
    return {blocks::alternatingLow(a.first, b.first), blocks::alternatingLow(a.second, b.second)};
  }
  static TESSARIN_INLINE Pair high(Pair a, Pair b) {
    return {blocks::alternatingHigh(a.first, b.first), blocks::alternatingHigh(a.second, b.second)};
  }
};

#define TESSARIN_SHUFFLE(a, b, ...)                                  \
  Pair {                                                             \
    __builtin_shufflevector((a).first, (b).first, __VA_ARGS__),      \
        __builtin_shufflevector((a).second, (b).second, __VA_ARGS__) \
  }

TESSARIN_INLINE Pair lowHalves(Pair a, Pair b) {
  return TESSARIN_SHUFFLE(a, b, 0, 1, 2, 3, 8, 9, 10, 11);
}
TESSARIN_INLINE Pair highHalves(Pair a, Pair b) {
  return TESSARIN_SHUFFLE(a, b, 4, 5, 6, 7, 12, 13, 14, 15);
}

#undef TESSARIN_SHUFFLE

struct Order {
  std::uint8_t first[8] = {};
  std::uint8_t second[8] = {};

  constexpr Order(const std::uint8_t (&firstOrder)[8], const std::uint8_t (&secondOrder)[8]) {
    for (int i = 0; i < 8; ++i) {
      first[i] = firstOrder[i];
      second[i] = secondOrder[i];
    }
  }
};

TESSARIN_INLINE Words reordered(Words a, Words b, const std::uint8_t (&order)[8]) {
  std::int16_t both[16];
  __builtin_memcpy(both, &a, sizeof a);
  __builtin_memcpy(both + 8, &b, sizeof b);
  Words result;
  for (int i = 0; i < 8; ++i)
    result[i] = both[order[i]];
  return result;
}

TESSARIN_INLINE Pair reordered(Pair a, Pair b, const Order& order) {
  return {reordered(a.first, b.first, order.first), reordered(a.second, b.second, order.second)};
}

TESSARIN_INLINE void store(Pair low, Pair high, std::uint16_t* first, std::uint16_t* second) {
  __builtin_memcpy(first, &low.first, 16);
  __builtin_memcpy(first + 8, &high.first, 16);
  __builtin_memcpy(second, &low.second, 16);
  __builtin_memcpy(second + 8, &high.second, 16);
}

TESSARIN_INLINE std::uint32_t nonZeroLanes(Pair low, Pair high) {
  return blocks::nonZeroLanes(low.first, high.first) | blocks::nonZeroLanes(low.second, high.second)
                                                           << 16;
}

TESSARIN_INLINE int largestLane(Pair a) {
  int largest = 0;
  for (int i = 0; i < 8; ++i) {
    largest = a.first[i] > largest ? a.first[i] : largest;
    largest = a.second[i] > largest ? a.second[i] : largest;
  }
  return largest;
}

}  // namespace
}  // namespace tessarin::aic
