// The index of a movie that several were joined to.
#pragma once

#include <vector>

#include "tools/joinclips/TrackJoiner.h"
#include "tools/joinclips/movieJoint.h"

namespace tessarin::joining {

// What the first movie says, with the tables of the joined tracks, of which there is one for each
// of its tracks of pictures and sound, in order; and where their samples come from.
JoinedMovie withJoinedTables(const MovieTables& first, const std::vector<TrackJoiner>& tracks);

}  // namespace tessarin::joining
