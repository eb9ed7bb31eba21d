#include "utils/PrivateFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
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

// An open folder, not one behind a link, with its lock; -1 when somebody else has it.
int lockedFolder(const std::string& path) {
  const int folder =
      ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (folder >= 0 && ::flock(folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    ::close(folder);
    return -1;
  }
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
  folder.lock_ = lockedFolder(folder.path_);
  struct stat status = {};
  if (folder.lock_ < 0 || ::fstat(folder.lock_, &status) != 0)
    return Failure{systemReason(errno)};
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
  std::error_code failed;
  fs::remove_all(path_, failed);
  if (failed)
    logFormat("private folder      :-( {}: {}", path_, failed.message());
  if (lock_ >= 0)
    ::close(std::exchange(lock_, -1));
  path_.clear();
}

bool PrivateFolder::removeOne(const std::string& path, std::string_view prefix) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0)
    return errno == ENOENT;
  if (!makerOf(fileName(path), prefix))
    return false;
  const int folder = lockedFolder(path);
  if (folder < 0)
    return false;
  std::error_code failed;
  const bool isOurs = ::fstat(folder, &status) == 0 && status.st_uid == ::geteuid();
  if (isOurs) {
    fs::remove_all(path, failed);
    logFormat("private folder      : {} was left behind{}{}", path, failed ? " :-( " : "",
              failed ? failed.message() : "");
  }
  ::close(folder);
  return isOurs && !failed;
}

void PrivateFolder::removeAbandoned(const std::string& parent, std::string_view prefix) {
  std::error_code failed;
  for (fs::directory_iterator entry(parent, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const auto maker = makerOf(entry->path().filename().native(), prefix);
    if (maker && !isRunning(*maker))
      removeOne(entry->path().native(), prefix);
  }
}

}  // namespace tessarin
