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

// Runs of zeros.
constexpr CodeTable<64> runTable(unsigned book) {
  CodeTable<64> table;
  for (unsigned run = 0; run < 64; ++run) {
    const Code code = codeOf(book, run);
    table.codes[run] = code.bits << 5 | code.length;
  }
  return table;
}

// Levels as they are stored, twice their size and one more for those below zero.
constexpr CodeTable<128> levelTable(unsigned book) {
  CodeTable<128> table;
  for (unsigned level = 2; level < 128; ++level) {
    const Code code = codeOf(book, level / 2 - 1);
    table.codes[level] = (code.bits << 1 | (level & 1)) << 5 | (code.length + 1);
  }
  return table;
}

constexpr unsigned runBooks[] = {0x06, 0x05, 0x04, 0x29, 0x28, 0x4C};
constexpr CodeTable<64> runTables[] = {runTable(0x06), runTable(0x05), runTable(0x04),
                                       runTable(0x29), runTable(0x28), runTable(0x4C)};
// By the run before, of 0 to 15 and more.
constexpr std::uint8_t bookAfterRun[16] = {0, 0, 1, 1, 2, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 5};
constexpr unsigned levelBooks[] = {0x04, 0x0A, 0x05, 0x06, 0x28, 0x4C};
constexpr CodeTable<128> levelTables[] = {levelTable(0x04), levelTable(0x0A), levelTable(0x05),
                                          levelTable(0x06), levelTable(0x28), levelTable(0x4C)};
// By the size of the level before, of 0 to 9 and more.
constexpr std::uint8_t bookAfterLevel[10] = {0, 1, 2, 3, 0, 4, 4, 4, 4, 5};
constexpr unsigned firstBookOfDc = 0xB8;
// By the code before, of 0 to 6 and more.
constexpr std::uint8_t bookAfterDc[7] = {0x04, 0x28, 0x28, 0x4D, 0x4D, 0x70, 0x70};

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
  std::int32_t before = 0;
  std::uint32_t lastCode = 5;
  bool below = false;
  for (int block = 0; block < count; ++block) {
    const float exact = coefficients[block] * factor;
    const auto level = static_cast<std::int32_t>(exact < 0 ? exact - 0.5F : exact + 0.5F);
    const std::int32_t difference = level - before;
    before = level;
    const auto size = static_cast<std::uint32_t>(difference < 0 ? -difference : difference);
    if (block == 0) {
      const Code code = codeOf(firstBookOfDc, difference < 0 ? 2 * size - 1 : 2 * size);
      writer.put(code.bits, code.length);
      continue;
    }
    std::uint32_t number = 0;
    if (difference != 0) {
      number = 2 * size - ((difference < 0) != below ? 1 : 0);
      below = difference < 0;
    } else {
      below = false;
    }
    const Code code = codeOf(bookAfterDc[lastCode < 6 ? lastCode : 6], number);
    writer.put(code.bits, code.length);
    lastCode = number;
  }
}

// Makes the levels of a plane, position by position as they are coded. A bit of `marks` for each
// that is not 0.
TESSARIN_INLINE void quantise(const BlockValues<float>& coefficients, const QuantiserTable& table,
                              const std::uint8_t (&scan)[positions], int count,
                              BlockValues<std::uint16_t>& levels,
                              std::uint32_t (&marks)[positions]) {
  const Floats rounding = Floats{} + table.rounding;
  const std::uint32_t all = ~std::uint32_t{0} >> (mostBlocks - count);
  for (int position = 1; position < positions; ++position) {
    const int at = scan[position];
    const float* own = coefficients[at];
    const Floats used = Floats{} + table.used[at];
    std::uint32_t users = 0;
    for (int group = 0; group < count; group += 8)
      users |= reaching(absolute(loadFloats(own + group)), used) << group;
    users &= all;
    marks[position] = 0;
    if (users == 0)
      continue;
    const int share = __builtin_popcount(users) * QuantiserTable::shares / count;
    const Floats factor = Floats{} + table.factor[at];
    const Floats worth = Floats{} + table.worth[share];
    std::uint32_t found = 0;
    for (int pair = 0; pair < count; pair += 16) {
      Words halves[2] = {};
      for (int half = 0; half < 2 && pair + 8 * half < count; ++half) {
        const Floats value = loadFloats(&own[pair + 8 * half]);
        const Floats size = absolute(value) * factor;
        const Integers level = __builtin_convertvector(size + rounding, Integers) & (size >= worth);
        halves[half] = narrowed((level << 1) + (negative(value) & (level != 0)));
      }
      __builtin_memcpy(&levels[position][pair], halves, sizeof halves);
      found |= blocks::nonZeroLanes(halves[0], halves[1]) << pair;
    }
    marks[position] = found & all;
  }
}

// Runs of zeros and the levels behind them.
TESSARIN_INLINE void codeAc(const BlockValues<std::uint16_t>& levels,
                            const std::uint32_t (&marks)[positions], int count, BitWriter& writer) {
  int next = count;  // the number of the level that would follow without a zero
  unsigned runBook = 2;
  unsigned levelBook = 2;
  for (int position = 1; position < positions; ++position) {
    std::uint32_t left = marks[position];
    const std::uint16_t* own = levels[position];
    const int base = position * count;
    while (left != 0) {
      const int lane = __builtin_ctz(left);
      left &= left - 1;
      const auto run = static_cast<unsigned>(base + lane - next);
      next = base + lane + 1;
      const unsigned level = own[lane];
      const unsigned size = level >> 1;
      std::uint64_t bits = 0;
      unsigned length = 0;
      if (level < 128) [[likely]] {
        const std::uint32_t code = levelTables[levelBook].codes[level];
        bits = code >> 5;
        length = code & 31;
      } else {
        const Code code = codeOf(levelBooks[levelBook], size - 1);
        bits = std::uint64_t{code.bits} << 1 | (level & 1);
        length = code.length + 1;
      }
      if (run < 64) [[likely]] {
        const std::uint32_t code = runTables[runBook].codes[run];
        bits |= std::uint64_t{code >> 5} << length;
        length += code & 31;
      } else {
        const Code code = codeOf(runBooks[runBook], run);
        bits |= std::uint64_t{code.bits} << length;
        length += code.length;
      }
      writer.put(bits, length);
      runBook = bookAfterRun[run < 15 ? run : 15];
      levelBook = bookAfterLevel[size < 9 ? size : 9];
    }
  }
}

}  // namespace
}  // namespace tessarin::prores
