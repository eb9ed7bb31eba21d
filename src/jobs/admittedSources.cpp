#include "jobs/admittedSources.h"

#include <filesystem>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "jobs/proxies.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

AdmittedExtensions::AdmittedExtensions() {
  const Value* types = Bundle::main().objectForInfoDictionaryKey("CFBundleDocumentTypes");
  if (!types || !types->list() || types->list()->empty() || !types->list()->front().dico())
    return;
  const List* extensions = types->list()->front().dico()->list("CFBundleTypeExtensions");
  if (!extensions)
    return;
  for (const Value& value : *extensions) {
    const std::string extension = value.text().value_or("");
    const std::string small = lowerCase(extension);
    if (small.empty() || small == "eyetv" || small == "imovieproject")
      continue;
    spellings_.insert({extension, small, upperCase(extension), capitalised(extension)});
    ++count_;
  }
}

bool AdmittedExtensions::admits(const std::string& path) const {
  return spellings_.count(pathExtension(path)) > 0 && !startsWith(fileName(path), "._");
}

std::optional<std::string> problemOfSource(const std::string& source) {
  const std::string path = fileOfSource(source);
  std::error_code failed;
  const std::filesystem::file_status status = std::filesystem::status(path, failed);
  if (!std::filesystem::exists(status))
    return localisationString(std::filesystem::is_symlink(path, failed) ? "why_deadLink"
                                                                        : "why_missing");
  if (!std::filesystem::is_regular_file(status))
    return localisationString("why_noFile");
  if (!mayRead(path))
    return localisationString("why_permission");
  if (const auto state = sourceState(source); state && state->size == 0)
    return localisationString("why_empty");
  return std::nullopt;
}

std::vector<std::string> sourcesBelow(const std::string& folder, const std::string& moviesFolder) {
  namespace fs = std::filesystem;
  std::vector<std::string> files = filesBelow(folder);
  leaveOutProxies(files);
  std::error_code failed;
  const fs::path inside =
      fs::weakly_canonical(moviesFolder, failed)
          .lexically_relative(fs::weakly_canonical(folder.empty() ? "." : folder, failed));
  if (failed || inside.empty() || inside == "." || *inside.begin() == "..")
    return files;
  const std::string movies = joinPath(folder, inside.string()) + "/";
  std::erase_if(files, [&](const std::string& file) { return startsWith(file, movies); });
  return files;
}

std::vector<std::string> expandDroppedPaths(std::vector<std::string> paths,
                                            const std::string& moviesFolder) {
  if (!isDirectory(paths.front())) {
    debugFormat("actual str          : {}", paths.front());
    paths.front() = resolveAlias(paths.front());
    debugFormat("new    str          : {}", paths.front());
  }
  if (isDirectory(paths.front()))
    return sourcesBelow(paths.front(), moviesFolder);
  return paths;
}

std::vector<std::string> expandAllPaths(const std::vector<std::string>& paths,
                                        const std::string& moviesFolder) {
  std::vector<std::string> all;
  std::unordered_set<std::string> known;
  for (const std::string& path : paths) {
    // As alone, a link is followed where it is the first; others give the movies their names.
    const bool isPlain = &path != &paths.front() && !isDirectory(path);
    for (const std::string& source :
         isPlain ? std::vector{path} : expandDroppedPaths({path}, moviesFolder))
      if (known.insert(source).second)
        all.push_back(source);
  }
  return all;
}

}  // namespace tessarin
