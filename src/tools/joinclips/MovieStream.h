// Writes movies that are parts of one recording as one.
#pragma once

#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::joining {

// Whether the file is of QuickTime's family, by its first bytes.
bool isMovie(const std::string& path);

// To standard output, index first, so that it can be read from a pipe; with `isList`, everything is
// read, and a line for each file tells how long its pictures are.
Outcome<bool> joinMovies(const std::vector<std::string>& files, bool isList);

}  // namespace tessarin::joining
