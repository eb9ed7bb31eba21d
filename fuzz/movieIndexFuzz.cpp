// Indexes of movies.
#include <cstdint>

#include "InputFile.h"
#include "movie/movieIndex.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tessarin::fuzz::InputFile file(data, size);
  const auto movie = tessarin::readMovieIndex(file.descriptor());
  if (!movie)
    return movie.reason().empty() ? (__builtin_trap(), 0) : 0;
  for (const tessarin::MovieTrack& track : movie->tracks)
    if (track.shown > track.samples || track.seconds < 0)
      __builtin_trap();
  return 0;
}
