// From samples to coefficients; tools/blocks/lanes.h says what kernels are.
#pragma once

#include "tools/blocks/cosineTransform.h"
#include "tools/prores/lanes.h"
#include "tools/prores/sliceCoder.h"

namespace tessarin::prores {
namespace {

struct FloatArithmetic {
  static TESSARIN_INLINE Floats halfRoot(Floats a) {
    return a * 0.707106781F;  // cos(pi / 4)
  }
  static TESSARIN_INLINE Floats sineEighth(Floats a) {
    return a * 0.382683433F;  // sin(pi / 8)
  }
  static TESSARIN_INLINE Floats cosineLess(Floats a) {
    return a * 0.541196100F;  // cos(pi / 8) - sin(pi / 8)
  }
  static TESSARIN_INLINE Floats cosineMore(Floats a) {
    return a * 1.306562965F;  // cos(pi / 8) + sin(pi / 8)
  }
};

struct AlternatingWords {
  static TESSARIN_INLINE Words low(Words a, Words b) { return blocks::alternatingLow(a, b); }
  static TESSARIN_INLINE Words high(Words a, Words b) { return blocks::alternatingHigh(a, b); }
};

// Eight blocks, whose first samples are named, into eight places of each position.
TESSARIN_INLINE void transformBlocks(const std::int16_t* const (&first)[8], std::ptrdiff_t stride,
                                     BlockValues<float>& coefficients, int place) {
  alignas(32) float rows[8][8][8];
  for (int line = 0; line < 8; ++line) {
    Words samples[8];
    for (int block = 0; block < 8; ++block)
      samples[block] = loadWords(first[block] + line * stride);
    blocks::transpose<AlternatingWords>(samples);
    Floats columns[8];
    for (int column = 0; column < 8; ++column)
      columns[column] = __builtin_convertvector(samples[column], Floats);
    blocks::transformEight<FloatArithmetic>(columns);
    for (int column = 0; column < 8; ++column)
      storeFloats(rows[line][column], columns[column]);
  }
  for (int column = 0; column < 8; ++column) {
    Floats lines[8];
    for (int line = 0; line < 8; ++line)
      lines[line] = loadFloats(rows[line][column]);
    blocks::transformEight<FloatArithmetic>(lines);
    for (int line = 0; line < 8; ++line)
      storeFloats(&coefficients[8 * line + column][place], lines[line]);
  }
}

// How the blocks of a plane follow each other in a macroblock.
struct BlockOrder {
  int count = 0;
  bool downFirst = false;
};

constexpr BlockOrder blockOrder(blocks::Sampling sampling, int plane) {
  if (plane == 0)
    return {4, false};
  return sampling == blocks::Sampling::yuv444 ? BlockOrder{4, true} : BlockOrder{2, true};
}

// `samples` has 16 lines of `stride` samples.
void transformPlane(const std::int16_t* samples, std::ptrdiff_t stride, BlockOrder order,
                    int macroblocks, BlockValues<float>& coefficients) {
  const int count = order.count * macroblocks;
  for (int group = 0; group < count; group += 8) {
    const std::int16_t* first[8];
    for (int i = 0; i < 8; ++i) {
      // Lanes without a block repeat one.
      const int block = group + i < count ? group + i : group;
      const int inside = block % order.count;
      const int column = order.count == 2 ? 0 : order.downFirst ? inside / 2 : inside % 2;
      const int row = order.downFirst ? inside % 2 : inside / 2;
      const int x = block / order.count * (order.count == 2 ? 8 : 16) + 8 * column;
      first[i] = samples + std::ptrdiff_t{8} * row * stride + x;
    }
    transformBlocks(first, stride, coefficients, group);
  }
}

}  // namespace
}  // namespace tessarin::prores
