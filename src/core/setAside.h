// What is left of a failed or interrupted job.
#pragma once

#include <string>

namespace tessarin {

// Renames the file to a free name that says so: "NAME-failure.EXT", with a number when that is
// taken. An empty file is removed instead. The result is the new name; "" when nothing is left, and
// `output` itself when it cannot be renamed.
std::string setAsideFailure(const std::string& output);

}  // namespace tessarin
