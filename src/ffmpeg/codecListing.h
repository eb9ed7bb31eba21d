// What the installed ffmpeg says of itself: its version and its codecs.
#pragma once

#include <string>
#include <string_view>

#include "classShared/TextAdditions.h"

namespace tessarin {

// The text of "ffmpeg -codecs" with its banner, once it is known; "" before.
const std::string& codecListing();

// Looks whether an earlier start has kept the listing of the same ffmpeg (the same file, unchanged)
// in $XDG_CACHE_HOME/Tessarin (~/.cache/Tessarin). True when the listing is known now.
bool recallCodecListing();
// Else ffmpeg has to be asked, and its answer taken: what it prints on standard output and standard
// error. False when that is no listing of an ffmpeg; then nothing is known.
Arguments codecListingCommand();
bool takeCodecListing(const std::string& answer);

// The version in a listing, "5.1.6-0+deb12u1"; "" when it says none.
std::string versionOfListing(std::string_view listing);

}  // namespace tessarin
