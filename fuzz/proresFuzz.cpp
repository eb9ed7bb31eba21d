// Pictures of every kind, for the ProRes encoder: the sizes in a frame have to add up, and both
// builds of the slice coder have to make the same of them.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "tools/prores/proresEncoder.h"
#include "tools/prores/quantiser.h"

namespace {

using namespace tessarin;
using namespace tessarin::prores;

void require(bool isTrue) {
  if (!isTrue)
    std::abort();
}

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
  constexpr std::size_t head = 5;
  if (size <= head)
    return 0;
  constexpr blocks::Sampling samplings[] = {blocks::Sampling::yuv420, blocks::Sampling::yuv422,
                                            blocks::Sampling::yuv444};
  PictureFormat format;
  format.width = 1 + data[0];
  format.height = 1 + data[1] % 96;
  format.fieldOrder = static_cast<FieldOrder>(data[2] % 3);
  format.sampling = samplings[data[2] / 3 % 3];
  format.bits = data[2] / 9 % 2 == 0 ? 8 : 10;
  format.chromaOnLines = data[2] / 18 % 2 != 0;
  const bool full = format.sampling == blocks::Sampling::yuv444;
  EncoderSettings settings;
  settings.flavour = full ? Flavour::full4444 : static_cast<Flavour>(data[3] % 4);
  settings.threads = 1;
  settings.index = data[4] % (largestIndex + 1);
  if (formatProblem(format, settings.flavour))
    return 0;

  // The rest of the input again and again; what is full becomes flat areas and edges.
  const std::ptrdiff_t wide = format.bits == 8 ? 1 : 2;
  const std::ptrdiff_t strides[] = {wide * format.width,
                                    wide * chromaWidth(format.sampling, format.width)};
  const int chromaLines = chromaHeight(format.sampling, format.height);
  std::vector<std::uint8_t> samples(
      static_cast<std::size_t>(strides[0] * format.height + 2 * strides[1] * chromaLines));
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = data[head + i % (size - head)];
  Picture picture;
  picture.planes[0] = samples.data();
  picture.planes[1] = picture.planes[0] + strides[0] * format.height;
  picture.planes[2] = picture.planes[1] + strides[1] * chromaLines;
  picture.strides[0] = strides[0];
  picture.strides[1] = picture.strides[2] = strides[1];

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
