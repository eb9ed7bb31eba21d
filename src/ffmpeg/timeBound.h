// Keeps a damaged time of one picture from filling a movie with repeated ones.
#pragma once

#include <optional>
#include <string>

namespace tessarin {

// A filter for the beginning of a chain. Where the times of pictures leap, whatever gives the movie
// its steady rate repeats a picture up to there, and one wrong time of a stream may lie a day
// ahead. So a picture that lies beyond the source, which lasts so many seconds, and leaps to there,
// comes right behind the one before instead, as do those that follow it, until one has a time that
// fits again. Holes within the source stay. Where its length is not known only leaps of an hour
// count.
std::string timeBound(std::optional<double> seconds);

}  // namespace tessarin
