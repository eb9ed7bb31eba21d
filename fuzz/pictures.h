// Pictures for the encoders: what an input holds again and again, noise, or nothing but the
// darkest and the brightest.
#pragma once

#include <array>
#include <vector>

#include "Input.h"

namespace tessarin::fuzz {

// Each plane has memory of its own, exactly as much as it needs, so that a sanitizer sees who reads
// beside it.
struct Planes {
  std::array<std::vector<std::uint8_t>, 3> samples;

  Planes(Pieces& input, std::array<std::size_t, 3> sizes) {
    enum { repeated, noise, extremes };
    const std::size_t kind = input.number(2);
    const std::string_view pattern = input.rest();
    std::uint32_t state = 1;
    for (const char byte : pattern)
      state = state * 31 + static_cast<std::uint8_t>(byte);
    for (std::size_t plane = 0; plane < samples.size(); ++plane) {
      samples.at(plane).resize(sizes.at(plane));
      for (std::size_t i = 0; i < sizes.at(plane); ++i) {
        state = state * 1664525 + 1013904223;
        const auto byte = static_cast<std::uint8_t>(
            pattern.empty() ? 0 : pattern[(kind == extremes ? i / 8 : i) % pattern.size()]);
        if (kind == noise)
          samples.at(plane)[i] = static_cast<std::uint8_t>(state >> 24);
        else
          samples.at(plane)[i] = kind == repeated ? byte : (byte >> i % 8 & 1) != 0 ? 255 : 0;
      }
    }
  }
};

}  // namespace tessarin::fuzz
