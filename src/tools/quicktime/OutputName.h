// Names for files that are not complete yet.
#pragma once

#include <string>

#include "classShared/Outcome.h"

namespace tessarin::quicktime {

// The file that an output of this name really is: where a link points to. A failure when
// something is there that is no file.
Outcome<std::string> replaceableTarget(const std::string& target);

// Gives a complete file its name. With `replace` an existing one goes at once and as a whole,
// without it an existing one is a failure (errno EEXIST). False when it fails, with errno.
bool giveName(const std::string& temporary, const std::string& target, bool replace);

}  // namespace tessarin::quicktime
