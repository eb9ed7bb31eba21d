// The system's calls as the file helpers share them; not for other rooms.
#pragma once

#include <sys/stat.h>

#include <string>

namespace tessarin {

// Whether an expanded path still begins with "~/" because nobody knows the home folder. Writing
// there would make a folder called "~" wherever the program happens to stand.
bool lacksHome(const std::string& path);

// Whether there is an entry at the path, and what it is: of a link, the link itself.
bool isThere(const std::string& path, struct stat& status);

// A hidden name in the folder of the path, short enough for every file system.
std::string temporaryNameBeside(const std::string& path);

}  // namespace tessarin
