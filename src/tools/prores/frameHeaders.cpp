#include "tools/prores/frameHeaders.h"

#include <algorithm>
#include <string_view>

#include "tools/blocks/bytes.h"

namespace tessarin::prores {

using blocks::putBigEndian;

namespace {

void putLetters(std::uint8_t* bytes, std::string_view letters) {
  std::copy(letters.begin(), letters.end(), bytes);
}

}  // namespace

void putFrameHeader(std::uint8_t* bytes, const PictureFormat& format, std::size_t size) {
  const bool full = format.sampling == blocks::Sampling::yuv444;
  std::fill_n(bytes, frameHeaderSize, std::uint8_t{0});
  putBigEndian(bytes, size, 4);
  putLetters(bytes + 4, "icpf");
  std::uint8_t* const header = bytes + 8;
  putBigEndian(header, frameHeaderSize - 8, 2);
  putBigEndian(header + 2, full ? 1 : 0, 2);  // version
  putLetters(header + 4, "Tess");             // who encoded it
  putBigEndian(header + 8, static_cast<std::size_t>(format.width), 2);
  putBigEndian(header + 10, static_cast<std::size_t>(format.height), 2);
  header[12] =
      static_cast<std::uint8_t>((full ? 3 : 2) << 6 | static_cast<int>(format.fieldOrder) << 2);
  // 13: neither a shape nor a rate; the movie says both.
  header[14] = static_cast<std::uint8_t>(format.primaries);
  header[15] = static_cast<std::uint8_t>(format.transfer);
  header[16] = static_cast<std::uint8_t>(format.matrix);
  // 17 to 19: no alpha, no matrices.
}

void putPictureHeader(std::uint8_t* bytes, std::size_t size, std::size_t slices) {
  constexpr int sliceWidth = 3;  // 2^3 macroblocks
  bytes[0] = pictureHeaderSize << 3;
  putBigEndian(bytes + 1, size, 4);
  putBigEndian(bytes + 5, slices, 2);
  bytes[7] = sliceWidth << 4;
}

}  // namespace tessarin::prores
