// Looks for files that are parts of one recording.
#pragma once

#include <string>
#include <vector>

namespace tessarin::joining {

// Prints a line for each recording of several files, and for each file of which it is doubtful, as
// main.cpp says. Only files that may be such parts are read.
void tellParts(const std::vector<std::string>& files);

}  // namespace tessarin::joining
