#include "jobs/movieLook.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "jobs/outputPlace.h"
#include "movie/aviIndex.h"
#include "movie/emptyEnds.h"
#include "movie/followingMovie.h"
#include "movie/movieStart.h"
#include "utils/files.h"

namespace tessarin {

namespace {

bool hasLostSamples(const Source& source) {
  if (!startsWith(source.container, "mov"))
    return false;
  const auto index = readMovieIndex(source.path);
  if (!index || index->isFragmented)
    return false;
  return std::any_of(index->tracks.begin(), index->tracks.end(),
                     [](const MovieTrack& track) { return track.missing > 0; });
}

// By its main header (AVIMAINHEADER): microseconds of a picture and pictures. Programs that fill in
// a wrong size are not so rare, so that it alone proves nothing.
std::optional<double> promiseOfCutAvi(const std::string& source) {
  constexpr std::size_t start = 52;
  const std::string bytes = readFileStart(source, start).value_or("");
  if (bytes.size() < start || !startsWith(bytes, "RIFF") || bytes.substr(24, 4) != "avih")
    return std::nullopt;
  const auto number = [&bytes](std::size_t place) {
    std::uint32_t value = 0;
    for (std::size_t byte = 4; byte-- > 0;)
      value = value << 8 | static_cast<std::uint8_t>(bytes[place + byte]);
    return value;
  };
  const std::uint32_t size = number(4);
  if (size == 0xFFFFFFFF || poidsFile(source, "o") + 1 >= static_cast<double>(size) + 8)
    return std::nullopt;
  return 1e-6 * number(32) * number(48);
}

}  // namespace

MovieLook lookAtMovie(const LookedAt& what) {
  MovieLook look;
  look.mayHoldMovie = mayHoldMovie(what.movie);
  if (!look.mayHoldMovie)
    return look;
  if (what.isCopy)
    look.written = showFirstPictures(what.movie);
  if (look.written)
    look.written = tellFacts(what.movie, what.facts);
  if (!look.written)
    return look;
  look.index = readMovieIndex(what.movie);
  look.hasSourceChanged = haveChanged(what.files);
  if (!look.index || look.hasSourceChanged)
    return look;
  const std::string& path = what.source.path;
  look.lacksSamples = hasLostSamples(what.source);
  look.promise = promiseOfCutAvi(path);
  const std::vector<AviStream> indexed = aviStreams(path);
  look.promisedPictures = aviPictures(indexed);
  if (indexed.empty() && firstContainer(what.source) == "avi")
    if (const std::uint64_t expected = aviPicturesInOrder(path).expected; expected > 0)
      look.promisedPictures = expected;
  look.lostSoundChunks = lostSoundChunks(path, indexed);
  if (what.source.furtherParts.empty())
    look.emptyEnds = emptyEnds(path, firstContainer(what.source));
  look.hasFurtherMovie = anotherMovieFollows(path);
  return look;
}

bool haveChanged(const std::vector<ClipFile>& files) {
  return std::any_of(files.begin(), files.end(), [](const ClipFile& file) {
    const auto now = sourceState(file.path);
    return now && now != file.state;
  });
}

}  // namespace tessarin
