// Whether a movie that somebody else wrote was written to its end.
#pragma once

#include "classShared/Outcome.h"

namespace tessarin::quicktime {

// The atoms fill the file exactly and the movie's header is among them. A failure says what is
// wrong. The descriptor has to be open for reading; its position does not matter and stays.
Outcome<bool> checkWholeMovie(int descriptor);

}  // namespace tessarin::quicktime
