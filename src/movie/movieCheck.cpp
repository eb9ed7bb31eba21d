#include "movie/movieCheck.h"

#include <algorithm>

namespace tessarin {

MovieVerdict judgeMovie(const MovieIndex& movie, const ExpectedMovie& expected) {
  using Fault = MovieVerdict::Fault;
  const bool isIncomplete = std::any_of(movie.tracks.begin(), movie.tracks.end(),
                                        [](const MovieTrack& track) { return track.missing > 0; });
  if (!movie.isWhole || movie.isFragmented || isIncomplete)
    return {Fault::incomplete};
  const MovieTrack* pictures = movie.pictures();
  if (pictures == nullptr || pictures->shown == 0)
    return {Fault::noPictures};
  if (pictures->seconds < expected.seconds)
    return {Fault::tooShort, pictures->seconds, expected.seconds};
  if (pictures->seconds > expected.mostSeconds)
    return {Fault::tooLong, pictures->seconds, expected.mostSeconds};
  if (pictures->shown < expected.pictures)
    return {Fault::tooFewPictures, static_cast<double>(pictures->shown),
            static_cast<double>(expected.pictures)};
  const std::vector<const MovieTrack*> sounds = movie.sounds();
  for (std::size_t place = 0; place < expected.sounds.size(); ++place) {
    const auto& [least, most] = expected.sounds[place];
    if (place >= sounds.size() && least > 0)
      return {Fault::noSound};
    if (place >= sounds.size())
      break;
    const double seconds = sounds[place]->seconds;
    if (seconds < least)
      return {Fault::soundTooShort, seconds, least};
    if (seconds > most)
      return {Fault::soundTooLong, seconds, most};
  }
  return {};
}

}  // namespace tessarin
