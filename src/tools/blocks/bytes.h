// Numbers in the headers of frames.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessarin::blocks {

// The low `count` bytes of the number, the highest first.
inline void putBigEndian(std::uint8_t* bytes, std::size_t number, int count) {
  for (int i = count - 1; i >= 0; --i) {
    bytes[i] = static_cast<std::uint8_t>(number);
    number >>= 8;
  }
}

}  // namespace tessarin::blocks
