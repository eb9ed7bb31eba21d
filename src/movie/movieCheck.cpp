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
  if (expected.soundSeconds <= 0)
    return {};
  const MovieTrack* sound = movie.sound();
  if (sound == nullptr || sound->samples == 0)
    return {Fault::noSound};
  if (sound->seconds < expected.soundSeconds)
    return {Fault::soundTooShort, sound->seconds, expected.soundSeconds};
  if (sound->seconds > expected.mostSoundSeconds)
    return {Fault::soundTooLong, sound->seconds, expected.mostSoundSeconds};
  return {};
}

}  // namespace tessarin
