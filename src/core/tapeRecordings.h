// Tapes that were captured as one file each: their recordings become sources of their own, sections
// of the file (fileSection.h).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/TextAdditions.h"

namespace tessarin {

struct TapeRecordings {
  // By the path of the file: the paths of its recordings, in order; only of several.
  std::map<std::string, std::vector<std::string>> recordings;
  // Those recordings, or whole tapes, that may hold more.
  std::vector<std::string> unclear;
};

// The command that looks for recordings in these files; empty when none of them may be a tape.
Arguments recordingSearch(const std::vector<std::string>& paths);
// How far it is by its output so far: the tape that it reads, and the fraction of that.
struct TapeSearchStand {
  std::string tape;
  double fraction = 0;
};
std::optional<TapeSearchStand> standOfSearch(const Arguments& search, std::string_view output);
// What it has found; `search` is the command.
TapeRecordings foundRecordings(const Arguments& search, std::string_view output);
// Puts the recordings in the places of the tapes.
void splitTapes(std::vector<std::string>& paths, const TapeRecordings& found);

}  // namespace tessarin
