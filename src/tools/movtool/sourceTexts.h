// What a source says of itself in words, which its movie is to say, too. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/quicktime/movieTexts.h"

namespace tessarin::movtool {

struct SourceTexts {
  std::vector<quicktime::MovieText> texts;  // one of a kind
  std::optional<std::uint64_t> made;        // seconds since the beginning of 1904 (UTC)
};

// From ffmpeg's description of its input: title, artist, author, album, comment, description, date,
// copyright, genre, make and model of the camera, place, and the moment when it was made.
SourceTexts sourceTexts(std::string_view report);

}  // namespace tessarin::movtool
