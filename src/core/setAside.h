// What is left of a failed or interrupted job.
#pragma once

#include <string>

namespace tessarin {

// Moves the file to a free name that says what it is: "NAME-failure.EXT", after the movie `output`
// that it was to become, with a number when that is taken. The result is that name; "" when there
// is no such file or it cannot be moved.
std::string setAsideFailure(const std::string& file, const std::string& output);

}  // namespace tessarin
