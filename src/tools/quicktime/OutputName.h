// Names for files that are not complete yet.
#pragma once

#include <string>

#include "classShared/Outcome.h"

namespace tessarin::quicktime {

// The file that an output of this name really is: where a link points to. A failure when
// something is there that is no file.
Outcome<std::string> replaceableTarget(const std::string& target);

}  // namespace tessarin::quicktime
