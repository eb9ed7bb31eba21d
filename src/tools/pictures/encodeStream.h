// From a YUV4MPEG2 stream to a QuickTime movie.
#pragma once

#include <optional>
#include <string>

#include "classShared/Outcome.h"
#include "tools/pictures/PictureCodec.h"

namespace tessarin::pictures {

struct StreamJob {
  int input = 0;  // descriptor of the stream, borrowed
  std::string output;
  // The stream does not say them; none: those that are usual for its size.
  std::optional<PictureColours> colours;
};

// Encodes the whole stream. The output appears only when all went well and replaces what was
// there. Answers the number of frames, or a sentence without line end.
Outcome<std::size_t> encodeStream(const StreamJob& job, const PictureCodec& codec);

}  // namespace tessarin::pictures
