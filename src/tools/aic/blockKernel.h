// Transform, quantisation and scan of two blocks at once; see sliceKernel.h for how this is built.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/aic/sliceCoder.h"
#include "tools/blocks/cosineTransform.h"

namespace tessarin::aic {
namespace {

// The products with fractions of 65,536; those of half and more are the number itself and the rest.
struct FractionArithmetic {
  static TESSARIN_INLINE Pair halfRoot(Pair a) {
    return a + highProduct(a, -19195);  // cos(pi / 4) - 1
  }
  static TESSARIN_INLINE Pair sineEighth(Pair a) {
    return highProduct(a, 25080);  // sin(pi / 8)
  }
  static TESSARIN_INLINE Pair cosineLess(Pair a) {
    return a + highProduct(a, -30068);  // cos(pi / 8) - sin(pi / 8) - 1
  }
  static TESSARIN_INLINE Pair cosineMore(Pair a) {
    return a + highProduct(a, 20091);  // cos(pi / 8) + sin(pi / 8) - 1
  }
};

TESSARIN_INLINE void transformColumns(Pair (&v)[8]) {
  blocks::transformEight<FractionArithmetic>(v);
}

// Eight by eight in each block.
TESSARIN_INLINE void transpose(Pair (&v)[8]) {
  blocks::transpose<AlternatingPairs>(v);
}

// The stored values of the coefficients of two blocks, one vector a column: level k > 0 as 2k, -k
// as 2k - 1.
TESSARIN_INLINE void transformBlocks(const std::uint8_t* first, const std::uint8_t* second,
                                     std::ptrdiff_t stride, const QuantiserTable& table,
                                     Pair (&columns)[8]) {
  // With four fraction bits the first pass stays below 2^15; for the second there is room for one.
  constexpr int fractionBefore = 4;
  constexpr int dropped = fractionBefore - QuantiserTable::fractionBits;
  for (int line = 0; line < 8; ++line)
    columns[line] = load(first + line * stride, second + line * stride) << fractionBefore;
  transformColumns(columns);
  for (int row = 0; row < 8; ++row)
    columns[row] = (columns[row] + std::int16_t{1 << (dropped - 1)}) >> dropped;
  transpose(columns);
  transformColumns(columns);
  // A decoder adds 128 to every sample; that is 64 times as much in the first coefficient.
  alignas(16) static constexpr std::uint16_t grey[8] = {64 * 128 << QuantiserTable::fractionBits};
  columns[0] = columns[0] - repeated(grey);
  for (int column = 0; column < 8; ++column) {
    const int at = 8 * column;
    const Pair coefficient = columns[column];
    const Pair negative = coefficient >> 15;
    const Pair size = absolute(coefficient) + repeated(table.rounding + at) +
                      (negative & repeated(table.roundingBelow + at));
    const Pair level =
        shiftedUnsigned(highProductUnsigned(size, repeated(table.factor + at)), table.shift);
    columns[column] = larger(level + level + negative, Pair{});
  }
}

// Where the values of a group go, and their marks.
struct GroupTarget {
  std::uint16_t* values;
  std::uint16_t* marks;
};

// Writes a quarter of each block as the scan has it: a zigzag over four by four, read backwards in
// the second block. `left` and `right` are two columns each. Raises `largest` to the values.
TESSARIN_INLINE void writeGroups(Pair left, Pair right, GroupTarget first, GroupTarget second,
                                 Pair& largest) {
  static constexpr Order begin({0, 1, 4, 8, 5, 2, 3, 6}, {15, 14, 11, 7, 10, 13, 12, 9});
  static constexpr Order end({9, 12, 13, 10, 7, 11, 14, 15}, {6, 3, 2, 5, 8, 4, 1, 0});
  const Pair low = reordered(left, right, begin);
  const Pair high = reordered(left, right, end);
  store(low, high, first.values, second.values);
  const std::uint32_t marks = nonZeroLanes(low, high);
  *first.marks = static_cast<std::uint16_t>(marks);
  *second.marks = static_cast<std::uint16_t>(marks >> 16);
  largest = larger(largest, larger(low, high));
}

}  // namespace
}  // namespace tessarin::aic
