// The place of a movie while it is written: held against other runs, with the movie that it is to
// replace kept beside it until the new one is whole.
#pragma once

#include <string>

namespace tessarin {

// Where the movie that is to be replaced waits: hidden, in the same folder.
std::string replacedName(const std::string& output);

enum class Place {
  taken,        // an empty file holds it; what was there waits at replacedName
  occupied,     // something came there that was not to be replaced
  unreachable,  // the folder does not let it be made or renamed
};
// `replace`: whether what is at the place has to make room, a link rather than what it points to.
Place takePlace(const std::string& output, bool replace);

// Gives the place back to the movie that was to be replaced, unless something else is there.
void giveBackPlace(const std::string& output);

// Removes the movie that was replaced.
void dropReplaced(const std::string& output);

}  // namespace tessarin
