// What a source says of itself in words, which its movie is to say, too. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/quicktime/movieHeader.h"
#include "tools/quicktime/movieTexts.h"

namespace tessarin::movtool {

struct SourceTexts {
  std::vector<quicktime::MovieText> texts;  // one of a kind
  std::optional<std::uint64_t> made;        // seconds since the beginning of 1904 (UTC)
};

// From ffmpeg's description of its input: title, artist, author, album, comment, description, date,
// copyright, genre, make and model of the camera, place, and the moment when it was made.
SourceTexts sourceTexts(std::string_view report);

// A sound, and what it is called: by its title, else by the handler that a movie names.
struct SourceSound {
  int stream = 0;  // ffmpeg's number
  quicktime::SoundName name;
};
// From ffmpeg's description of its input; those that it can decode, each once, in order.
std::vector<SourceSound> sourceSounds(std::string_view report);
// Nothing but the number where it is not among them; without a number the first one.
SourceSound soundOf(const std::vector<SourceSound>& sounds, std::optional<int> stream);

}  // namespace tessarin::movtool
