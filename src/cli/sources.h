// From the arguments to the list of sources.
#pragma once

#include <string>
#include <vector>

namespace tessarin::cli {

struct Problem {
  std::string path;    // as the user wrote it
  std::string reason;  // in the user's language
};

struct SourceList {
  std::vector<std::string> paths;  // absolute, each once, in the order of the arguments
  std::vector<Problem> problems;   // arguments that give no source
};

// The path from the root, without "." and ".."; links are not followed.
std::string absolutePath(const std::string& path);

// Folders become the movie files below them, sorted by path. A file that the user names has to be
// an admitted movie file that can be read and is not empty. `moviesFolder` is where the run writes
// to: what earlier runs wrote there counts only when the folder itself, or a file in it, is named.
SourceList sourcesOf(const std::vector<std::string>& arguments, const std::string& moviesFolder);

}  // namespace tessarin::cli
