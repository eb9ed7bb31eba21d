#include "cli/sources.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <unordered_set>

#include "core/admittedSources.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin::cli {

namespace {

namespace fs = std::filesystem;

// Why this file that the user names gives no source; the analysis finds the rest.
std::optional<std::string> problemOf(const std::string& path, const AdmittedExtensions& admitted) {
  if (auto problem = problemOfSource(path))
    return problem;
  if (!admitted.admits(path))
    return localisationString("why_extension");
  return std::nullopt;
}

}  // namespace

std::string absolutePath(const std::string& path) {
  std::error_code failed;
  const fs::path absolute = fs::absolute(path, failed);
  if (failed)
    return path;
  // ".." behind a link to a folder does not lead back to where the link stands: there it stays.
  fs::path plain = absolute.root_path();
  for (const fs::path& part : absolute.relative_path()) {
    if (part == "..") {
      const bool leadsBack = plain.filename() != ".." && !fs::is_symlink(plain, failed);
      plain = leadsBack ? plain.parent_path() : plain / part;
    } else if (part != ".") {
      plain /= part;
    }
  }
  return plain.string();
}

SourceList sourcesOf(const std::vector<std::string>& arguments, const std::string& moviesFolder) {
  const AdmittedExtensions admitted;
  SourceList list;
  std::unordered_set<std::string> known;
  const auto take = [&](const std::string& path) {
    if (known.insert(path).second)
      list.paths.push_back(path);
  };
  for (const std::string& argument : arguments) {
    const std::string path = absolutePath(argument);
    if (!isDirectory(path)) {
      if (auto problem = problemOf(path, admitted))
        list.problems.push_back({argument, *problem});
      else
        take(path);
      continue;
    }
    std::vector<std::string> files = sourcesBelow(path, moviesFolder);
    std::erase_if(files, [&](const std::string& file) { return !admitted.admits(file); });
    if (files.empty())
      list.problems.push_back({argument, localisationString("why_noMoviesInFolder")});
    std::sort(files.begin(), files.end());
    for (const std::string& file : files)
      take(file);
  }
  return list;
}

}  // namespace tessarin::cli
