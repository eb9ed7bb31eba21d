// What the installed ffmpeg says of itself: its version and its codecs.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// The text of "ffmpeg -codecs" with its banner; "" when ffmpeg cannot be run. ffmpeg is asked,
// blocking, only when its file is another one than at the last time: the answer is kept in
// $XDG_CACHE_HOME/Tessarin (~/.cache/Tessarin), as every start of the program needs it. Later
// calls answer from memory.
const std::string& codecListing();

// The version in a listing, "5.1.6-0+deb12u1"; "" when it says none.
std::string versionOfListing(std::string_view listing);

}  // namespace tessarin
