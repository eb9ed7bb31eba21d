// The inner part of the encoder: from the samples of a slice to its bits. There are two builds of
// the same source, for any processor and for those with AVX2; their bits are equal.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessarin::aic {

inline constexpr int largestSlice = 32;  // macroblocks
inline constexpr int blocksPerMacroblock = 6;
inline constexpr int groupsPerMacroblock = 24;  // sixteen values each, a quarter of a block
inline constexpr int valuesPerMacroblock = 384;

// What the quantisation adds to the size of a coefficient, and what it multiplies the sum with:
// level = sum * factor / 65536 >> shift. Coefficients stand in columns here: index 8 * column +
// row, as the transform leaves them, with its own factor still in them.
struct QuantiserTable {
  static constexpr int fractionBits = 1;  // of the transform's output
  alignas(32) std::uint16_t factor[64] = {};
  alignas(32) std::uint16_t rounding[64] = {};
  alignas(32) std::uint16_t roundingBelow[64] = {};  // more of it for negative ones
  int shift = 0;
};

// The table for a quantiser of 1 to 255.
QuantiserTable quantiserTable(int quantiser);

// Samples of a slice; 16 lines of luma and 8 of chroma for each of its macroblocks must be there.
struct SliceSource {
  const std::uint8_t* samples[3] = {};  // of the slice's first macroblock: luma, blue, red
  std::ptrdiff_t lumaStride = 0;
  std::ptrdiff_t chromaStride = 0;  // of both chroma planes
  int macroblocks = 0;              // 1 to largestSlice
  bool interlaced = false;
};

// Zeros and what follows them in a macroblock; value 0 stands for its end.
struct Run {
  std::uint16_t zeros;
  std::uint16_t value;
};

// Working memory of one thread. The counters are all zero between slices.
struct SliceMemory {
  static constexpr int valuesPerSlice = largestSlice * valuesPerMacroblock;
  static constexpr int countedValues = 8192;  // stored values are smaller
  alignas(32) std::uint16_t values[valuesPerSlice];
  // One bit per value, set where it is not zero: 16 bits a group, in the order of the values.
  std::uint16_t marks[largestSlice * groupsPerMacroblock];
  Run runs[valuesPerSlice / 2 + largestSlice];  // of a band
  // Four of each, so that equal neighbours need not wait for each other's counter.
  std::uint32_t valueCounts[4][countedValues];
  std::uint32_t runCounts[4][valuesPerMacroblock / 2 + 1];
};

// No slice is longer: 26 bits are enough for every value in the longest code that can be the
// cheapest one, and there are 16 bytes of room for the writer.
inline constexpr std::size_t largestSliceBytes = largestSlice * valuesPerMacroblock * 4 + 64;

// Writes the slice to `bytes`, where largestSliceBytes are free, and answers its length, a
// multiple of four.
using CodeSlice = std::size_t (*)(const SliceSource&, const QuantiserTable&, SliceMemory&,
                                  std::uint8_t* bytes);

CodeSlice portableSliceCoder();
// Null when this processor or this build has none.
CodeSlice avx2SliceCoder();

}  // namespace tessarin::aic
