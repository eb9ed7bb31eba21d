// What a movie tells of its recording: when, where and with what it was made, and the time code of
// its first picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "movie/indexRewriting.h"

namespace tessarin {

// Empty or absent: unknown, and the movie is left to say what it does.
struct MovieFacts {
  std::optional<std::uint64_t> made;  // seconds since the beginning of 1904, UTC, 32 bits
  std::string date;                   // the same by the camera's clock: "2010-12-24T14:05:33+0100"
  std::string make;                   // of the camera
  std::string model;
  std::string place;     // ISO 6709: "+48.1371+011.5754/"
  std::string timeCode;  // as isTimeCode() has it
  // Pictures a second that it counts; 0: those of the movie.
  double timeCodeRate = 0;
  std::string timeOfDay;  // "14:05:33", which takes the place of a time code where there is none

  bool operator==(const MovieFacts&) const = default;
};

// Has the movie tell them: the time in the headers of the movie and of its tracks, the texts as
// user data and as keyed metadata, the time code in a track of its own, which takes the place of
// others. A movie whose index is not as usual stays as it is. True when the movie was changed.
Outcome<bool> tellFacts(const std::string& path, const MovieFacts& facts);

// The change of the index alone; nothing when there is nothing to change.
std::optional<IndexChange> indexWithFacts(const MovieBytes& movie, const MovieFacts& facts);

}  // namespace tessarin
