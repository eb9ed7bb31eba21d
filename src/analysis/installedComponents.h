// The media components of this installation.
#pragma once

#include <string_view>
#include <vector>

#include "analysis/QTCompDesc.h"

namespace tessarin {

// The components behind `codecsListing`, the text that "ffmpeg -codecs" prints, in the order of
// the table in the source. ProRes and Apple Intermediate Codec count only where they can be
// written, for that is what is asked of them. `hasMovtool`: the tool that writes Apple
// Intermediate Codec is there.
std::vector<QTCompDesc> componentsOf(std::string_view codecsListing, bool hasMovtool);

// The components of this installation: those of the ffmpeg in the tools folder, and of movtool
// beside it. From the codecListing at the first call, for which ffmpeg is asked, blocking, when
// nobody has done so before; later calls answer from memory.
const std::vector<QTCompDesc>& componentList();

}  // namespace tessarin
