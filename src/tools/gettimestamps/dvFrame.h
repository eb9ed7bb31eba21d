// What a frame of DV says of itself.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin::dv {

// A frame is 10 or 12 sequences of 150 blocks; a picture of a higher rate is two or four of them.
inline constexpr std::size_t blockLength = 80;
inline constexpr std::size_t sequenceLength = 150 * blockLength;

// Whether a frame begins here: a head block, two of subcode, three about the picture.
bool beginsFrame(std::string_view bytes);

// Of bytes with which a frame begins, as far as they are there; nothing and "" where it does not
// tell.
bool has625Lines(std::string_view frame);
std::size_t frameLength(std::string_view frame);
std::optional<RecordingTime> timeOfFrame(std::string_view frame);
std::string timeCodeOfFrame(std::string_view frame);
// Whether the camera marked it as the beginning of a recording, beside the picture or the sound.
bool startsRecording(std::string_view frame);
// Rate and bits of its sound; -1: none.
int soundKind(std::string_view frame);
// Of 720 lines, at twice the rate of other DV.
bool has720Lines(std::string_view frame);

}  // namespace tessarin::dv
