#include "tools/prores/quantiser.h"

#include <algorithm>
#include <cmath>

#include "tools/blocks/cosineScale.h"

namespace tessarin::prores {

namespace {

// Every value of a matrix that a frame does not bring.
constexpr int flatMatrix = 4;

// Where errors are weighed against bits: in steps, half of what a bit may cost in squared error,
// and bits of a codeword besides those that say where it stands. Of all that were tried these, and
// this rounding, gave the least error at a given size on natural material.
constexpr double errorOfBit = 0.07;
constexpr double bitsOfLevel = 2;
constexpr double rounding = 0.36;
// From here on a coefficient counts as used.
constexpr double used = 0.6;

// The smallest coefficient, in steps, that becomes a level of 1 where this share of the blocks uses
// its position: nothing in its place has the error x squared, the level (1 - x) squared.
double worthOfCodeword(double share) {
  const double place = std::log2((1 - share) / share);
  return std::clamp(0.5 + errorOfBit * (place + bitsOfLevel), 1 - rounding, 1.0);
}

}  // namespace

QuantiserTable quantiserTable(int index, double reserve) {
  // The format's coefficients are four times those of the orthonormal transform.
  constexpr double unit = 4.0 / 8;
  QuantiserTable table;
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 8; ++column) {
      const int at = 8 * row + column;
      const double left = blocks::cosineScale(row) * blocks::cosineScale(column);
      const double factor = unit / (left * flatMatrix * scaleOf(index));
      table.factor[at] = static_cast<float>(factor);
      table.used[at] = static_cast<float>(reserve * used / factor);
    }
  }
  for (int count = 0; count <= QuantiserTable::shares; ++count)
    table.worth[count] =
        static_cast<float>(reserve * worthOfCodeword((count + 0.5) / (QuantiserTable::shares + 1)));
  table.rounding = static_cast<float>(rounding);
  table.index = index;
  return table;
}

}  // namespace tessarin::prores
