// What the user has to be told of a source that is converted all the same.
#pragma once

#include <string>
#include <vector>

#include "analysis/Source.h"

namespace tessarin {

// The source's remarks as sentences in the user's language, without full stops.
std::vector<std::string> remarkTexts(const Source& source);

}  // namespace tessarin
