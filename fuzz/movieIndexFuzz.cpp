// Movies: their indexes and those of AVI files, what they show first, where the pictures of others
// are, and whether another one follows in the same file.
#include "Input.h"
#include "movie/aviIndex.h"
#include "movie/clusterTimes.h"
#include "movie/emptyEnds.h"
#include "movie/followingMovie.h"
#include "movie/fragments.h"
#include "movie/matroskaBlocks.h"
#include "movie/movieCheck.h"
#include "movie/movieFacts.h"
#include "movie/movieIndex.h"
#include "movie/movieStart.h"
#include "tools/joinclips/movieJoint.h"

using namespace tessarin;

namespace {

// As if it were the parts of a recording, which all say the same.
void joinWithItself(const std::string& path) {
  const auto tables = joining::readMovieTables(path);
  if (!tables || !joining::mayFollow(*tables, *tables))
    return;
  const auto joined = joining::joinedMovie({*tables, *tables, *tables});
  if (!joined)
    return;
  for (const joining::MoviePiece& piece : joined->pieces)
    fuzz::require(piece.file == joining::MoviePiece::noFile ||
                  (piece.file < 3 && piece.bytes <= tables->bytes &&
                   piece.position <= tables->bytes - piece.bytes));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  const fuzz::InputFolder folder;
  const std::string path = folder.add("clip.mov", bytes);
  anotherMovieFollows(path);
  lostSoundChunks(path, aviStreams(path));
  for (const char* container : {"mov", "matroska", "mpegts", "mpeg"}) {
    const double empty = emptyEnds(path, container);
    fuzz::require(empty >= 0 && empty < 1);
  }
  const auto times = clusterTimes(path);
  fuzz::require(!times || times->misplaced >= 0);
  fuzz::require(fragmentPictures(path).pictures.size() <= bytes.size());
  fuzz::require(matroskaPictures(path).pictures.size() <= bytes.size());
  const auto movie = readMovieIndex(path);
  if (movie) {
    for (const MovieTrack& track : movie->tracks)
      fuzz::require(track.shown <= track.samples && track.seconds >= 0);
    for (const MovieTrack* sound : movie->sounds())
      fuzz::require(sound != movie->pictures() && sound->samples > 0);
    judgeMovie(movie.value(), {1, 2, 3, {{1, 2}}});
  } else {
    fuzz::require(!movie.reason().empty());
  }
  // An index that was written anew can be read as before.
  const auto shown = showFirstPictures(path);
  if (shown && shown.value())
    fuzz::require(!movie || readMovieIndex(path).ok());
  const MovieFacts facts = {3376044333,
                            "2010-12-24T14:05:33+0100",
                            "Sony",
                            "A1",
                            "+48.1371+011.5754/",
                            "10:11:12;13",
                            29.97,
                            "14:05:33"};
  const auto told = tellFacts(path, facts);
  if (told && told.value())
    fuzz::require(!movie || readMovieIndex(path).ok());
  joinWithItself(path);
  // The content of an index without what stands around it.
  indexWithFirstPictures(std::string(bytes), [&](std::uint64_t position) {
    return std::string(bytes.substr(std::min<std::uint64_t>(position, bytes.size()), 4096));
  });
  return 0;
}
