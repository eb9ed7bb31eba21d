// Where this build and the tests' data lie. The paths are compiled in one source only, so that a
// compiler cache serves the others in every checkout.
#pragma once

#include <string>

namespace tessarin::test {

// The path of a file below the build's folder.
std::string builtFile(const std::string& name);
// Variables before a command, which load a library of this folder's "preloads" into it. The name
// alone is given, as LD_PRELOAD takes a blank in a path for its end.
std::string preloading(const std::string& name);
// The path of a file below tests/data.
std::string testDataFile(const std::string& name);

}  // namespace tessarin::test
