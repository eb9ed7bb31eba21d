// MPEG program streams (MOD, VOB, MPG): what tells whether one goes on in another.
#pragma once

#include <string>

#include "classShared/Outcome.h"
#include "tools/joinclips/spannedParts.h"

namespace tessarin::joining {

// By its beginning and its end. Fails for a file that is no MPEG-2 program stream, or does not
// tell.
Outcome<ClipFacts> programFacts(const std::string& path);

// Whether the clock of the second begins later than that of the first, by their first bytes: clips
// of their own mostly begin with the same one.
bool beginsLater(const std::string& path, const std::string& next);

}  // namespace tessarin::joining
