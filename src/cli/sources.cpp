#include "cli/sources.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <unordered_set>

#include "classShared/TextAdditions.h"
#include "jobs/admittedSources.h"
#include "platform/fileFacts.h"
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

// The folder and those below it that may not be looked into, sorted; what is in them is no source
// of this run. Those that hold none of the user's clips are left out: the movies of earlier runs,
// and what a file system keeps for its own repair.
std::vector<std::string> closedFolders(const std::string& folder, const std::string& moviesFolder) {
  std::vector<std::string> closed;
  const auto look = [&](const std::string& path) {
    const bool isOfClips =
        fileName(path) != "lost+found" && !startsWith(path + "/", moviesFolder + "/");
    if (isOfClips && !mayListFolder(path))
      closed.push_back(path);
  };
  look(folder);
  std::error_code failed;
  auto entry = fs::recursive_directory_iterator(
      folder, fs::directory_options::skip_permission_denied, failed);
  for (; !failed && entry != fs::end(entry); entry.increment(failed)) {
    std::error_code unknown;
    if (entry->symlink_status(unknown).type() == fs::file_type::directory)
      look(entry->path().string());
  }
  std::sort(closed.begin(), closed.end());
  return closed;
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
    const std::vector<std::string> closed = closedFolders(path, absolutePath(moviesFolder));
    for (const std::string& each : closed)
      list.problems.push_back(
          {each == path ? argument : each, localisationString("why_permission")});
    if (files.empty() && closed.empty())
      list.problems.push_back({argument, localisationString("why_noMoviesInFolder")});
    std::sort(files.begin(), files.end());
    for (const std::string& file : files)
      take(file);
  }
  return list;
}

}  // namespace tessarin::cli
