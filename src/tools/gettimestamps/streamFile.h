// What the pictures of a clip say of its recording.
#pragma once

#include <optional>
#include <string>

#include "tools/gettimestamps/RecordingTime.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin {

// What the camera put into the stream: AVCHD (as the camera wrote it or in another container), DV
// (alone, in QuickTime or AVI) and the time code of MPEG-2. No more than its first megabytes are
// read.
StreamFacts factsInFile(const std::string& path);
// The time alone.
std::optional<RecordingTime> recordingTimeInFile(const std::string& path);

}  // namespace tessarin
