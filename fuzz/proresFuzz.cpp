// Pictures of every kind, for the ProRes encoder: the sizes in a frame have to add up, and both
// builds of the slice coder have to make the same of them.
#include <algorithm>

#include "pictures.h"
#include "tools/prores/proresEncoder.h"
#include "tools/prores/quantiser.h"

namespace {

using namespace tessarin;
using namespace tessarin::prores;
using fuzz::require;

std::size_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count) {
  require(at + count <= bytes.size());
  std::size_t number = 0;
  for (std::size_t i = 0; i < count; ++i)
    number = number << 8 | bytes[at + i];
  return number;
}

void checkFrame(std::span<const std::uint8_t> frame, int pictures) {
  require(bigEndian(frame, 0, 4) == frame.size());
  std::size_t at = 8 + bigEndian(frame, 8, 2);
  for (int picture = 0; picture < pictures; ++picture) {
    const std::size_t header = bigEndian(frame, at, 1) >> 3;
    const std::size_t size = bigEndian(frame, at + 1, 4);
    const std::size_t slices = bigEndian(frame, at + 5, 2);
    std::size_t sum = header + 2 * slices;
    for (std::size_t slice = 0; slice < slices; ++slice) {
      const std::size_t own = bigEndian(frame, at + header + 2 * slice, 2);
      require(own >= 6);
      const std::size_t index = bigEndian(frame, at + sum + 1, 1);
      require(index >= smallestIndex && index <= largestIndex);
      require(6 + bigEndian(frame, at + sum + 2, 2) + bigEndian(frame, at + sum + 4, 2) <= own);
      sum += own;
    }
    require(sum == size);
    at += size;
  }
  require(at == frame.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces input(fuzz::textOf(data, size));
  constexpr blocks::Sampling samplings[] = {blocks::Sampling::yuv420, blocks::Sampling::yuv422,
                                            blocks::Sampling::yuv444};
  PictureFormat format;
  format.width = 1 + static_cast<int>(input.number(255));
  format.height = 1 + static_cast<int>(input.number(95));
  format.fieldOrder = static_cast<FieldOrder>(input.number(2));
  format.sampling = samplings[input.number(2)];
  format.bits = input.flag() ? 10 : 8;
  format.chromaOnLines = input.flag();
  format.oneLineUp = input.flag();
  const bool full = format.sampling == blocks::Sampling::yuv444;
  EncoderSettings settings;
  settings.flavour = full ? Flavour::full4444 : static_cast<Flavour>(input.number(3));
  settings.threads = 1;
  settings.index = static_cast<int>(input.number(largestIndex));
  if (formatProblem(format, settings.flavour))
    return 0;

  const std::ptrdiff_t wide = format.bits == 8 ? 1 : 2;
  const std::ptrdiff_t strides[] = {wide * format.width,
                                    wide * chromaWidth(format.sampling, format.width)};
  const int chromaLines = chromaHeight(format.sampling, format.height);
  const auto chroma = static_cast<std::size_t>(strides[1] * chromaLines);
  const fuzz::Planes planes(input,
                            {static_cast<std::size_t>(strides[0] * format.height), chroma, chroma});
  Picture picture;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    picture.planes[plane] = planes.samples.at(plane).data();
    picture.strides[plane] = strides[plane == 0 ? 0 : 1];
  }

  Encoder usual(format, settings);
  settings.portable = true;
  Encoder portable(format, settings);
  for (int round = 0; round < 2; ++round) {
    const auto frame = usual.encode(picture);
    checkFrame(frame, format.fieldOrder == FieldOrder::progressive ? 1 : 2);
    const auto other = portable.encode(picture);
    require(std::equal(frame.begin(), frame.end(), other.begin(), other.end()));
  }
  return 0;
}
