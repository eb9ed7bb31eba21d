// From a YUV4MPEG2 stream to a QuickTime movie with Apple Intermediate Codec.
#pragma once

#include <string>

#include "classShared/Outcome.h"
#include "tools/aic/aicEncoder.h"

namespace tessarin::aicenc {

struct Job {
  int input = 0;  // descriptor of the stream, borrowed
  std::string output;
  int threads = 0;  // 0: one per core
  int quantiser = aic::shippedQuantiser;
  int kilobitsPerSecond = 0;  // 0: the quantiser counts
};

// Encodes the whole stream. The output appears only when all went well and replaces what was
// there. Answers the number of frames, or a sentence without line end.
Outcome<std::size_t> encodeStream(const Job& job);

}  // namespace tessarin::aicenc
