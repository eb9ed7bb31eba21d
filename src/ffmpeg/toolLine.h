// A line that ffmpeg says of its own work, told apart.
#pragma once

#include <span>
#include <string_view>

namespace tessarin {

// "[mov,mp4 @ 0x55…] [dec:h264 @ 0x55…] words"
struct MarkedLine {
  std::string_view module;  // the first mark's name, "" without one
  std::string_view words;
};

// The parts of the line, which has to live as long as they are used.
MarkedLine withoutMarks(std::string_view line);

bool beginsWithOne(std::string_view line, std::span<const std::string_view> starts);

// Whether these words, without marks, tell what was read, how far it got or what went well, or give
// advice: no complaint, whatever else they hold.
bool isAccount(std::string_view words);

}  // namespace tessarin
