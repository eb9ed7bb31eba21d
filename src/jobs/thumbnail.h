// Small pictures of sources, made without another run of ffmpeg. Pure functions.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tessarin {

// A JPEG of this size of a picture of 4:2:0 in television's range, its planes one after another
// without gaps; empty when they are not as large as that picture, or a size is none. Every pixel is
// the mean of those that it stands for.
std::string jpegOf(std::span<const std::uint8_t> planes, int width, int height, int jpegWidth,
                   int jpegHeight);

}  // namespace tessarin
