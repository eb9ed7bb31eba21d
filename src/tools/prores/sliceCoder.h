// The inner part of the ProRes encoder: from the samples of a slice to its bytes. There are two
// builds of the same source, for any processor and for those with AVX2; their bytes are equal.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/blocks/Sampling.h"
#include "tools/prores/quantiser.h"

namespace tessarin::prores {

inline constexpr int largestSlice = 8;  // macroblocks
inline constexpr int planeCount = 3;    // luma, blue and red chroma

// Lines of one plane, borrowed. For a field: every second line of the frame.
struct PlaneView {
  const std::uint8_t* samples = nullptr;
  std::ptrdiff_t stride = 0;  // bytes from line to line; may be negative
  int width = 0;
  int height = 0;
};

// Where lines of 4:2:0 chroma lie among those of luma: in the middle of two lines of a frame; of a
// field's own lines at a quarter or at three quarters of the way; or on every second line.
enum class LineSiting { frame, topField, bottomField, onLines };

// A slice of a picture: which samples it takes and how they are to be read.
struct SliceSource {
  PlaneView planes[planeCount];
  int bits = 8;  // 8: a byte each; 10: two bytes each, the low one first
  // 4:4:4 is coded as it is, the others as 4:2:2.
  blocks::Sampling sampling = blocks::Sampling::yuv420;
  LineSiting siting = LineSiting::frame;
  bool interlaced = false;  // the scan of fields
  int linesOff = 0;  // 1: the planes' first line of luma, and what belongs to it, is left out
  int x = 0;         // of the first macroblock, in macroblocks
  int y = 0;
  int macroblocks = 0;  // 1, 2, 4 or 8
};

// A number for each position of each block of a plane.
inline constexpr int mostBlocks = 4 * largestSlice;
template <class Number>
using BlockValues = Number[positions][mostBlocks];

// The levels of a plane, each twice its size and one more when it is below zero: those of the first
// position of the scan for all blocks, then those of the next; and where those lie that are not 0.
// Both are written eight or sixteen at a time.
struct PlaneLevels {
  alignas(32) std::uint16_t values[positions * mostBlocks + 16];
  alignas(32) std::int16_t places[positions * mostBlocks + 16];
};

// Working memory of one thread.
struct SliceMemory {
  alignas(32) std::int16_t samples[16 * 16 * largestSlice];
  alignas(32) BlockValues<float> coefficients[planeCount];
  PlaneLevels levels;
};

// Six bytes of header, and 49 bits at most for each of three times 2,048 coefficients. The table of
// a picture has 16 bits for the size of a slice.
inline constexpr std::size_t longestSlice = 6 + 3 * (2048 * 49 / 8);
static_assert(longestSlice < 1 << 16);
// With room for the writer.
inline constexpr std::size_t sliceRoom = longestSlice + 64;

// The two steps of a slice. The first fills the memory's coefficients; the second writes what they
// are with this table, where sliceRoom bytes are free, and answers the length.
struct SliceCoder {
  void (*transform)(const SliceSource&, SliceMemory&);
  std::size_t (*code)(const SliceSource&, const QuantiserTable&, SliceMemory&, std::uint8_t* bytes);
};

const SliceCoder& portableSliceCoder();
// Null when this processor or this build has none.
const SliceCoder* avx2SliceCoder();

}  // namespace tessarin::prores
