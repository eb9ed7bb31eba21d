#include "tools/aic/sliceCoder.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tools/blocks/cosineScale.h"
#include "tools/blocks/processor.h"

namespace tessarin::aic {

namespace {

// Row-major quantisation matrix of the format; a step is quantiser * matrix / 16.
constexpr std::array<int, 64> matrix = {
    8,  16, 19, 22, 22, 26, 26, 27, 16, 16, 22, 22, 26, 27, 27, 29, 19, 22, 26, 26, 27, 29,
    29, 35, 22, 24, 27, 27, 29, 32, 34, 38, 26, 27, 29, 29, 32, 35, 38, 46, 27, 29, 34, 34,
    35, 40, 46, 56, 29, 34, 34, 37, 40, 48, 56, 69, 34, 37, 38, 40, 48, 58, 69, 83};

// How far a decoder's value of a level lies below level * step, in the mean over the first levels:
// it cuts the fraction of positive products off, and answers one more for negative ones.
struct Shortfall {
  double above = 0;
  double below = 0;
};

Shortfall meanShortfall(int sixteenthSteps) {
  constexpr int levels = 4;
  Shortfall sum;
  double weights = 0;
  for (int level = 1; level <= levels; ++level) {
    const double weight = 1.0 / level;
    const double exact = level * sixteenthSteps / 16.0;
    sum.above += weight * (exact - std::floor(exact));
    sum.below += weight * (exact + std::floor(-exact) + 1);
    weights += weight;
  }
  return {sum.above / weights, sum.below / weights};
}

// The part of a step that is added before levels are cut to whole numbers. Mean brightness must not
// move, so the first coefficient is rounded. Of the others small levels are more frequent and
// cheaper than large ones; with this value a decibel takes the fewest bits on natural material.
constexpr double flatRounding = 0.5;
constexpr double otherRounding = 0.38;

}  // namespace

QuantiserTable quantiserTable(int quantiser) {
  // The transform's output for row and column is the orthonormal coefficient times 8
  // cosineScale(row) cosineScale(column).
  std::array<double, 64> factors = {};
  QuantiserTable table;
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 8; ++column) {
      const auto at = static_cast<unsigned>(8 * column + row);
      const int sixteenths = quantiser * matrix[static_cast<unsigned>(8 * row + column)];
      const double unit = (8 << QuantiserTable::fractionBits) * blocks::cosineScale(row) *
                          blocks::cosineScale(column);
      const double step = sixteenths / 16.0 * unit;
      const double rounding = at == 0 ? flatRounding : otherRounding;
      const Shortfall shortfall = meanShortfall(sixteenths);
      factors[at] = 65536 / step;
      table.rounding[at] =
          static_cast<std::uint16_t>(std::lround(rounding * step + shortfall.above * unit));
      table.roundingBelow[at] =
          static_cast<std::uint16_t>(std::lround((shortfall.below - shortfall.above) * unit));
    }
  }
  // The factors use all their sixteen bits.
  const double largest = *std::max_element(factors.begin(), factors.end());
  table.shift = static_cast<int>(std::floor(std::log2(65535 / largest)));
  for (unsigned at = 0; at < 64; ++at)
    table.factor[at] = static_cast<std::uint16_t>(std::ldexp(factors[at], table.shift));
  return table;
}

#ifdef TESSARIN_AVX2_BUILD

CodeSlice avx2BuildOfSliceCoder();

CodeSlice avx2SliceCoder() {
  return blocks::hasAvx2() ? avx2BuildOfSliceCoder() : nullptr;
}

#else

CodeSlice avx2SliceCoder() {
  return nullptr;
}

#endif

}  // namespace tessarin::aic
