// What pictures of one plane of luma and two of chroma are like.
#pragma once

namespace tessarin::blocks {

// How chroma stands to luma. Sides that are halved are rounded up.
enum class Sampling { yuv420, yuv422, yuv444 };

constexpr int chromaWidth(Sampling sampling, int width) {
  return sampling == Sampling::yuv444 ? width : (width + 1) / 2;
}
constexpr int chromaHeight(Sampling sampling, int height) {
  return sampling == Sampling::yuv420 ? (height + 1) / 2 : height;
}

}  // namespace tessarin::blocks
