// The one road to a movie: ffmpeg decodes pictures and sound into pipes, the encoder and the writer
// are ours.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "tools/movtool/FfmpegRun.h"
#include "tools/movtool/sourceTexts.h"
#include "tools/pictures/PictureCodec.h"

namespace tessarin::movtool {

// A track of sound.
struct SoundMaking {
  std::vector<std::string> arguments;  // WAVE on standard output
  std::optional<int> stream;           // of the source, where that is known
};

struct MovieMaking {
  explicit MovieMaking(const pictures::PictureCodec& codecOfPictures) : codec(codecOfPictures) {}

  const pictures::PictureCodec& codec;  // borrowed
  std::string ffmpeg;
  std::vector<std::string> pictures;  // arguments: YUV4MPEG2 on standard output
  // Tried before, and taken when its first picture carries fields.
  std::optional<std::vector<std::string>> keptFields;
  std::vector<SoundMaking> sounds;
  // As ffmpeg itself would be: what it says about the pictures goes to standard error at once, not
  // when it is done, and the output is seen from the beginning. What is made of it stays.
  bool isLikeFfmpeg = false;
  // What the movie is to be, of pictures that come like this; a reason when they cannot be taken.
  std::function<Outcome<quicktime::VideoFormat>(const yuv4mpeg::Header&)> format;
  // As ffmpeg tells them; like ffmpeg: those which it tells on the way.
  std::string timeCode;
  SourceTexts texts;
  std::vector<SourceSound> soundNames;
  std::string source;  // for reasons
  std::string output;
  bool replace = false;  // an existing output
  // Seconds of the source, which the lines about the progress count by; none: there are no lines.
  std::optional<double> duration;
};

// A sentence for the user when not all went well.
Outcome<bool> makeMovie(const MovieMaking& making);

}  // namespace tessarin::movtool
