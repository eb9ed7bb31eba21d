// Where a packet of a stream is.
#pragma once

#include <cstdint>

namespace tessarin {

struct MediaPiece {
  std::uint64_t begin = 0;  // in the file
  std::uint32_t size = 0;
};

}  // namespace tessarin
