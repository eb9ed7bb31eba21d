#include "updates/updateFolders.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view workFolderStart = ".update-";
constexpr int mostNumbers = 100;

Failure notWritten(const std::string& path, int error) {
  return {localisationString("why_updateWrite", "", path, systemReason(error))};
}

void removeLeftWorkFolders(const std::string& parent) {
  for (const std::string& path : lsCocoa(parent).value_or(std::vector<std::string>()))
    if (startsWith(fileName(path), workFolderStart))
      removeUpdateWorkFolder(path);
}

}  // namespace

std::string userUpdatesFolder() {
  return joinPath(userFolder(UserFolder::data), "updates");
}

Outcome<std::string> makeUpdateWorkFolder(const std::string& parent) {
  if (!mkdir(parent))
    return notWritten(parent, errno);
  removeLeftWorkFolders(parent);
  std::string folder = joinPath(parent, std::string(workFolderStart) + "XXXXXX");
  if (::mkdtemp(folder.data()) == nullptr)
    return notWritten(parent, errno);
  return folder;
}

void removeUpdateWorkFolder(const std::string& folder) {
  std::error_code ignored;
  if (startsWith(fileName(folder), workFolderStart))
    std::filesystem::remove_all(folder, ignored);
}

Outcome<std::string> keepUpdate(const std::string& content, const std::string& parent,
                                const std::string& name) {
  for (int number = 1; number <= mostNumbers; ++number) {
    std::string path = joinPath(parent, number == 1 ? name : fmt::format("{}-{}", name, number));
    // Fails when there is a file or a folder with something in it.
    if (::rename(content.c_str(), path.c_str()) == 0)
      return path;
    if (errno != EEXIST && errno != ENOTEMPTY && errno != ENOTDIR)
      return notWritten(path, errno);
  }
  return notWritten(joinPath(parent, name), EEXIST);
}

}  // namespace tessarin
