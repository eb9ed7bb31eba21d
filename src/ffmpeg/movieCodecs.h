// Which codecs ffmpeg can copy into a QuickTime movie.
#pragma once

#include <optional>
#include <string_view>

namespace tessarin {

// `codec` as ffmpeg calls it, `wrapper` the names of the source's format ("mov,mp4,m4a,…"). True:
// every picture is in the movie and comes out as it was. False: ffmpeg refuses, or the movie is not
// whole. Nothing when it has not been tried.
//
// Measured with 3.1, a build of 2018, 5.1 and 7.0: pictures were encoded by each encoder of 5.1,
// copied from NUT, Matroska, AVI, ASF, transport and program streams and MXF, and decoded again.
// What one of them cannot do counts as impossible.
std::optional<bool> movieHolds(std::string_view codec, std::string_view wrapper);

}  // namespace tessarin
