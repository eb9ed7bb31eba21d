// Files that may be parts of a recording which the camera cut.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "classShared/TextAdditions.h"

namespace tessarin {

// That one recording may have behind the first. The tools hold the files of some open at once.
inline constexpr std::size_t mostFurtherParts = 499;

// By the extension of the name.
inline bool mayBePart(std::string_view path) {
  static constexpr std::array<std::string_view, 16> kinds{
      "mts",  "m2ts", "m2t", "ts",  "tod", "mxf", "mod", "mpg",
      "mpeg", "vob",  "dv",  "dif", "mp4", "mov", "m4v", "360"};
  return std::any_of(kinds.begin(), kinds.end(),
                     [path](std::string_view kind) { return hasPathExtension(path, kind); });
}

}  // namespace tessarin
