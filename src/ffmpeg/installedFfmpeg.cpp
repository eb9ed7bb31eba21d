#include "ffmpeg/installedFfmpeg.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "platform/fileFacts.h"

namespace tessarin {

namespace {

bool isAdapter(const std::string& path, const std::vector<FileIdentity>& adapters) {
  const std::optional<FileIdentity> identity = fileIdentity(path);
  return identity && std::find(adapters.begin(), adapters.end(), *identity) != adapters.end();
}

std::optional<std::string> findInSearchPath(const std::string& name, std::string_view searchPath,
                                            const std::vector<FileIdentity>& adapters) {
  while (!searchPath.empty()) {
    const std::string_view folder = searchPath.substr(0, searchPath.find(':'));
    searchPath.remove_prefix(std::min(folder.size() + 1, searchPath.size()));
    if (!folder.starts_with('/'))
      continue;  // a folder that depends on where the user happens to be is no place for programs
    const std::string candidate = std::string(folder) + "/" + name;
    if (isProgram(candidate) && !isAdapter(candidate, adapters))
      return candidate;
  }
  return std::nullopt;
}

std::string environmentValue(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : otherwise;
}

Failure unusableSetting(const std::string& setting) {
  return {"The ffmpeg setting names \"" + setting +
          "\", which is no ffmpeg that can be run: correct it, or clear it and install the Debian "
          "package \"ffmpeg\"."};
}

}  // namespace

std::string noFfmpegMessage() {
  return "There is no ffmpeg on this computer: install the Debian package \"ffmpeg\" (sudo apt "
         "install ffmpeg), or name the program in the environment variable TESSARIN_FFMPEG.";
}

std::optional<FileIdentity> fileIdentity(const std::string& path) {
  const auto state = fileState(path);
  return state ? std::optional(FileIdentity{state->device, state->inode}) : std::nullopt;
}

FfmpegSearch ffmpegSearchOfEnvironment(const std::string& adapter) {
  FfmpegSearch search;
  search.setting = environmentValue(ffmpegVariable, "");
  search.searchPath = environmentValue("PATH", "/usr/local/bin:/usr/bin:/bin");
  if (const std::optional<FileIdentity> identity = fileIdentity(adapter))
    search.adapters.push_back(*identity);
  return search;
}

Outcome<std::string> findFfmpeg(const FfmpegSearch& search) {
  const std::string& setting = search.setting;
  if (setting.find('/') != std::string::npos) {
    if (!isProgram(setting) || isAdapter(setting, search.adapters))
      return unusableSetting(setting);
    return setting;
  }
  const std::string name = setting.empty() ? "ffmpeg" : setting;
  if (std::optional<std::string> found = findInSearchPath(name, search.searchPath, search.adapters))
    return *std::move(found);
  if (!setting.empty())
    return unusableSetting(setting);
  return Failure{noFfmpegMessage()};
}

}  // namespace tessarin
