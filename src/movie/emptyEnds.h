// Whether the ends of a stream's file are empty.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// What share of a file, from its beginning on and up to its end, holds nothing of the stream that
// it should hold: zeros, or in a transport stream ("mpegts", ISO/IEC 13818-1; the others are
// program streams, "mpeg") no packets for 32 KiB, as where a card was damaged or a copy broke off.
// Programs pass over that without a word, and what is left says nothing of its length. Looks at 256
// places; 0 for other containers, where nothing is missing, where everything is, and where the file
// cannot be read.
double emptyEnds(const std::string& path, std::string_view container);

}  // namespace tessarin
