// Files that are parts of one recording as they stand: raw DV and MPEG program streams.
#pragma once

#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::joining {

// By the first bytes.
bool isPlainlyJoined(const std::string& path);

// Their bytes behind each other, to standard output, of DV whole frames (DvMender); with `isList`,
// they are only read, and a line for each file tells where it begins.
Outcome<bool> joinPlainly(const std::vector<std::string>& files, bool isList);

}  // namespace tessarin::joining
