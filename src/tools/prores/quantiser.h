// How coefficients become levels.
//
// All coefficients of all slices have the same step: the format's matrices stay flat, and are not
// written. So an error costs the same bits everywhere, which is the best there is for a given size;
// letting every slice try the steps around it gained 0.05 dB, and took seven times as long.
#pragma once

namespace tessarin::prores {

inline constexpr int positions = 64;  // of a block's coefficients
inline constexpr int smallestIndex = 1;
inline constexpr int largestIndex = 224;

// level = |coefficient| * factor + rounding, its fraction cut off, and nothing where
// |coefficient| * factor is below what is worth a codeword. In the order of the blocks' rows.
struct QuantiserTable {
  // Shares of the blocks of a slice in which a position of the scan is used, in 32ths.
  static constexpr int shares = 32;

  alignas(32) float factor[positions] = {};
  alignas(32) float used[positions] = {};  // coefficients that count for the share
  float worth[shares + 1] = {};            // by the share
  float rounding = 0;
  int index = 0;  // as the slice's header says it
};

// What a decoder multiplies levels with for an index of 1 to 224.
constexpr int scaleOf(int index) {
  return index > 128 ? (index - 96) * 4 : index;
}
inline constexpr int largestScale = scaleOf(largestIndex);

// `reserve`: 1, or how many times as large a coefficient has to be as it usually would to become a
// level; for pictures that not even the largest scale brings to their size.
QuantiserTable quantiserTable(int index, double reserve);

}  // namespace tessarin::prores
