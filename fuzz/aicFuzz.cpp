// Pictures of every kind, for the encoder of Apple Intermediate Codec: both builds of the slice
// coder have to make the same of them, and a wanted size is kept.
#include <algorithm>

#include "pictures.h"
#include "tools/aic/aicEncoder.h"

using namespace tessarin;
using namespace tessarin::aic;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces input(fuzz::textOf(data, size));
  PictureFormat format;
  format.width = 1 + static_cast<int>(input.number(255));
  format.height = 1 + static_cast<int>(input.number(95));
  format.interlaced = input.flag();
  EncoderSettings settings;
  settings.threads = 1;
  settings.quantiser = 1 + static_cast<int>(input.number(largestQuantiser - 1));
  if (input.flag())
    settings.bytesPerFrame = 1 + input.number(0xFFFF);
  const bool upsideDown = input.flag();
  if (formatProblem(format))
    return 0;

  const auto width = static_cast<std::size_t>(format.width);
  const auto height = static_cast<std::size_t>(format.height);
  const std::size_t chromaWidth = (width + 1) / 2;
  const std::size_t chromaHeight = (height + 1) / 2;
  const fuzz::Planes planes(
      input, {width * height, chromaWidth * chromaHeight, chromaWidth * chromaHeight});
  Picture picture;
  picture.luma = planes.samples[0].data();
  picture.blueChroma = planes.samples[1].data();
  picture.redChroma = planes.samples[2].data();
  picture.lumaStride = format.width;
  picture.chromaStride = static_cast<std::ptrdiff_t>(chromaWidth);
  if (upsideDown) {
    picture.luma += width * (height - 1);
    picture.blueChroma += chromaWidth * (chromaHeight - 1);
    picture.redChroma += chromaWidth * (chromaHeight - 1);
    picture.lumaStride = -picture.lumaStride;
    picture.chromaStride = -picture.chromaStride;
  }

  Encoder usual(format, settings);
  settings.portable = true;
  Encoder portable(format, settings);
  for (int round = 0; round < 3; ++round) {
    const auto frame = usual.encode(picture);
    fuzz::require(!frame.empty());
    const auto other = portable.encode(picture);
    fuzz::require(std::equal(frame.begin(), frame.end(), other.begin(), other.end()));
    fuzz::require(usual.quantiser() >= smallestQuantiser && usual.quantiser() <= largestQuantiser);
  }
  return 0;
}
