// Which of ffmpeg's ProRes encoders a movie takes.
#pragma once

namespace tessarin {

// The quicker one, but not for fields of pictures with an odd number of rows of macroblocks, such
// as those of 720, 486 and 240 lines: there it reads behind the picture's end and may be ended by
// a signal (seen with 5.1 and 7.0). The other takes eight times as long and keeps to the nominal
// bit rate.
constexpr const char* proresEncoder(bool hasFields, int lines) {
  const int macroblockRows = (lines + 15) / 16;
  return hasFields && macroblockRows % 2 != 0 ? "prores_ks" : "prores";
}

}  // namespace tessarin
