// Codewords and how levels become them; tools/blocks/lanes.h says what kernels are.
#pragma once

#include "tools/blocks/BitWriter.h"
#include "tools/prores/lanes.h"
#include "tools/prores/sliceCoder.h"

namespace tessarin::prores {
namespace {

using blocks::BitWriter;

struct Code {
  std::uint32_t bits = 0;
  unsigned length = 0;
};

// A number in one of the format's codebooks: three bits of Rice order, three of Exp-Golomb order,
// two for where the one goes over into the other.
constexpr Code codeOf(unsigned book, std::uint32_t number) {
  const unsigned rice = book >> 5;
  const unsigned golomb = book >> 2 & 7;
  const unsigned over = (book & 3) + 1;
  const std::uint32_t first = over << rice;
  if (number < first)
    return {1U << rice | (number & ((1U << rice) - 1)), (number >> rice) + 1 + rice};
  const std::uint32_t value = number - first + (1U << golomb);
  const auto highest = 31 - static_cast<unsigned>(__builtin_clz(value));
  return {value, 2 * highest - golomb + over + 1};
}

// Codes of the numbers that are usual, with their lengths in the low five bits.
template <int numbers>
struct CodeTable {
  std::uint32_t codes[numbers] = {};
};

constexpr int usualRuns = 64;
constexpr int usualLevels = 128;

// Runs of zeros.
constexpr CodeTable<usualRuns> runTable(unsigned book) {
  CodeTable<usualRuns> table;
  for (unsigned run = 0; run < usualRuns; ++run) {
    const Code code = codeOf(book, run);
    table.codes[run] = code.bits << 5 | code.length;
  }
  return table;
}

// Levels as they are stored, twice their size and one more for those below zero.
constexpr CodeTable<usualLevels> levelTable(unsigned book) {
  CodeTable<usualLevels> table;
  for (unsigned level = 2; level < usualLevels; ++level) {
    const Code code = codeOf(book, level / 2 - 1);
    table.codes[level] = (code.bits << 1 | (level & 1)) << 5 | (code.length + 1);
  }
  return table;
}

constexpr unsigned runBooks[] = {0x06, 0x05, 0x04, 0x29, 0x28, 0x4C};
constexpr CodeTable<usualRuns> runTables[] = {runTable(0x06), runTable(0x05), runTable(0x04),
                                              runTable(0x29), runTable(0x28), runTable(0x4C)};
// By the run before, of 0 to 15 and more.
constexpr unsigned bookAfterRun(unsigned run) {
  constexpr std::uint8_t books[16] = {0, 0, 1, 1, 2, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 5};
  return books[run < 15 ? run : 15];
}
constexpr unsigned levelBooks[] = {0x04, 0x0A, 0x05, 0x06, 0x28, 0x4C};
constexpr CodeTable<usualLevels> levelTables[] = {levelTable(0x04), levelTable(0x0A),
                                                  levelTable(0x05), levelTable(0x06),
                                                  levelTable(0x28), levelTable(0x4C)};
// By the size of the level before, of 0 to 9 and more.
constexpr unsigned bookAfterLevel(unsigned size) {
  constexpr std::uint8_t books[10] = {0, 1, 2, 3, 0, 4, 4, 4, 4, 5};
  return books[size < 9 ? size : 9];
}

// The books after usual runs, and after usual levels as they are stored.
struct NextBooks {
  std::uint8_t afterRun[usualRuns] = {};
  std::uint8_t afterLevel[usualLevels] = {};
};
constexpr NextBooks nextBooks = [] {
  NextBooks next;
  for (unsigned run = 0; run < usualRuns; ++run)
    next.afterRun[run] = static_cast<std::uint8_t>(bookAfterRun(run));
  for (unsigned level = 0; level < usualLevels; ++level)
    next.afterLevel[level] = static_cast<std::uint8_t>(bookAfterLevel(level / 2));
  return next;
}();

constexpr int usualSteps = 64;

// Differences between the first coefficients of blocks.
constexpr CodeTable<usualSteps> dcTable(unsigned book) {
  CodeTable<usualSteps> table;
  for (unsigned number = 0; number < usualSteps; ++number) {
    const Code code = codeOf(book, number);
    table.codes[number] = code.bits << 5 | code.length;
  }
  return table;
}

constexpr unsigned firstBookOfDc = 0xB8;
constexpr unsigned dcBooks[] = {0x04, 0x28, 0x4D, 0x70};
constexpr CodeTable<usualSteps> dcTables[] = {dcTable(0x04), dcTable(0x28), dcTable(0x4D),
                                              dcTable(0x70)};
// By the code before, of 0 to 5 and more.
constexpr std::uint8_t bookAfterDc[6] = {0, 1, 1, 2, 2, 3};

constexpr std::uint8_t progressiveScan[positions] = {
    0,  1,  8,  9,  2,  3,  10, 11, 16, 17, 24, 25, 18, 19, 26, 27, 4,  5,  12, 20, 13, 6,
    7,  14, 21, 28, 29, 22, 15, 23, 30, 31, 32, 33, 40, 48, 41, 34, 35, 42, 49, 56, 57, 50,
    43, 36, 37, 44, 51, 58, 59, 52, 45, 38, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr std::uint8_t interlacedScan[positions] = {
    0,  8,  1,  9,  16, 24, 17, 25, 2,  10, 3,  11, 18, 26, 19, 27, 32, 40, 33, 34, 41, 48,
    56, 49, 42, 35, 43, 50, 57, 58, 51, 59, 4,  12, 5,  6,  13, 20, 28, 21, 14, 7,  15, 22,
    29, 36, 44, 37, 30, 23, 31, 38, 45, 52, 60, 53, 46, 39, 47, 54, 61, 62, 55, 63};

// The first coefficients of all blocks, each as the difference to the one before.
TESSARIN_INLINE void codeDc(const float* coefficients, float factor, int count, BitWriter& writer) {
  alignas(32) std::int32_t levels[mostBlocks];
  for (int group = 0; group < count; group += 8) {
    const Floats exact = loadFloats(coefficients + group) * factor;
    const Integers level = __builtin_convertvector(absolute(exact) + 0.5F, Integers);
    const Integers sign = -negative(exact);
    const Integers signedLevel = (level ^ sign) - sign;
    __builtin_memcpy(&levels[group], &signedLevel, sizeof signedLevel);
  }
  const std::int32_t first = levels[0];
  const Code code =
      codeOf(firstBookOfDc, static_cast<std::uint32_t>(first < 0 ? -2 * first - 1 : 2 * first));
  writer.put(code.bits, code.length);
  unsigned book = 3;
  std::int32_t signBefore = 0;  // -1: below zero
  for (int block = 1; block < count; ++block) {
    const std::int32_t difference = levels[block] - levels[block - 1];
    const std::int32_t sign = difference >> 31;
    // One less where the sign is another than that of the difference before.
    const std::int32_t turned = difference != 0 ? sign ^ signBefore : 0;
    signBefore = sign;
    const auto number = static_cast<std::uint32_t>(2 * ((difference ^ sign) - sign) + turned);
    if (number < usualSteps) [[likely]] {
      const std::uint32_t usual = dcTables[book].codes[number];
      writer.put(usual >> 5, usual & 31);
    } else {
      const Code rare = codeOf(dcBooks[book], number);
      writer.put(rare.bits, rare.length);
    }
    book = bookAfterDc[number < 5 ? number : 5];
  }
}

// For each octet of marks, which of its bits are set, and how many.
struct MarkTable {
  std::uint8_t places[256][8] = {};
  std::uint8_t count[256] = {};
};
constexpr MarkTable markTable() {
  MarkTable table;
  for (unsigned marks = 0; marks < 256; ++marks) {
    for (std::uint8_t bit = 0; bit < 8; ++bit)
      if ((marks >> bit & 1) != 0)
        table.places[marks][table.count[marks]++] = bit;
  }
  return table;
}
constexpr MarkTable markedPlaces = markTable();

// Makes the levels of a plane, position by position as they are coded, and answers how many are not
// 0; their places are told. No step depends on how many there are of a position, which no processor
// could foresee.
TESSARIN_INLINE int quantiseBlocks(const BlockValues<float>& coefficients,
                                   const QuantiserTable& table,
                                   const std::uint8_t (&scan)[positions], int count,
                                   PlaneLevels& levels) {
  const Floats rounding = Floats{} + table.rounding;
  const std::uint32_t all = ~std::uint32_t{0} >> (mostBlocks - count);
  int total = 0;
  for (int position = 1; position < positions; ++position) {
    const int at = scan[position];
    const float* own = coefficients[at];
    const Floats used = Floats{} + table.used[at];
    std::uint32_t users = 0;
    for (int group = 0; group < count; group += 8)
      users |= reaching(absolute(loadFloats(own + group)), used) << group;
    users &= all;
    if (users == 0)
      continue;
    const int share = __builtin_popcount(users) * QuantiserTable::shares / count;
    const Floats factor = Floats{} + table.factor[at];
    const Floats worth = Floats{} + table.worth[share];
    const int first = position * count;
    std::uint32_t found = 0;
    for (int pair = 0; pair < count; pair += 16) {
      Words halves[2] = {};
      for (int half = 0; half < 2 && pair + 8 * half < count; ++half) {
        const Floats value = loadFloats(&own[pair + 8 * half]);
        const Floats size = absolute(value) * factor;
        const Integers level = __builtin_convertvector(size + rounding, Integers) & (size >= worth);
        halves[half] = narrowed((level << 1) + (negative(value) & (level != 0)));
      }
      // What lies behind the blocks is overwritten by the next position.
      __builtin_memcpy(&levels.values[first + pair], halves, sizeof halves);
      found |= blocks::nonZeroLanes(halves[0], halves[1]) << pair;
    }
    found &= all;
    for (int group = 0; group < count; group += 8) {
      const std::uint32_t marks = found >> group & 0xFF;
      storeWords(&levels.places[total], blocks::loadOctets(markedPlaces.places[marks]) +
                                            static_cast<std::int16_t>(first + group));
      total += markedPlaces.count[marks];
    }
  }
  return total;
}

// The counts of nearly all planes get loops of their own, of a length that the compiler knows.
TESSARIN_INLINE int quantise(const BlockValues<float>& coefficients, const QuantiserTable& table,
                             const std::uint8_t (&scan)[positions], int count,
                             PlaneLevels& levels) {
  if (count == mostBlocks)
    return quantiseBlocks(coefficients, table, scan, mostBlocks, levels);
  if (count == mostBlocks / 2)
    return quantiseBlocks(coefficients, table, scan, mostBlocks / 2, levels);
  return quantiseBlocks(coefficients, table, scan, count, levels);
}

// Runs of zeros and the levels behind them, of which there are `total`.
TESSARIN_INLINE void codeAc(const PlaneLevels& levels, int total, int count, BitWriter& writer) {
  int next = count;  // the place of the level that would follow without a zero
  unsigned runBook = 2;
  unsigned levelBook = 2;
  for (int i = 0; i < total; ++i) {
    const int place = levels.places[i];
    const auto run = static_cast<unsigned>(place - next);
    next = place + 1;
    const unsigned level = levels.values[place];
    std::uint64_t bits = 0;
    unsigned length = 0;
    if (level < usualLevels) [[likely]] {
      const std::uint32_t code = levelTables[levelBook].codes[level];
      bits = code >> 5;
      length = code & 31;
      levelBook = nextBooks.afterLevel[level];
    } else {
      const Code code = codeOf(levelBooks[levelBook], (level >> 1) - 1);
      bits = std::uint64_t{code.bits} << 1 | (level & 1);
      length = code.length + 1;
      levelBook = bookAfterLevel(level >> 1);
    }
    if (run < usualRuns) [[likely]] {
      const std::uint32_t code = runTables[runBook].codes[run];
      bits |= std::uint64_t{code >> 5} << length;
      length += code & 31;
      runBook = nextBooks.afterRun[run];
    } else {
      const Code code = codeOf(runBooks[runBook], run);
      bits |= std::uint64_t{code.bits} << length;
      length += code.length;
      runBook = bookAfterRun(run);
    }
    writer.put(bits, length);
  }
}

}  // namespace
}  // namespace tessarin::prores
