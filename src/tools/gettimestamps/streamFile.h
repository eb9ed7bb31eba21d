// When a clip was recorded by what its pictures say.
#pragma once

#include <optional>
#include <string>

#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

// The time that the camera put into the stream: AVCHD (as the camera wrote it or in another
// container) and DV (alone, in QuickTime or AVI). No more than its first megabytes are read.
std::optional<RecordingTime> recordingTimeInFile(const std::string& path);

}  // namespace tessarin
