// Whether the ends of a clip's file hold nothing that belongs to it.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// What share of a file, from its beginning on and up to its end, holds nothing of the stream that
// it should hold: zeros, or in a transport stream ("mpegts", ISO/IEC 13818-1; the others are
// program streams, "mpeg") no packets for 32 KiB, as where a card was damaged or a copy broke off.
// Programs pass over that without a word, and what is left says nothing of its length. Looks at 256
// places. Of a movie in fragments ("mov", ISO/IEC 14496-12) what lies behind the last atom that is
// whole, unless it is zeros. Of a Matroska file ("matroska") what it should have behind its end. 0
// for other containers, where nothing is missing, where everything is,
// and where the file cannot be read.
double emptyEnds(const std::string& path, std::string_view container);

}  // namespace tessarin
