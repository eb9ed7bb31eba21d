// Where the stream in a file begins that is damaged in front.
#pragma once

#include <cstdint>
#include <string>

namespace tessarin {

struct StreamBegin {
  std::uint64_t bytes = 0;  // before it, which ffmpeg has to pass over; 0 where it need not
  std::string format;       // as ffmpeg calls it
};

// Of a file that is called like one of raw DV (".dv", ".dif"), the first frame: ffmpeg would take
// zeros for one of 525 lines, and read the rest as such. Of one that is called like an MPEG stream,
// the first pack or packet behind zeros: ffmpeg knows no format behind a few megabytes of them.
StreamBegin streamBegin(const std::string& path);

}  // namespace tessarin
