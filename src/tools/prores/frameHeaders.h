// What stands before the slices of a frame.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/prores/proresEncoder.h"

namespace tessarin::prores {

// A frame begins with its size and its header; then comes a picture, or one for each field. A
// picture begins with its header and the sizes of its slices, of two bytes each.
inline constexpr std::size_t frameHeaderSize = 8 + 20;
inline constexpr std::size_t pictureHeaderSize = 8;

// `size`: of the whole frame.
void putFrameHeader(std::uint8_t* bytes, const PictureFormat& format, std::size_t size);
// `size`: of the picture, with its header and the sizes of its slices.
void putPictureHeader(std::uint8_t* bytes, std::size_t size, std::size_t slices);

}  // namespace tessarin::prores
