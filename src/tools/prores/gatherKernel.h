// The samples of a slice, as numbers of ten bits around zero; tools/blocks/lanes.h says what
// kernels are.
#pragma once

#include <cstddef>

#include "tools/prores/lanes.h"
#include "tools/prores/sliceCoder.h"

namespace tessarin::prores {
namespace {

constexpr std::int16_t grey = 512;
constexpr std::int16_t white = 1023;

template <class Number>
constexpr Number clamped(Number number, Number least, Number most) {
  return number < least ? least : number > most ? most : number;
}

// Samples of one or two bytes.
template <int size>
TESSARIN_INLINE Words loadSamples(const std::uint8_t* from) {
  return size == 1 ? (blocks::loadOctets(from) << 2) - grey : (loadWords(from) & white) - grey;
}
template <int size>
TESSARIN_INLINE std::int16_t loadSample(const std::uint8_t* from) {
  const int sample = size == 1 ? *from << 2 : (from[0] | from[1] << 8) & white;
  return static_cast<std::int16_t>(sample - grey);
}

// `count` samples of a line from `x` on, a multiple of eight; beyond the plane its last line and
// column go on.
template <int size>
TESSARIN_INLINE void gatherLine(const PlaneView& plane, int line, int x, int count,
                                std::int16_t* to) {
  const std::uint8_t* from =
      plane.samples + clamped(line, 0, plane.height - 1) * plane.stride + std::ptrdiff_t{size} * x;
  // What the slice to the right will want of this line: so many lines take turns that the processor
  // does not foresee it.
  const std::ptrdiff_t own = std::ptrdiff_t{size} * count;
  for (std::ptrdiff_t ahead = own; ahead < 2 * own; ahead += 64)
    __builtin_prefetch(from + ahead);
  const int inside = clamped(plane.width - x, 0, count);
  int done = 0;
  for (; done + 8 <= inside; done += 8)
    storeWords(to + done, loadSamples<size>(from + std::ptrdiff_t{size} * done));
  for (; done < inside; ++done)
    to[done] = loadSample<size>(from + std::ptrdiff_t{size} * done);
  if (done == count)
    return;
  const std::int16_t last =
      inside > 0 ? to[inside - 1]
                 : loadSample<size>(from + std::ptrdiff_t{size} * (plane.width - 1 - x));
  for (; done < count; ++done)
    to[done] = last;
}

// Weights of four lines for a place between the middle two, at t of the way: the cubic through the
// middle two whose slope at each is in proportion to the difference between its neighbours. The
// proportion is a half for straight lines; this one comes nearest to chroma that was halved.
struct LineWeights {
  std::int16_t parts[4];  // of 128
};

constexpr LineWeights weightsAt(double t) {
  constexpr double slope = 0.65;
  const double exact[4] = {slope * (-t + 2 * t * t - t * t * t), 0,
                           slope * t + (3 - 2 * slope) * t * t - (2 - slope) * t * t * t,
                           slope * (t * t * t - t * t)};
  LineWeights answer{};
  int rest = 128;
  for (int i = 0; i < 4; ++i) {
    if (i == 1)
      continue;
    const double part = exact[i] * 128;
    answer.parts[i] = static_cast<std::int16_t>(part < 0 ? part - 0.5 : part + 0.5);
    rest -= answer.parts[i];
  }
  answer.parts[1] = static_cast<std::int16_t>(rest);
  return answer;
}

// For even lines of luma, between the line of chroma before and their own, and for odd ones,
// between their own and the next. In the order of LineSiting.
struct LinePhases {
  LineWeights even;
  LineWeights odd;
};
constexpr LinePhases phases[] = {{weightsAt(0.75), weightsAt(0.25)},
                                 {weightsAt(0.875), weightsAt(0.375)},
                                 {weightsAt(0.625), weightsAt(0.125)},
                                 {weightsAt(1), weightsAt(0.5)}};

TESSARIN_INLINE Words between(const std::int16_t* const (&lines)[4], int x,
                              const LineWeights& weights) {
  const std::int16_t* parts = weights.parts;
  const Words a = loadWords(lines[0] + x);
  const Words b = loadWords(lines[1] + x);
  const Words c = loadWords(lines[2] + x);
  const Words d = loadWords(lines[3] + x);
  const Integers sum =
      weightedSum(a, b, parts[0], parts[1]) + weightedSum(c, d, parts[2], parts[3]);
  const Words mean = narrowed((sum + 64) >> 7);
  const Words least = Words{} - grey;
  const Words most = Words{} + std::int16_t{white - grey};
  const Words raised = mean < least ? least : mean;
  return raised > most ? most : raised;
}

// Sixteen lines of chroma from those of half the height, those of luma from `y` + `off` on.
template <int size>
void gatherRaised(const PlaneView& plane, LineSiting siting, int y, int off, int x, int count,
                  std::int16_t* to) {
  constexpr int around = 2;
  constexpr int lines = 8 + 2 * around;
  alignas(32) std::int16_t source[lines][16 * largestSlice];
  for (int line = 0; line < lines; ++line)
    gatherLine<size>(plane, y / 2 - around + line, x, count, source[line]);
  const LinePhases& phase = phases[static_cast<int>(siting)];
  for (int line = off; line < 16 + off; ++line) {
    const bool odd = line % 2 != 0;
    const int first = around + line / 2 - (odd ? 1 : 2);
    const std::int16_t* const taps[4] = {source[first], source[first + 1], source[first + 2],
                                         source[first + 3]};
    for (int i = 0; i < count; i += 8)
      storeWords(to + i, between(taps, i, odd ? phase.odd : phase.even));
    to += count;
  }
}

constexpr int macroblockWidth(blocks::Sampling sampling, int plane) {
  return plane > 0 && sampling != blocks::Sampling::yuv444 ? 8 : 16;
}

// Sixteen lines of `count` samples each.
template <int size>
void gatherPlane(const SliceSource& source, int plane, int count, std::int16_t* to) {
  const PlaneView& view = source.planes[plane];
  const int x = source.x * macroblockWidth(source.sampling, plane);
  const int y = source.y * 16;
  if (plane > 0 && source.sampling == blocks::Sampling::yuv420) {
    gatherRaised<size>(view, source.siting, y, source.linesOff, x, count, to);
    return;
  }
  for (int line = 0; line < 16; ++line) {
    gatherLine<size>(view, y + source.linesOff + line, x, count, to);
    to += count;
  }
}

}  // namespace
}  // namespace tessarin::prores
