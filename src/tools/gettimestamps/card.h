// The clips of a card or of a folder, and when they were recorded.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"
#include "tools/gettimestamps/RecordingTime.h"

namespace tessarin {

struct ClipTime {
  std::string name;  // the clip's file name without extension
  RecordingTime time;
};

struct ClipTimes {
  std::vector<ClipTime> clips;  // sorted by name, each name once
  // What could not be read: the file and the reason, one sentence each.
  std::vector<std::string> problems;
};

// `folder` is a card's PLAYLIST folder, its STREAM or BDMV folder or one of those above (a card's
// root), or a folder of MOD and TOD files; names in capitals or small letters. Fails when there is
// no such folder.
Outcome<ClipTimes> clipTimes(std::string_view folder);

// Whether the clip lies on a card with playlists: in a folder beside theirs.
bool isOnCard(const std::string& clip);
// What such a card says about one clip; reads no more of the card than that takes.
std::optional<RecordingTime> timeOfCardClip(const std::string& clip);

// The clips that the card's playlists name, by their names; of each the name of the clip whose
// recording it continues, "" for none. Empty for a folder of clips that lies on no card.
std::map<std::string, std::string> continuationsOnCard(const std::string& clipFolder);

// What the file says that the camera put beside the clip: the MOI of a MOD or TOD, the "…M01.XML"
// of XDCAM and XAVC, the XML of a P2 card.
std::optional<RecordingTime> timeBesideClip(const std::string& clip);

// What such an XML says besides; "": nothing.
struct SideFacts {
  std::string timeCode;  // of the first picture: "10:00:00:00"
  std::string make;      // of the camera
  std::string model;
  std::string place;  // ISO 6709
  std::string title;  // that the user gave the clip
};
SideFacts factsBesideClip(const std::string& clip);

}  // namespace tessarin
