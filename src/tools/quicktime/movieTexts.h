// The "udta" atom: what a movie says of itself in words.
#pragma once

#include <string>
#include <vector>

#include "tools/quicktime/atoms.h"

namespace tessarin::quicktime {

struct MovieText {
  std::string kind;  // four bytes: "\xA9nam" is the title
  std::string text;  // UTF-8
  bool operator==(const MovieText&) const = default;
};

// As texts of no language. Nothing is written without any.
void putMovieTexts(AtomWriter& out, const std::vector<MovieText>& texts);

}  // namespace tessarin::quicktime
