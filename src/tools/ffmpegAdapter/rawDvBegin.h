// Where the first frame of a file of raw DV begins.
#pragma once

#include <cstdint>
#include <string>

namespace tessarin {

// Bytes before it, of a file that is called like one of raw DV (".dv", ".dif"), where the first
// frame is damaged or something else stands before it: ffmpeg would take zeros there for a frame of
// 525 lines, and read the rest as such. 0 for others, and where there is none within 256 MB.
std::uint64_t rawDvBegin(const std::string& path);

}  // namespace tessarin
