// What is counted of a band before its code is chosen; see sliceKernel.h for how this is built.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/aic/sliceCoder.h"

namespace tessarin::aic {
namespace {

struct BandValues {
  const std::uint16_t* values;
  const std::uint16_t* marks;  // one bit per value, set where it is not zero
  int macroblocks;
  int groups;   // of sixteen values, in a macroblock; even
  int largest;  // value

  int perMacroblock() const { return 16 * groups; }
  int count() const { return macroblocks * perMacroblock(); }
};

// The marks of up to four groups.
TESSARIN_INLINE std::uint64_t marksAt(const std::uint16_t* marks, int groups) {
  if (groups >= 4) {
    std::uint64_t word = 0;
    __builtin_memcpy(&word, marks, 8);
    return word;
  }
  std::uint32_t word = 0;
  __builtin_memcpy(&word, marks, 4);
  return word;
}

int countMarks(const BandValues& band) {
  int count = 0;
  for (int group = 0; group < band.macroblocks * band.groups; group += 2)
    count += __builtin_popcountll(marksAt(band.marks + group, 2));
  return count;
}

// Lists every value that is not zero with the zeros before it in its macroblock, and the zeros
// that end a macroblock, if any, with the value 0. Takes every `step`th macroblock.
int listRuns(const BandValues& band, int step, Run* runs) {
  Run* next = runs;
  for (int macroblock = 0; macroblock < band.macroblocks; macroblock += step) {
    const int firstGroup = macroblock * band.groups;
    const int firstValue = 16 * firstGroup;
    const std::uint16_t* values = band.values + firstValue;
    const std::uint16_t* marks = band.marks + firstGroup;
    int after = 0;  // position after the last value that was not zero
    for (int group = 0; group < band.groups; group += 4) {
      std::uint64_t word = marksAt(marks + group, band.groups - group);
      while (word != 0) {
        const int position = 16 * group + __builtin_ctzll(word);
        word &= word - 1;
        *next++ = {static_cast<std::uint16_t>(position - after), values[position]};
        after = position + 1;
      }
    }
    if (after < band.perMacroblock())
      *next++ = {static_cast<std::uint16_t>(band.perMacroblock() - after), 0};
  }
  return static_cast<int>(next - runs);
}

// Joins the four counts of every number into the first, as sums: how many numbers are n or more.
template <std::size_t size>
void sumUp(std::uint32_t (&counts)[4][size], int largest) {
  std::uint32_t reaching = 0;
  for (int number = largest; number >= 0; --number) {
    reaching += counts[0][number] + counts[1][number] + counts[2][number] + counts[3][number];
    counts[0][number] = reaching;
    counts[1][number] = 0;
    counts[2][number] = 0;
    counts[3][number] = 0;
  }
}

// How many values are n or more, into valueCounts[0].
void countValues(const BandValues& band, SliceMemory& memory) {
  auto& counts = memory.valueCounts;
  for (int i = 0; i < band.count(); i += 4) {
    std::uint64_t four = 0;
    __builtin_memcpy(&four, band.values + i, sizeof four);
    ++counts[0][four & 0xFFFF];
    ++counts[1][four >> 16 & 0xFFFF];
    ++counts[2][four >> 32 & 0xFFFF];
    ++counts[3][four >> 48];
  }
  sumUp(counts, band.largest);
}

// The same where no value is larger than this: a walk for each n is quicker than counters.
constexpr int fewValues = 24;
void countFewValues(const BandValues& band, SliceMemory& memory) {
  std::uint32_t* counts = memory.valueCounts[0];
  const int count = band.count();
  counts[0] = static_cast<std::uint32_t>(count);
  for (int number = 1; number <= band.largest; ++number) {
    const auto bound = static_cast<std::uint16_t>(number);
    std::uint16_t reaching = 0;
    for (int i = 0; i < count; ++i)
      reaching = static_cast<std::uint16_t>(reaching + (band.values[i] >= bound ? 1 : 0));
    counts[number] = reaching;
  }
}

// How many listed runs are n or more, into runCounts[0].
void countRuns(const BandValues& band, int runCount, SliceMemory& memory) {
  for (int i = 0; i < runCount; ++i)
    ++memory.runCounts[i & 3][memory.runs[i].zeros];
  sumUp(memory.runCounts, band.perMacroblock());
}

// Both at once where all runs are listed.
void countRunsAndValues(const BandValues& band, int runCount, int zeros, SliceMemory& memory) {
  for (int i = 0; i < runCount; ++i) {
    const Run run = memory.runs[i];
    ++memory.runCounts[i & 3][run.zeros];
    ++memory.valueCounts[i & 3][run.value];
  }
  sumUp(memory.runCounts, band.perMacroblock());
  // The ends of macroblocks were counted as zeros.
  for (auto& counts : memory.valueCounts)
    counts[0] = 0;
  memory.valueCounts[0][0] = static_cast<std::uint32_t>(zeros);
  sumUp(memory.valueCounts, band.largest);
}

}  // namespace
}  // namespace tessarin::aic
