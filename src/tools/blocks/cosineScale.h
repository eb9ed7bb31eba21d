// For the tables of quantisers.
#pragma once

#include <cmath>
#include <numbers>

namespace tessarin::blocks {

// What the transform leaves in coefficient k of each dimension, over the root of 8.
inline double cosineScale(int k) {
  return k == 0 ? 1.0 : std::numbers::sqrt2 * std::cos(k * std::numbers::pi / 16);
}

}  // namespace tessarin::blocks
