#include "utils/PrivateFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t randomLetters = 6;
constexpr mode_t ownerOnly = 0700;
// Of folders that are made only to see whose they are.
constexpr std::string_view ownerPrefix = ".owner-";

// An open folder, not one behind a link; -1 when there is none, or when somebody else has its lock.
struct OpenFolder {
  int descriptor = -1;
  bool isLocked = false;  // else the file system knows no locks of folders
};

OpenFolder lockedFolder(const std::string& path) {
  OpenFolder folder;
  folder.descriptor =
      ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  folder.isLocked = folder.descriptor >= 0 && ::flock(folder.descriptor, LOCK_EX | LOCK_NB) == 0;
  if (folder.descriptor >= 0 && !folder.isLocked && errno == EWOULDBLOCK)
    ::close(std::exchange(folder.descriptor, -1));
  return folder;
}

// The process that made a folder of this name; nothing for names that are not ours.
std::optional<pid_t> makerOf(std::string_view name, std::string_view prefix) {
  if (!startsWith(name, prefix))
    return std::nullopt;
  name.remove_prefix(prefix.size());
  pid_t maker = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), maker);
  const std::string_view rest = name.substr(static_cast<std::size_t>(end - name.data()));
  if (error != std::errc() || maker <= 0 || rest.size() != randomLetters + 1 || rest.front() != '-')
    return std::nullopt;
  return maker;
}

// A maker whose number was given to another process counts as running: its folder waits.
bool isRunning(pid_t process) {
  return ::kill(process, 0) == 0 || errno != ESRCH;
}

// Who is shown as the owner of what this process makes in the folder; nothing when it cannot.
std::optional<uid_t> ownerOfNewFilesIn(const std::string& parent) {
  const std::string path = PrivateFolder::newPath(parent, ownerPrefix);
  struct stat status = {};
  if (::mkdir(path.c_str(), ownerOnly) != 0)
    return std::nullopt;
  const bool isThere = ::lstat(path.c_str(), &status) == 0;
  ::rmdir(path.c_str());
  return isThere ? std::optional(status.st_uid) : std::nullopt;
}

bool isOurs(uid_t owner, const std::string& parent) {
  return owner == ::geteuid() || ownerOfNewFilesIn(parent) == owner;
}

// The user on whose behalf root works.
std::optional<uid_t> callerOfSudo() {
  const char* text = std::getenv("SUDO_UID");
  if (::geteuid() != 0 || text == nullptr)
    return std::nullopt;
  uid_t user = 0;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, user);
  return error == std::errc() && rest == end ? std::optional(user) : std::nullopt;
}

// Removes a folder with that lock, or, where it `mayLackLock`, without one.
bool removeUnused(const std::string& path, bool mayLackLock) {
  const OpenFolder folder = lockedFolder(path);
  if (folder.descriptor < 0)
    return false;
  struct stat status = {};
  std::error_code failed;
  const bool isRemoved = (folder.isLocked || mayLackLock) &&
                         ::fstat(folder.descriptor, &status) == 0 &&
                         isOurs(status.st_uid, parentFolder(path));
  if (isRemoved) {
    fs::remove_all(path, failed);
    logFormat("private folder      : {} was left behind{}{}", path, failed ? " :-( " : "",
              failed ? failed.message() : "");
  }
  ::close(folder.descriptor);
  return isRemoved && !failed;
}

}  // namespace

std::string PrivateFolder::newPath(const std::string& parent, std::string_view prefix) {
  constexpr std::string_view letters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::random_device random;
  std::uniform_int_distribution<std::size_t> place(0, letters.size() - 1);
  while (true) {
    std::string name = fmt::format("{}{}-", prefix, ::getpid());
    for (std::size_t letter = 0; letter < randomLetters; ++letter)
      name += letters[place(random)];
    std::string path = joinPath(parent, name);
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0)
      return path;
  }
}

Outcome<PrivateFolder> PrivateFolder::create(std::string path) {
  if (::mkdir(path.c_str(), ownerOnly) != 0)
    return Failure{systemReason(errno)};
  PrivateFolder folder;
  folder.path_ = std::move(path);
  folder.lock_ = lockedFolder(folder.path_).descriptor;
  struct stat status = {};
  if (folder.lock_ < 0 || ::fstat(folder.lock_, &status) != 0) {
    Failure failure{systemReason(errno)};
    ::rmdir(folder.path_.c_str());
    return failure;
  }
  folder.knowsPermissions_ = (status.st_mode & 0777U) == ownerOnly;
  return folder;
}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept
    : path_(std::exchange(other.path_, {})),
      lock_(std::exchange(other.lock_, -1)),
      knowsPermissions_(other.knowsPermissions_) {}

PrivateFolder& PrivateFolder::operator=(PrivateFolder&& other) noexcept {
  if (this != &other) {
    remove();
    path_ = std::exchange(other.path_, {});
    lock_ = std::exchange(other.lock_, -1);
    knowsPermissions_ = other.knowsPermissions_;
  }
  return *this;
}

void PrivateFolder::remove() {
  if (path_.empty())
    return;
  // A tool that is being ended may make one more file meanwhile.
  std::error_code failed;
  for (int attempt = 0; isInPlace() && attempt < 3; ++attempt)
    fs::remove_all(path_, failed);
  if (failed)
    logFormat("private folder      :-( {}: {}", path_, failed.message());
  if (lock_ >= 0)
    ::close(std::exchange(lock_, -1));
  path_.clear();
}

bool PrivateFolder::isInPlace() const {
  struct stat there = {};
  struct stat own = {};
  return lock_ >= 0 && ::lstat(path_.c_str(), &there) == 0 && ::fstat(lock_, &own) == 0 &&
         there.st_dev == own.st_dev && there.st_ino == own.st_ino;
}

bool PrivateFolder::removeOne(const std::string& path, std::string_view prefix) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0)
    return errno == ENOENT;
  return makerOf(fileName(path), prefix) && removeUnused(path, true);
}

void PrivateFolder::removeAbandoned(const std::string& parent, std::string_view prefix) {
  std::error_code failed;
  for (fs::directory_iterator entry(parent, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const std::string name = entry->path().filename();
    const auto maker =
        startsWith(name, ownerPrefix) ? makerOf(name, ownerPrefix) : makerOf(name, prefix);
    if (maker && !isRunning(*maker))
      removeUnused(entry->path().native(), false);
  }
}

bool isOfAnotherUser(const std::string& folder) {
  struct stat status = {};
  if (::stat(folder.c_str(), &status) != 0 || status.st_uid == 0 || status.st_uid == ::geteuid() ||
      status.st_uid == callerOfSudo())
    return false;
  const auto owner = ownerOfNewFilesIn(folder);
  return owner && *owner != status.st_uid;
}

}  // namespace tessarin
