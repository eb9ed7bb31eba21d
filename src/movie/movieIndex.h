// What a QuickTime or MPEG-4 movie's own index says of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin {

struct MovieTrack {
  enum class Kind { pictures, sound, other };
  Kind kind = Kind::other;
  std::string codec;          // the four letters of its samples
  std::uint64_t samples = 0;  // pictures; of sound whole moments (PCM), else packets
  // Of the samples, those whose time the edit list shows. All of them where several edits follow
  // each other.
  std::uint64_t shown = 0;
  // Of the samples, those whose data does not lie in the file, or not all of it.
  std::uint64_t missing = 0;
  double start = 0;    // seconds, when the first one is shown
  double seconds = 0;  // of all samples together, shown or not
};

struct MovieIndex {
  std::vector<MovieTrack> tracks;
  // The file ends where its last part does, and not before.
  bool isWhole = true;
  // More samples stand behind the index, in pieces of their own; the tracks do not tell of them.
  bool isFragmented = false;

  // The pictures of the movie: the track that has most of them, for covers are tracks, too. Null
  // without any.
  const MovieTrack* pictures() const;
  // The sounds that have samples, in order.
  std::vector<const MovieTrack*> sounds() const;
};

// Reads the index and follows its tables to the end, without the samples themselves. Nothing in the
// file is believed: what points out of it, does not fit into what it stands in or is not there is a
// failure, with the reason, but for samples and a last part that the file is too short for. Takes
// a small amount of memory and time for as many entries as fit into the file.
Outcome<MovieIndex> readMovieIndex(const std::string& path);
// The descriptor has to be open for reading; its position does not matter and stays.
Outcome<MovieIndex> readMovieIndex(int descriptor);

}  // namespace tessarin
