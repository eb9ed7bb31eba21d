// The times at which the pieces of a Matroska file are to be shown.
#pragma once

#include <string>

#include "classShared/Outcome.h"

namespace tessarin {

struct ClusterTimes {
  double seconds = 0;    // from the first cluster to the latest one
  double misplaced = 0;  // of them, those of pictures in clusters that are out of their places
};

// All clusters are looked for, so that much of a large file may have to be read. Of another file,
// and of one with clusters that do not tell their lengths, what is known up to there.
Outcome<ClusterTimes> clusterTimes(const std::string& path);

}  // namespace tessarin
