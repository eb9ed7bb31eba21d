// An ffmpeg command line that makes a ProRes movie, taken apart so that another encoder can make
// the same movie: ffmpeg then only decodes. Pure functions.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ffmpeg/pictureColours.h"

namespace tessarin {

// The environment variable that leaves ProRes to ffmpeg when it is "ffmpeg", for comparing.
inline constexpr const char* proresEncoderVariable = "TESSARIN_PRORES_ENCODER";

// A filter that brings sound to what movies of ours have, at its own rate.
inline constexpr const char* movieSoundFilter = "aformat=sample_fmts=s16";

// A filter that makes sound twice as long at its own pitch.
inline constexpr const char* slowedSoundFilter = "atempo=0.5";

// The filters behind this chain that bring pictures to what a ProRes movie of ours holds: 4:2:2 in
// 10 bits, whole or with the top field first. Where the chain itself made the fields, out of whole
// pictures, one of its own scalers reaches 4:2:2, as early as it can.
std::string proresFilters(std::string_view chain, bool hasFields);

struct ProresCommand {
  // A track of sound, by the arguments for it and the stream that it is, where the command says.
  struct Sound {
    std::vector<std::string> arguments;
    std::optional<int> stream;
  };
  // Arguments for ffmpeg, in the words that ffmpegOptions.h translates: the pictures as YUV4MPEG2
  // and each sound as WAVE to standard output, all counting time from the same moment.
  std::vector<std::string> pictures;
  // The pictures with samples and order of fields as they are, for when all of them have fields.
  std::optional<std::vector<std::string>> keptFields;
  std::vector<Sound> sounds;
  int profile = 2;          // ProresFlavour::profile
  bool interlaced = false;  // top field first
  PictureColours colours;   // as the movie is to say them; without primaries: nothing is said
  std::string source;
  std::string output;
  bool replace = false;  // an existing output
};

// Nothing for a command that makes anything else, or that asks for something which the above cannot
// hold: every option of the output has to be a known one, and its filters end with proresFilters().
std::optional<ProresCommand> proresCommand(const std::vector<std::string>& arguments);

}  // namespace tessarin
