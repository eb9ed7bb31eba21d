// What filters do to the times of a conversion: they keep one damaged time of a picture from
// filling a movie with repeated ones, and let a movie begin with its first picture.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

// A filter for the beginning of a chain. Where the times of pictures leap, whatever gives the movie
// its steady rate repeats a picture up to there, and one wrong time of a stream may lie a day
// ahead. So a picture that lies beyond the source, which lasts so many seconds, and leaps to there,
// comes right behind the one before instead, as do those that follow it, until one has a time that
// fits again. Holes within the source stay. Where its length is not known only leaps of an hour
// count.
std::string timeBound(std::optional<double> seconds);

// For "setpts" and "asetpts": the times less so many seconds, a number or a fraction, in whole
// steps. ffmpeg knows round() from version 4.0 on.
std::string earlierBy(std::string_view seconds);

}  // namespace tessarin
