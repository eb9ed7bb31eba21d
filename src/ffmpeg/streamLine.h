// One line of ffmpeg's report that describes a stream of the input.
//
//   Stream #0:1[0x1100](eng): Audio: ac3, 48000 Hz, 5.1(side), fltp, 448 kb/s (default)
//   Stream #0:0[0x1], 1, 1/25: Video: dvvideo, 1 reference frame (dvcp / 0x70637664), yuv420p(…
//   Stream #0.0[0x1011]: Video: h264 (High), yuv420p, 1920x1080 [PAR 1:1 DAR 16:9], 25 fps, …
// The second form is that of the log level "debug", the third that of programs before 2011.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace tessarin {

enum class StreamKind : char { video = 'v', audio = 'a', subtitle = 's' };

// All texts point into the line.
struct StreamLine {
  StreamKind kind = StreamKind::video;
  std::optional<int> id;         // ffmpeg's number of the stream: 1 in "#0:1"
  std::string_view lang;         // "eng"; empty when there is none
  std::string_view codec;        // "ac3", without profile and tag
  std::string_view description;  // what follows "Audio: " and its like
  // The description behind the codec, divided at the commas that stand in no brackets.
  std::vector<std::string_view> parts;
  std::optional<double> timeBase;  // seconds per tick, where the line gives it
  bool attachedPicture = false;
};

// Nothing for a line that describes no video, audio or subtitle stream, also when the words stand
// in a text of the source ("title : Stream #0:0: Video: …").
std::optional<StreamLine> parseStreamLine(std::string_view line);

}  // namespace tessarin
