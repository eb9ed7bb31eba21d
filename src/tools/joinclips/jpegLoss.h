// Tells how many pictures of a clip of Motion JPEG are damaged.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"

namespace tessarin::joining {

// What is wrong with the bytes of a picture (ITU-T T.81). Decoders go on behind much of it with a
// grey picture, and say only what they say of each picture of some cameras.
struct JpegFaults {
  bool lacksBegin = false;
  bool lacksEnd = false;       // behind the last of its fields
  bool hasWrongData = false;   // not that of each block (JpegScanReader)
  bool hasWrongMarks = false;  // as no encoder puts into it, or no scan
};
JpegFaults jpegFaults(std::string_view picture);

struct JpegLoss {
  std::uint64_t pictures = 0;
  std::uint64_t damaged = 0;
  double step = 0;  // seconds of a picture
};

// Of an AVI or Matroska file, or of a movie; of others nothing. What is said of most of them is
// their camera's way. Those that the index of an AVI file has beyond the ones in it are damaged,
// too.
Outcome<JpegLoss> jpegLoss(const std::string& path);

}  // namespace tessarin::joining
