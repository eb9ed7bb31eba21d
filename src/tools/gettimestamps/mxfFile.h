// What an MXF file says of itself before what it holds, or behind it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "movie/timeCode.h"
#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

// Where an MXF file begins, which may have something else before that; nothing: it is none.
std::optional<std::uint64_t> startOfMxf(BoundedFile& file);
// When the material was made.
std::optional<RecordingTime> recordingTimeOfMxf(BoundedFile& file);

// Of the pictures, or of the sound in a file without.
struct MxfFacts {
  double rate = 0;  // units a second: pictures, or samples
  std::int64_t units = 0;
  std::optional<TimeCode> timeCode;  // of the first picture
  // How pictures and sound are made, of all tracks: the same bytes in all parts of a recording.
  std::string kind;

  double seconds() const { return static_cast<double>(units) / rate; }
};
// Nothing for what is no MXF file, and for one that tells no length.
std::optional<MxfFacts> mxfFacts(BoundedFile& file);

}  // namespace tessarin
