// Reads what is known of a file without reading all of it.
#pragma once

#include <string>

#include "classShared/Outcome.h"
#include "tools/joinclips/spannedParts.h"

namespace tessarin::joining {

// By its beginning and its end. Fails for a file that is no transport stream, or does not tell.
Outcome<ClipFacts> clipFacts(const std::string& path);

}  // namespace tessarin::joining
