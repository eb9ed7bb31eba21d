// Whether a movie is what was to come. A pure function of what was to come and of its index.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "movie/movieIndex.h"

namespace tessarin {

// The least that a movie has, and the most.
struct ExpectedMovie {
  double seconds = 0;  // of its pictures
  double mostSeconds = std::numeric_limits<double>::infinity();
  std::uint64_t pictures = 0;  // that are shown
  struct Sound {
    double seconds = 0;
    double mostSeconds = std::numeric_limits<double>::infinity();
  };
  std::vector<Sound> sounds;  // in order
};

struct MovieVerdict {
  enum class Fault {
    none,
    noPictures,
    incomplete,  // samples, or the end of the file, are missing
    tooShort,    // seconds of pictures
    tooLong,
    tooFewPictures,
    noSound,
    soundTooShort,  // seconds
    soundTooLong,
  };
  Fault fault = Fault::none;
  // What there is and what there should be, in the fault's unit.
  double is = 0;
  double should = 0;

  bool isRight() const { return fault == Fault::none; }
};

MovieVerdict judgeMovie(const MovieIndex& movie, const ExpectedMovie& expected);

}  // namespace tessarin
