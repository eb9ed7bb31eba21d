// Whether the ends of a stream's file are empty.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

// What share of a file, from its beginning on and up to its end, holds nothing of the stream that
// it should hold: no packets in a transport stream ("mpegts", ISO/IEC 13818-1), nothing but zeros
// in a program stream ("mpeg") or raw DV ("dv"), as where a card was damaged or a copy broke off.
// Programs pass over that without a word, and what is left says nothing of its length. Looks at 256
// places; 0 for other containers, where nothing is missing, where everything is, and where the file
// cannot be read.
double emptyEnds(const std::string& path, std::string_view container);

}  // namespace tessarin
