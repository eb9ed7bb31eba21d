#include "updates/updateFolders.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>

#include "classShared/TextAdditions.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "prefs/utilsAlert.h"
#include "utils/PrivateFolder.h"
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
  std::string folder = PrivateFolder::newPath(parent, workFolderStart);
  if (!makeOwnFolder(folder))
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
    const int error = renameTo(content, path, true);
    if (error == 0)
      return path;
    if (error != EEXIST && error != ENOTEMPTY && error != ENOTDIR)
      return notWritten(path, error);
  }
  return notWritten(joinPath(parent, name), EEXIST);
}

}  // namespace tessarin
