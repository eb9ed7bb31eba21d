// The small copies of recordings that cameras keep on their cards.
#pragma once

#include <string>
#include <vector>

namespace tessarin {

// Takes out of the files of a folder that was searched what is such a copy of another one of them,
// by the names of files and folders. A copy whose recording is not there stays.
void leaveOutProxies(std::vector<std::string>& files);

}  // namespace tessarin
