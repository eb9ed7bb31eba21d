// When a clip was recorded: the one place that asks everything that may know.
#pragma once

#include <optional>
#include <string>

#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

struct SourceTime {
  // "card" for a clip beside playlists, whether they or its stream tell; "beside" for a file of the
  // camera's beside the clip; "stream" and "container" for the clip itself.
  std::string origin;
  // Nothing only for "card": no time is known of a clip that lies on one.
  std::optional<RecordingTime> time;
};

// Nothing when nothing tells.
std::optional<SourceTime> timeOfSource(const std::string& path);

}  // namespace tessarin
