// When and with what a clip was recorded: the one place that asks everything that may know.
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

// As the clip has them, unchecked; "": unknown.
struct KnownFacts {
  std::optional<SourceTime> time;  // nothing when nothing tells
  std::string timeCode;            // of the first picture: "10:00:00:00"
  std::string make;                // of the camera
  std::string model;
  std::string place;      // ISO 6709
  std::string title;      // that the user gave the clip
  bool isUnread = false;  // the clip could not be read everywhere, and may know more
};
KnownFacts factsOfSource(const std::string& path);

}  // namespace tessarin
