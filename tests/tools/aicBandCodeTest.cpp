// Takes encoded frames apart with a reader of its own and weighs every way in which each band
// could have been written.
#include <gtest/gtest.h>

#include <algorithm>

#include "tools/support/movies.h"

namespace tessarin {
namespace {

class BitReader {
 public:
  BitReader(const std::uint8_t* bytes, std::size_t count) : bytes_(bytes), end_(8 * count) {}

  unsigned bit() {
    if (position_ >= end_) {
      ADD_FAILURE() << "a slice ends too early";
      return 1;
    }
    const unsigned byte = bytes_[position_ / 8];
    return byte >> (7 - position_++ % 8) & 1;
  }
  unsigned bits(unsigned count) {
    unsigned number = 0;
    while (count-- > 0)
      number = 2 * number + bit();
    return number;
  }
  unsigned zeros() {
    unsigned count = 0;
    while (count < 32 && bit() == 0)
      ++count;
    return count;
  }
  std::size_t position() const { return position_; }
  std::size_t left() const { return end_ - position_; }

 private:
  const std::uint8_t* bytes_;
  std::size_t end_;
  std::size_t position_ = 0;
};

struct Code {
  unsigned golomb = 0;
  unsigned low = 0;
};

unsigned readNumber(BitReader& reader, const Code& code) {
  const unsigned zeros = reader.zeros();
  const unsigned high = code.golomb ? (1U << zeros | reader.bits(zeros)) - 1 : zeros;
  return high << code.low | reader.bits(code.low);
}

std::size_t numberSize(unsigned number, const Code& code) {
  const unsigned high = number >> code.low;
  if (!code.golomb)
    return high > 31 ? 1'000'000 : high + 1 + code.low;
  std::size_t length = 0;
  while ((high + 1) >> (length + 1) != 0)
    ++length;
  return 2 * length + 1 + code.low;
}

std::size_t cheapest(const std::vector<unsigned>& numbers) {
  std::size_t best = SIZE_MAX;
  for (const unsigned golomb : {0U, 1U}) {
    for (unsigned low = 0; low < 8; ++low) {
      std::size_t size = 0;
      for (const unsigned number : numbers)
        size += numberSize(number, {golomb, low});
      best = std::min(best, size);
    }
  }
  return best;
}

using Macroblocks = std::vector<std::vector<unsigned>>;

Macroblocks readBand(BitReader& reader, std::size_t macroblocks, std::size_t perMacroblock) {
  Macroblocks band(macroblocks, std::vector<unsigned>(perMacroblock));
  const bool runs = reader.bit() != 0;
  const Code value = {reader.bit(), reader.bits(3)};
  if (!runs) {
    for (auto& macroblock : band) {
      for (unsigned& number : macroblock)
        number = readNumber(reader, value);
    }
    return band;
  }
  const Code run = {reader.bit(), reader.bits(3)};
  for (auto& macroblock : band) {
    for (std::size_t next = 0; next < perMacroblock; ++next) {
      next += readNumber(reader, run);
      if (next < perMacroblock)
        macroblock[next] = readNumber(reader, value) + 1;
    }
  }
  return band;
}

std::size_t smallestBand(const Macroblocks& band) {
  std::vector<unsigned> all;
  std::vector<unsigned> lessOne;
  std::vector<unsigned> runs;
  for (const auto& macroblock : band) {
    unsigned zeros = 0;
    for (const unsigned number : macroblock) {
      all.push_back(number);
      if (number == 0) {
        ++zeros;
        continue;
      }
      runs.push_back(zeros);
      lessOne.push_back(number - 1);
      zeros = 0;
    }
    if (zeros > 0)
      runs.push_back(zeros);
  }
  return std::min(5 + cheapest(all), 9 + cheapest(lessOne) + cheapest(runs));
}

struct Sizes {
  std::size_t written = 0;
  std::size_t smallest = 0;
};

// Of a frame with one slice of `macroblocks` a row.
Sizes weigh(std::span<const std::uint8_t> frame, std::size_t macroblocks, std::size_t rows) {
  Sizes sizes;
  std::size_t at = (24 + 2 * rows + 3) / 4 * 4;
  for (std::size_t row = 0; row < rows; ++row) {
    const std::size_t length = 4 * (frame[24 + 2 * row] + std::size_t{frame[25 + 2 * row]} * 256);
    BitReader reader(frame.data() + at, length);
    for (const std::size_t count : {64, 32, 192, 96}) {
      const std::size_t start = reader.position();
      const Macroblocks band = readBand(reader, macroblocks, count);
      sizes.written += reader.position() - start;
      sizes.smallest += smallestBand(band);
    }
    EXPECT_LT(reader.left(), 32U) << "more than padding behind slice " << row;
    at += length;
  }
  EXPECT_EQ(at, frame.size());
  return sizes;
}

TEST(AicBandCode, IsTheCheapestOfAll) {
  // Two rows of macroblocks that do not overlap, so that all that is read counts.
  const struct {
    const char* name;
    test::Samples samples;
    int quantiser;
  } cases[] = {
      {"all grey", test::Samples(320, 32), 2},
      {"soft", test::naturalPicture(320, 32, 0), 2},
      {"some noise", test::naturalPicture(320, 32, 3), 2},
      {"half of the values zero", test::naturalPicture(320, 32, 6), 3},
      {"much noise", test::naturalPicture(320, 32, 20), 2},
      {"nothing but noise", test::noisePicture(320, 32), 1},
      {"coarse", test::naturalPicture(320, 32, 6), 40},
  };
  double worst = 1;
  for (const auto& item : cases) {
    for (const bool interlaced : {false, true}) {
      SCOPED_TRACE(item.name);
      aic::EncoderSettings settings;
      settings.threads = 1;
      settings.quantiser = item.quantiser;
      aic::Encoder encoder({320, 32, interlaced}, settings);
      const Sizes sizes = weigh(encoder.encode(item.samples.picture()), 20, 2);
      const double ratio = static_cast<double>(sizes.written) / static_cast<double>(sizes.smallest);
      EXPECT_LE(ratio, 1.02);
      EXPECT_GE(ratio, 1);
      worst = std::max(worst, ratio);
    }
  }
  RecordProperty("worst", std::to_string(worst));
}

}  // namespace
}  // namespace tessarin
