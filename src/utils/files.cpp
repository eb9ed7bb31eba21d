#include "utils/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/fileCalls.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

constexpr double megabyte = 1024.0 * 1024.0;

std::string homeFolder(const std::string& user) {
  if (const char* home = std::getenv("HOME"); user.empty() && home != nullptr && *home != '\0')
    return home;
  std::array<char, 16384> storage = {};
  passwd entry = {};
  passwd* found = nullptr;
  if (user.empty())
    ::getpwuid_r(::getuid(), &entry, storage.data(), storage.size(), &found);
  else
    ::getpwnam_r(user.c_str(), &entry, storage.data(), storage.size(), &found);
  return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

// What the path leads to; nothing when there is nothing.
std::optional<struct stat> statusOf(const std::string& path) {
  struct stat status = {};
  if (path.empty() || ::stat(path.c_str(), &status) != 0)
    return std::nullopt;
  return status;
}

// The names in the folder, in the order of the file system.
std::vector<std::string> entryNames(const std::string& folder) {
  std::vector<std::string> names;
  const auto close = [](DIR* open) { ::closedir(open); };
  const std::unique_ptr<DIR, decltype(close)> open(::opendir(folder.c_str()), close);
  if (!open)
    return names;
  while (const dirent* entry = ::readdir(open.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..")
      names.emplace_back(name);
  }
  return names;
}

void collectFiles(const std::string& folder, std::vector<std::string>& files) {
  std::vector<std::string> names = entryNames(folder);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    const std::string path = joinPath(folder, name);
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
      continue;
    if (S_ISDIR(status.st_mode))
      collectFiles(path, files);
    else if (!S_ISLNK(status.st_mode) || !isDirectory(path))
      files.push_back(path);
  }
}

// The files below the folder, in whole megabytes.
double folderMegabytes(const std::string& folder) {
  double sum = 0;
  for (const std::string& file : filesBelow(folder)) {
    struct stat status = {};
    if (::lstat(file.c_str(), &status) == 0)
      sum +=
          static_cast<double>(static_cast<float>(static_cast<double>(status.st_size) / megabyte));
  }
  debugFormat("current folder size  : {:f} Mo", sum);
  return std::trunc(sum);
}

}  // namespace

std::string expandTilde(std::string_view path) {
  if (!path.starts_with('~'))
    return std::string(path);
  const std::string_view user = textUpTo(path.substr(1), "/");
  const std::string home = homeFolder(std::string(user));
  if (home.empty())
    return std::string(path);
  return joinPath(home, path.substr(1 + user.size()));
}

std::string userFolder(UserFolder which) {
  struct Place {
    const char* variable;
    const char* usual;
  };
  static constexpr std::array<Place, 4> places = {{{"XDG_CONFIG_HOME", "~/.config"},
                                                   {"XDG_DATA_HOME", "~/.local/share"},
                                                   {"XDG_CACHE_HOME", "~/.cache"},
                                                   {"XDG_STATE_HOME", "~/.local/state"}}};
  const Place& place = places.at(static_cast<std::size_t>(which));
  const char* own = std::getenv(place.variable);
  // A path that does not begin at the root is not valid and has to be ignored.
  const bool isUsable = own != nullptr && *own == '/';
  return joinPath(isUsable ? own : expandTilde(place.usual), "Tessarin");
}

bool pathExists(std::string_view path) {
  const std::string name = expandTilde(path);
  if (name.empty())
    return false;
  noteFileSystemChanged(name);
  // Without O_NONBLOCK a named pipe would wait for its writer.
  const int descriptor = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor >= 0) {
    ::close(descriptor);
    return true;
  }
  // That there is no descriptor left says nothing of the file.
  if ((errno == EMFILE || errno == ENFILE) && ::access(name.c_str(), R_OK) == 0)
    return true;
  char first = 0;
  return ::readlink(name.c_str(), &first, 1) > 0;
}

bool isNameTaken(std::string_view path) {
  struct stat status = {};
  return isThere(expandTilde(path), status);
}

bool isDirectory(std::string_view path) {
  const auto status = statusOf(expandTilde(path));
  return status && S_ISDIR(status->st_mode);
}

std::optional<std::vector<std::string>> lsCocoa(std::string_view folder) {
  const std::string path = expandTilde(folder);
  debugFormat("lsCocoa             - begin : {}", path);
  std::vector<std::string> items;
  if (!path.empty())
    items = entryNames(path);
  for (std::string& item : items)
    item = joinPath(path, item);
  if (debugMode())
    logFormat("lsCocoa             - end : {} items : {}", items.size(), joinTexts(items, ", "));
  if (items.empty())
    return std::nullopt;
  return items;
}

std::optional<std::vector<std::string>> lsGrepCocoa(std::string_view folder,
                                                    std::string_view extension) {
  auto items = lsCocoa(folder);
  if (!items)
    return std::nullopt;
  if (debugMode())
    logFormat("lsGrepCocoa a       : {}", joinTexts(*items, ", "));
  const auto isOther = [extension](const std::string& path) {
    if (debugMode())
      logFormat("lsGrepCocoa extStr  :'{}' ? ext={} file={}", extension, pathExtension(path), path);
    return !hasPathExtension(path, extension);
  };
  items->erase(std::remove_if(items->begin(), items->end(), isOther), items->end());
  if (debugMode())
    logFormat("lsGrepCocoa return  : {}", joinTexts(*items, ", "));
  if (items->empty())
    return std::nullopt;
  return items;
}

std::vector<std::string> filesBelow(std::string_view folder) {
  std::vector<std::string> files;
  const std::string path = expandTilde(folder);
  if (!path.empty())
    collectFiles(path, files);
  return files;
}

std::int32_t freeDiskSpaceMo(std::string_view path) {
  const std::string name = expandTilde(path);
  if (!pathExists(name))
    return -1;
  debugFormat("free disk space file: {}", name);
  struct statvfs status = {};
  if (::statvfs(name.c_str(), &status) != 0) {
    logFormat("error               :-( {}", systemReason(errno));
    return -1;
  }
  const std::uint64_t bytes = std::uint64_t{status.f_bavail} * status.f_frsize;
  const auto megabytes = static_cast<std::int32_t>(bytes >> 20U);
  debugFormat("free disk space     : {} Mo", megabytes);
  return megabytes;
}

double poidsFile(std::string_view path, std::optional<std::string_view> unit) {
  const std::string name = expandTilde(path);
  const std::string unitName = unit ? upperCase(*unit) : "O";
  if (unit && isDirectory(name)) {
    if (unitName == "G")
      return folderMegabytes(name) / 1024;
    if (unitName == "M")
      return folderMegabytes(name);
    if (unitName == "K")
      return folderMegabytes(name) * 1024;
    if (unitName == "O")
      return folderMegabytes(name) * megabyte;
  }

  if (debugMode())
    logLine("poidsFile…");
  if (!pathExists(name))
    return -1;
  if (debugMode())
    logLine("poidsFile…1");
  const auto status = statusOf(name);
  if (!status)
    return -1;
  if (debugMode())
    logLine("poidsFile…2");
  debugFormat("dict (size)         : {}", status->st_size);
  debugFormat("current file size   : {} units", status->st_size);
  const double size = bytesToUnit(status->st_size, unitName);
  debugFormat("current file size   : {:.2f} {}", size, unitName);
  return size;
}

std::optional<Date> fileCreationDate(std::string_view path) {
  struct statx status = {};
  if (::statx(AT_FDCWD, expandTilde(path).c_str(), 0, STATX_BTIME | STATX_MTIME, &status) != 0)
    return std::nullopt;
  const auto seconds = [](const statx_timestamp& moment) {
    return static_cast<double>(moment.tv_sec) + moment.tv_nsec / 1e9;
  };
  const bool known = (status.stx_mask & STATX_BTIME) != 0;
  const double modified = seconds(status.stx_mtime);
  return Date{known ? std::min(seconds(status.stx_btime), modified) : modified};
}

std::string resolveAlias(std::string_view path) {
  const std::string name = expandTilde(path);
  struct stat status = {};
  if (name.empty() || ::lstat(name.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
    return std::string(path);
  const auto release = [](char* text) { std::free(text); };
  const std::unique_ptr<char, decltype(release)> target(::realpath(name.c_str(), nullptr), release);
  return target ? std::string(target.get()) : std::string(path);
}

}  // namespace tessarin
