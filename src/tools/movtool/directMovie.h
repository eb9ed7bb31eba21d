// A ProRes movie that ffmpeg was asked for, made with our encoder.
#pragma once

#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::movtool {

// `arguments`: an ffmpeg command line without the program, a proresCommand(). What ffmpeg says of
// the pictures, its progress too, goes to standard error at once, and the output grows under its
// name, as it would without us. A sentence for the user when not all went well.
Outcome<bool> makeDirectMovie(const std::vector<std::string>& arguments);

}  // namespace tessarin::movtool
