// A text file with a list of clips, as programs of any age write it.
#pragma once

#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::cli {

// The lines that are not empty, each the path of a file or a folder. The text is UTF-8, or UTF-16
// with a byte order mark, or else Western of Windows; where a line of that is the name of something
// as its bytes stand, those are meant. Fails with the reason, in the user's language.
Outcome<std::vector<std::string>> readClipList(const std::string& path);

}  // namespace tessarin::cli
