// What makers of AVCHD cameras put among the pictures: tags of an identifier and four bytes.
#pragma once

#include <string_view>

#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin {

// What such a message begins with.
inline constexpr std::string_view cameraMessage(
    "\x17\xEE\x8C\x60\xF8\x4D\x11\xD9\x8C\xD6\x08\x00\x20\x0C\x9A\x66MDPM", 20);

// Adds what is not known yet; nothing of other messages.
void addFactsOfCameraMessage(std::string_view message, StreamFacts& facts);

}  // namespace tessarin
