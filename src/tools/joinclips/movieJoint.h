// Movies that are parts of one recording, put behind each other. Pure functions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/joinclips/MovieTables.h"

namespace tessarin::joining {

// Bytes of one of the files; of none: so many of this value.
struct MoviePiece {
  static constexpr std::size_t noFile = ~std::size_t{0};
  std::size_t file = noFile;
  std::uint64_t position = 0;
  std::uint64_t bytes = 0;
  char filling = 0;
};

struct JoinedMovie {
  std::string head;                // of the stream, up to its samples
  std::vector<MoviePiece> pieces;  // which they consist of
};

// Whether the tracks of the second are made as those of the first, in the same order, and all
// pictures of both are shown where they meet.
bool mayFollow(const MovieTables& first, const MovieTables& next);

// All pictures of each movie come at once behind those of the one before. Its sound goes on where
// that of the one before ends if that puts it off its pictures by no more than one of them, or one
// of its packets: the camera cut it between two packets. Else it gets a pause, or loses packets at
// the joint, so that it is in step. Tracks of other kinds are left without samples.
Outcome<JoinedMovie> joinedMovie(std::vector<MovieTables> movies);

}  // namespace tessarin::joining
