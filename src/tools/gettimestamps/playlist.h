// Playlist files of AVCHD cards (BDMV/PLAYLIST/NNNNN.MPL): which clips there are, and when they
// were recorded.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"
#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

struct PlaylistClip {
  std::string name;        // five digits, as the file in STREAM is called
  bool continues = false;  // of the same recording as the clip before it, cut at the 4 GB limit
  // From the entry mark of this clip.
  std::optional<RecordingTime> time;
};

struct Playlist {
  std::vector<PlaylistClip> clips;
  // Of the playlist as a whole: when its first clip was recorded.
  std::optional<RecordingTime> time;
  // What is damaged, in words; the rest was read all the same.
  std::vector<std::string> problems;
};

// Fails only when these bytes are no playlist at all.
Outcome<Playlist> parsePlaylist(std::string_view bytes);

}  // namespace tessarin
