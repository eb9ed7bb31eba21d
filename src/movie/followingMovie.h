// Whether one file holds several movies.
#pragma once

#include <string>

namespace tessarin {

// Whether another movie begins behind the first one, as where files were put behind each other:
// programs show the first and say nothing of the rest. Of Matroska (EBML, RFC 8794), MXF (SMPTE ST
// 377-1) and QuickTime's family (ISO 14496-12), by the lengths that the first one tells, where the
// other one may be of another format behind the last; and of a program stream with a transport
// stream at its end. False for others, and where it cannot be seen.
bool anotherMovieFollows(const std::string& path);

}  // namespace tessarin
