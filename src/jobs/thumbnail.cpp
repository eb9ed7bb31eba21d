#include "jobs/thumbnail.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace tessarin {

namespace {

constexpr int quality = 85;  // of 100: more than a thumbnail needs, and small all the same

using Plane = std::vector<std::uint8_t>;

// The means of the samples that each one stands for, in the full range that a JPEG has.
Plane reduced(std::span<const std::uint8_t> samples, int width, int height, int newWidth,
              int newHeight, bool isLuma) {
  const auto range = [](int index, int from, int to) {
    const auto place = [&](int number) {
      return static_cast<int>(std::int64_t{number} * from / to);
    };
    return std::pair(place(index), std::max(place(index) + 1, place(index + 1)));
  };
  Plane plane;
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
      const float full = isLuma ? (mean - 16) * 255 / 219 : (mean - 128) * 255 / 224 + 128;
      plane.push_back(static_cast<std::uint8_t>(std::lround(std::clamp(full, 0.0F, 255.0F))));
    }
  return plane;
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
  std::array<const unsigned char*, 3> starts = {small[0].data(), small[1].data(), small[2].data()};
  const std::unique_ptr<void, int (*)(void*)> compressor(tjInitCompress(), tjDestroy);
  unsigned char* made = nullptr;
  unsigned long size = 0;
  const int status =
      compressor ? tjCompressFromYUVPlanes(compressor.get(), starts.data(), jpegWidth, nullptr,
                                           jpegHeight, TJSAMP_444, &made, &size, quality, 0)
                 : -1;
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> held(made, tjFree);
  return status == 0 ? std::string(made, made + size) : std::string();
}

}  // namespace tessarin
