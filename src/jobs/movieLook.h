// What the disks say of a movie that the last tool has just made, and of the clip that it was made
// of.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/Source.h"
#include "classShared/Outcome.h"
#include "jobs/convertedRecord.h"
#include "movie/movieFacts.h"
#include "movie/movieIndex.h"

namespace tessarin {

// What is to be looked at.
struct LookedAt {
  std::string movie;
  bool isCopy = false;  // of the clip's pictures
  MovieFacts facts;     // which the movie is to tell
  Source source;
  std::vector<ClipFile> files;  // of the clip, as they were before
};

// The rest of it is as it was made behind the first thing that is wrong.
struct MovieLook {
  bool mayHoldMovie = false;
  Outcome<bool> written = false;  // what is to be changed in its index
  Outcome<MovieIndex> index = MovieIndex();
  bool hasSourceChanged = false;
  // Whether the source is a movie whose own index names samples that its file has not.
  bool lacksSamples = false;
  // How many seconds an AVI file promises that is shorter than it says.
  std::optional<double> promise;
  std::optional<std::uint64_t> promisedPictures;  // by the index or head of an AVI file
  std::uint64_t lostSoundChunks = 0;              // of an AVI file (aviIndex.h)
  double emptyEnds = 0;                           // share of the source's file (emptyEnds.h)
  bool hasFurtherMovie = false;                   // in the file of the source
};

// Has the movie show its first pictures and tell the facts, and then looks. Any thread.
MovieLook lookAtMovie(const LookedAt& what);

// Whether a file is another than before. One that went away cannot be asked any more: the analysis
// decides.
bool haveChanged(const std::vector<ClipFile>& files);

}  // namespace tessarin
