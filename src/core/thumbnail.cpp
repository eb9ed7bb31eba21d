#include "core/thumbnail.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>
#include <vector>

namespace tessarin {

namespace {

constexpr int blockSide = 8;
constexpr std::size_t blockSize = 64;

struct Plane {
  int width = 0;
  int height = 0;
  std::vector<float> samples;

  // Beside the edges the samples there go on.
  float at(int x, int y) const {
    return samples[static_cast<std::size_t>(std::min(y, height - 1)) *
                       static_cast<std::size_t>(width) +
                   static_cast<std::size_t>(std::min(x, width - 1))];
  }
};

// The means of the samples that each one stands for, from -128 to 127.
Plane reduced(std::span<const std::uint8_t> samples, int width, int height, int newWidth,
              int newHeight, bool isLuma) {
  const auto range = [](int index, int from, int to) {
    const auto place = [&](int number) {
      return static_cast<int>(std::int64_t{number} * from / to);
    };
    return std::pair(place(index), std::max(place(index) + 1, place(index + 1)));
  };
  Plane plane{newWidth, newHeight, {}};
  for (int y = 0; y < newHeight; ++y)
    for (int x = 0; x < newWidth; ++x) {
      const auto [left, right] = range(x, width, newWidth);
      const auto [top, bottom] = range(y, height, newHeight);
      int sum = 0;
      for (int line = top; line < bottom; ++line)
        for (int place = left; place < right; ++place)
          sum += samples[static_cast<std::size_t>(line) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(place)];
      const float mean =
          static_cast<float>(sum) / static_cast<float>((right - left) * (bottom - top));
      const float full = isLuma ? (mean - 16) * 255 / 219 - 128 : (mean - 128) * 255 / 224;
      plane.samples.push_back(std::clamp(full, -128.0F, 127.0F));
    }
  return plane;
}

// The coefficients' places, line by line, in the order in which they are coded.
const std::array<std::size_t, blockSize>& zigzag() {
  static const auto order = [] {
    std::array<std::size_t, blockSize> places{};
    std::size_t next = 0;
    for (int diagonal = 0; diagonal < 2 * blockSide - 1; ++diagonal)
      for (int step = 0; step <= diagonal; ++step) {
        const int line = diagonal % 2 == 0 ? diagonal - step : step;
        const int column = diagonal - line;
        if (line < blockSide && column < blockSide)
          places.at(next++) =
              static_cast<std::size_t>(line) * blockSide + static_cast<std::size_t>(column);
      }
    return places;
  }();
  return order;
}

// Finer than thumbnails need, and small all the same.
int stepOf(std::size_t place) {
  return 6 + 3 * static_cast<int>(place / blockSide + place % blockSide);
}

std::array<int, blockSize> coefficients(const Plane& plane, int left, int top) {
  static const auto cosines = [] {
    std::array<std::array<float, blockSide>, blockSide> table{};
    for (int u = 0; u < blockSide; ++u)
      for (int x = 0; x < blockSide; ++x)
        table.at(static_cast<std::size_t>(u)).at(static_cast<std::size_t>(x)) = static_cast<float>(
            (u == 0 ? std::sqrt(0.125) : 0.5) * std::cos((2 * x + 1) * u * std::numbers::pi / 16));
    return table;
  }();
  std::array<std::array<float, blockSide>, blockSide> lines{};
  for (std::size_t y = 0; y < blockSide; ++y)
    for (std::size_t u = 0; u < blockSide; ++u)
      for (std::size_t x = 0; x < blockSide; ++x)
        lines[y][u] +=
            cosines[u][x] * plane.at(left + static_cast<int>(x), top + static_cast<int>(y));
  std::array<int, blockSize> result{};
  for (std::size_t v = 0; v < blockSide; ++v)
    for (std::size_t u = 0; u < blockSide; ++u) {
      float sum = 0;
      for (std::size_t y = 0; y < blockSide; ++y)
        sum += cosines[v][y] * lines[y][u];
      const std::size_t place = v * blockSide + u;
      result.at(place) = static_cast<int>(std::lround(sum / static_cast<float>(stepOf(place))));
    }
  return result;
}

// Codes of one length for all symbols, in the order of their numbers: what that costs does not
// matter for a picture of some kilobytes.
constexpr int differenceLength = 4;
constexpr std::size_t differenceSymbols = 12;
constexpr int levelLength = 8;
constexpr int longestRun = 15;
constexpr int largestLevel = 10;  // bits
constexpr int endOfBlock = 0;
constexpr int sixteenZeros = 1;

int levelCode(int run, int bits) {
  return 2 + run * largestLevel + bits - 1;
}

std::string levelSymbols() {
  std::string symbols = {'\x00', '\xF0'};
  for (int run = 0; run <= longestRun; ++run)
    for (int bits = 1; bits <= largestLevel; ++bits)
      symbols += static_cast<char>(run << 4 | bits);
  return symbols;
}

class BitText {
 public:
  void put(unsigned value, int count) {
    for (int bit = count - 1; bit >= 0; --bit) {
      byte_ = byte_ << 1 | (value >> bit & 1);
      if (++bits_ < 8)
        continue;
      text_ += static_cast<char>(byte_);
      if ((byte_ & 0xFF) == 0xFF)
        text_ += '\0';
      byte_ = 0;
      bits_ = 0;
    }
  }
  std::string finished() {
    while (bits_ != 0)
      put(1, 1);
    return std::move(text_);
  }

 private:
  std::string text_;
  unsigned byte_ = 0;
  int bits_ = 0;
};

int bitsOf(int value) {
  int bits = 0;
  for (int rest = std::abs(value); rest > 0; rest >>= 1)
    ++bits;
  return bits;
}

// Negative numbers count up to the smallest that needs as many bits.
void putValue(BitText& out, int value, int bits) {
  out.put(static_cast<unsigned>(value > 0 ? value : value + (1 << bits) - 1), bits);
}

void putBlock(BitText& out, const std::array<int, blockSize>& block, int& before) {
  const int difference = block[0] - std::exchange(before, block[0]);
  out.put(static_cast<unsigned>(bitsOf(difference)), differenceLength);
  putValue(out, difference, bitsOf(difference));
  int run = 0;
  for (std::size_t index = 1; index < blockSize; ++index) {
    const int level = block.at(zigzag().at(index));
    if (level == 0) {
      ++run;
      continue;
    }
    for (; run > longestRun; run -= longestRun + 1)
      out.put(sixteenZeros, levelLength);
    out.put(static_cast<unsigned>(levelCode(run, bitsOf(level))), levelLength);
    putValue(out, level, bitsOf(level));
    run = 0;
  }
  if (run > 0)
    out.put(endOfBlock, levelLength);
}

std::string number16(std::size_t number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string segment(char kind, const std::string& content) {
  return std::string("\xFF") + kind + number16(content.size() + 2) + content;
}

std::string codeTable(char kind, int length, const std::string& symbols) {
  std::string counts(16, '\0');
  counts.at(static_cast<std::size_t>(length - 1)) = static_cast<char>(symbols.size());
  return segment('\xC4', kind + counts + symbols);
}

std::string headers(int width, int height) {
  std::string steps(1, '\0');
  for (const std::size_t place : zigzag())
    steps += static_cast<char>(stepOf(place));
  std::string differences;
  for (std::size_t symbol = 0; symbol < differenceSymbols; ++symbol)
    differences += static_cast<char>(symbol);
  std::string frame = '\x08' + number16(static_cast<std::size_t>(height)) +
                      number16(static_cast<std::size_t>(width)) + '\x03';
  std::string scan = "\x03";
  for (const char component : {'\x01', '\x02', '\x03'}) {
    frame += {component, '\x11', '\0'};
    scan += {component, '\0'};
  }
  scan += {'\0', '\x3F', '\0'};
  const std::string square = {'J', 'F', 'I', 'F', '\0', 1, 1, 0, 0, 1, 0, 1, 0, 0};
  return "\xFF\xD8" + segment('\xE0', square) + segment('\xDB', steps) + segment('\xC0', frame) +
         codeTable('\x00', differenceLength, differences) +
         codeTable('\x10', levelLength, levelSymbols()) + segment('\xDA', scan);
}

}  // namespace

std::string jpegOf(std::span<const std::uint8_t> planes, int width, int height, int jpegWidth,
                   int jpegHeight) {
  constexpr int largestSide = 0xFFFF;
  for (const int side : {width, height, jpegWidth, jpegHeight})
    if (side < 1 || side > largestSide)
      return {};
  const int chromaWidth = (width + 1) / 2;
  const int chromaHeight = (height + 1) / 2;
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const auto chroma =
      static_cast<std::size_t>(chromaWidth) * static_cast<std::size_t>(chromaHeight);
  if (planes.size() != luma + 2 * chroma)
    return {};
  const std::array<Plane, 3> small = {
      reduced(planes.first(luma), width, height, jpegWidth, jpegHeight, true),
      reduced(planes.subspan(luma, chroma), chromaWidth, chromaHeight, jpegWidth, jpegHeight,
              false),
      reduced(planes.last(chroma), chromaWidth, chromaHeight, jpegWidth, jpegHeight, false)};
  BitText out;
  std::array<int, 3> before{};
  for (int top = 0; top < jpegHeight; top += blockSide)
    for (int left = 0; left < jpegWidth; left += blockSide)
      for (std::size_t plane = 0; plane < small.size(); ++plane)
        putBlock(out, coefficients(small.at(plane), left, top), before.at(plane));
  return headers(jpegWidth, jpegHeight) + out.finished() + "\xFF\xD9";
}

}  // namespace tessarin
