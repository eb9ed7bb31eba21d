// Entropy code of one band; see sliceKernel.h for how this is built. A band either writes all its
// values, or runs of zeros and the values between them; its header says how. All ways are weighed
// with one count, because the sizes depend only on how many numbers reach certain bounds.
#pragma once

#include <cstdint>

#include "tools/aic/bitKernel.h"
#include "tools/aic/countKernel.h"
#include "tools/aic/sliceCoder.h"

namespace tessarin::aic {
namespace {

struct BandCode {
  bool runs = false;
  NumberCode value;  // with runs, of the value less one
  NumberCode run;
  int runCount = 0;  // with runs, their number in the memory's list
};

// Where one value in so many or fewer is not zero, runs are listed at once.
constexpr int sparse = 4;
// Elsewhere they are tried first on every so many macroblocks.
constexpr int sampleStep = 4;
// Bits that name the code of runs.
constexpr std::uint64_t runHeader = 4;

// The cheapest code for the listed runs.
NumberCode cheapestRunCode(const BandValues& band, SliceMemory& memory) {
  int largest = band.perMacroblock();
  while (largest > 0 && memory.runCounts[0][largest] == 0)
    --largest;
  const NumberCode code = cheapestCode(memory.runCounts[0], largest);
  __builtin_memset(memory.runCounts[0], 0, sizeof memory.runCounts[0]);
  return code;
}

// Whether runs are cheap enough in a sample of the macroblocks to be counted in all.
bool runsPromising(const BandValues& band, std::uint64_t mostBits, SliceMemory& memory) {
  const int count = listRuns(band, sampleStep, memory.runs);
  countRuns(band, count, memory);
  const auto sampled = static_cast<unsigned>((band.macroblocks + sampleStep - 1) / sampleStep);
  const auto all = static_cast<unsigned>(band.macroblocks);
  return cheapestRunCode(band, memory).size * all / sampled < mostBits;
}

BandCode cheapestBandCode(const BandValues& band, SliceMemory& memory) {
  const int marked = countMarks(band);
  const bool listed = marked <= band.count() / sparse;
  BandCode withRuns;
  withRuns.runs = true;
  if (listed) {
    withRuns.runCount = listRuns(band, 1, memory.runs);
    countRunsAndValues(band, withRuns.runCount, band.count() - marked, memory);
  } else if (band.largest <= fewValues) {
    countFewValues(band, memory);
  } else {
    countValues(band, memory);
  }

  BandCode plain;
  plain.value = cheapestCode(memory.valueCounts[0], band.largest);
  if (marked > 0)
    withRuns.value = cheapestCode(memory.valueCounts[0] + 1, band.largest - 1);
  __builtin_memset(memory.valueCounts[0], 0,
                   sizeof(std::uint32_t) * static_cast<unsigned>(band.largest + 1));

  if (listed) {
    withRuns.run = cheapestRunCode(band, memory);
  } else {
    // A run takes a bit at least.
    const std::uint64_t least = withRuns.value.size + runHeader;
    if (least + static_cast<unsigned>(marked) >= plain.value.size ||
        !runsPromising(band, plain.value.size - least, memory))
      return plain;
    withRuns.runCount = listRuns(band, 1, memory.runs);
    countRuns(band, withRuns.runCount, memory);
    withRuns.run = cheapestRunCode(band, memory);
  }
  const std::uint64_t size = withRuns.value.size + withRuns.run.size + runHeader;
  return size < plain.value.size ? withRuns : plain;
}

// Writes all values, `together` in one call of the writer.
template <bool golomb, int together>
void putValues(const BandValues& band, const NumberCode& code, BitWriter& target) {
  const NumberWriter<golomb> number(code);
  BitWriter writer = target;
  const std::uint16_t* end = band.values + band.count();
  for (const std::uint16_t* value = band.values; value != end; value += together) {
    std::uint64_t codes = number.code(value[0]);
    unsigned length = number.length(value[0]);
    for (int i = 1; i < together; ++i) {
      const unsigned added = number.length(value[i]);
      codes = codes << added | number.code(value[i]);
      length += added;
    }
    writer.put(codes, length);
  }
  target = writer;
}

template <bool golomb>
void putValues(const BandValues& band, const NumberCode& code, BitWriter& writer) {
  const unsigned longest =
      NumberWriter<golomb>(code).length(static_cast<std::uint32_t>(band.largest));
  if (4 * longest <= BitWriter::mostBits)
    putValues<golomb, 4>(band, code, writer);
  else if (2 * longest <= BitWriter::mostBits)
    putValues<golomb, 2>(band, code, writer);
  else
    putValues<golomb, 1>(band, code, writer);
}

// Writes the listed runs, with their values.
template <bool golombRuns, bool golombValues>
void putRuns(const Run* runs, const BandCode& code, BitWriter& target) {
  const NumberWriter<golombRuns> run(code.run);
  const NumberWriter<golombValues> value(code.value);
  BitWriter writer = target;
  for (int i = 0; i < code.runCount; ++i) {
    const unsigned zeros = runs[i].zeros;
    const std::uint64_t zerosCode = run.code(zeros);
    const unsigned zerosLength = run.length(zeros);
    if (runs[i].value == 0) {
      writer.put(zerosCode, zerosLength);
      continue;
    }
    const unsigned lessOne = runs[i].value - 1U;
    const unsigned length = value.length(lessOne);
    if (zerosLength + length <= BitWriter::mostBits) {
      writer.put(zerosCode << length | value.code(lessOne), zerosLength + length);
    } else {
      writer.put(zerosCode, zerosLength);
      writer.put(value.code(lessOne), length);
    }
  }
  target = writer;
}

void writeBand(const BandValues& band, SliceMemory& memory, BitWriter& writer) {
  const BandCode code = cheapestBandCode(band, memory);
  writer.put(code.runs ? 1 : 0, 1);
  writer.put(code.value.golomb ? 1 : 0, 1);
  writer.put(code.value.bits, 3);
  if (!code.runs) {
    if (code.value.golomb)
      putValues<true>(band, code.value, writer);
    else
      putValues<false>(band, code.value, writer);
    return;
  }
  writer.put(code.run.golomb ? 1 : 0, 1);
  writer.put(code.run.bits, 3);
  if (code.run.golomb && code.value.golomb)
    putRuns<true, true>(memory.runs, code, writer);
  else if (code.run.golomb)
    putRuns<true, false>(memory.runs, code, writer);
  else if (code.value.golomb)
    putRuns<false, true>(memory.runs, code, writer);
  else
    putRuns<false, false>(memory.runs, code, writer);
}

}  // namespace
}  // namespace tessarin::aic
