#include "process/toolEnvironment.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "platform/SystemFacts.h"
#include "platform/fileFacts.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::optional<std::string>& chosenFolder() {
  static std::optional<std::string> folder;
  return folder;
}

// The folder as tools and fonts of an application are laid out.
constexpr const char* resourcesInFolder = "app.app/Contents/Resources";

Failure failure(const std::string& path, int error) {
  return Failure{"'" + path + "': " + systemReason(error)};
}

// A folder that is ours alone.
Outcome<void> makePrivateFolder(const std::string& path) {
  if (makeOwnFolder(path))
    return {};
  if (errno != EEXIST)
    return failure(path, errno);
  const auto facts = fileFacts(path, Links::themselves);
  if (!facts)
    return failure(path, errno);
  if (facts->kind != FileFacts::Kind::folder)
    return failure(path, ENOTDIR);
  if (!facts->isOwn)
    return failure(path, EPERM);
  std::error_code error;
  std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
  return error ? Outcome<void>(failure(path, error.value())) : Outcome<void>();
}

Outcome<void> makeLink(const std::string& target, const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_symlink(path, error)) {
    if (std::filesystem::read_symlink(path, error) == target)
      return {};
    std::filesystem::remove(path, error);
  }
  std::filesystem::create_symlink(target, path, error);
  return error ? Outcome<void>(failure(path, error.value())) : Outcome<void>();
}

}  // namespace

std::string workFolderPath() {
  return chosenFolder().value_or("/private/tmp/" + Bundle::main().name());
}

void setWorkFolderPath(std::optional<std::string> path) {
  chosenFolder() = std::move(path);
}

std::string workToolsFolder() {
  return joinPath(joinPath(workFolderPath(), resourcesInFolder), "tools");
}

Outcome<void> prepareWorkFolder(const Bundle& bundle) {
  const std::string folder = workFolderPath();
  std::error_code error;
  std::filesystem::create_directories(parentFolder(folder), error);
  std::string path = folder;
  for (const char* below : {"", "app.app", "Contents", "Resources"}) {
    path = joinPath(path, below);
    TESSARIN_TRY(makePrivateFolder(path));
  }
  for (const char* name : {"tools", "fonts"})
    TESSARIN_TRY(makeLink(joinPath(bundle.resourcePath(), name), joinPath(path, name)));
  return {};
}

std::vector<std::string> toolEnvironment() {
  const std::string support = expandTilde("~/Library/Application Support/" + Bundle::main().name());
  std::vector<std::pair<std::string, std::string>> own{{"LC_CTYPE=", "en_US.UTF-8"}};
  // Sent to what is not there, a tool complains instead of taking the system's.
  for (const auto& [name, path] : std::initializer_list<std::pair<std::string, std::string>>{
           {"FONTCONFIG_FILE=", joinPath(support, "fonts.conf")},
           {"FONTCONFIG_PATH=", joinPath(workFolderPath(), resourcesInFolder) + "/fonts"}})
    if (pathExists(path))
      own.emplace_back(name, path);
  std::vector<std::string> environment;
  for (const std::string& entry : processEnvironment()) {
    bool replaced = false;
    for (const auto& [name, value] : own)
      replaced = replaced || startsWith(entry, name);
    if (!replaced)
      environment.push_back(entry);
  }
  for (const auto& [name, value] : own)
    environment.push_back(name + value);
  return environment;
}

}  // namespace tessarin
