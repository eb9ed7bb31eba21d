// What a movie is to tell of the recording of its source.
#pragma once

#include "analysis/Source.h"
#include "movie/movieFacts.h"

namespace tessarin {

// The moment in UTC is by the zone that the source tells, else by that of this machine; a header's
// stands as it is. The date of a file is no recording's: it goes into the headers alone, by which
// movies are sorted, and gives no time code.
MovieFacts toldFacts(const Source& source);

}  // namespace tessarin
