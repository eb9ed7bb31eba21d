// Changing the index of a movie that is finished.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "classShared/Outcome.h"

namespace tessarin {

struct MovieBytes {
  std::string index;                                  // the content of "moov"
  std::function<std::string(std::uint64_t)> bytesAt;  // some kilobytes from this place on
  std::uint64_t furtherSamplesAt = 0;                 // where those of the change come to stand
};

struct IndexChange {
  std::string index;                // the new content of "moov"
  std::string furtherSamples = {};  // put behind the movie
};

// Nothing where there is nothing to change.
using ChangeIndex = std::function<std::optional<IndexChange>(const MovieBytes& movie)>;

// Puts another index into the movie. It stays before the samples, where players that load a movie
// look first, if there is room or the file system can make some; else it goes behind them, and
// counts from when the old one does not. The samples themselves are never written. False when there
// is nothing to change, or the movie is none that can be. Fails when it cannot be read or written;
// for lack of room it stays what it was.
Outcome<bool> rewriteIndex(const std::string& path, const ChangeIndex& change);

}  // namespace tessarin
