#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/fileCalls.h"
#include "utils/files.h"

namespace tessarin {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view prefix = "Tessarin-";
constexpr std::string_view randomLetters = "XXXXXX";  // as mkdtemp wants them

// The folder and its lock (flock), which is gone with the process however it ends. It tells other
// processes, those in containers with process ids of their own too, and the cleaner of systemd
// that the folder is in use.
struct OwnFolder {
  std::string path;
  int lock = -1;
};

OwnFolder& own() {
  static OwnFolder folder;
  return folder;
}

// An open folder, not one behind a link, with its lock; -1 when somebody else has it.
int lockedFolder(const std::string& path) {
  const int folder =
      ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (folder >= 0 && ::flock(folder, LOCK_EX | LOCK_NB) != 0) {
    ::close(folder);
    return -1;
  }
  return folder;
}

// The process that made a folder of this name; nothing for names that are not ours.
std::optional<pid_t> makerOf(std::string_view name) {
  if (!startsWith(name, prefix))
    return std::nullopt;
  name.remove_prefix(prefix.size());
  pid_t maker = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), maker);
  const std::string_view rest = name.substr(static_cast<std::size_t>(end - name.data()));
  if (error != std::errc() || maker <= 0 || rest.size() != randomLetters.size() + 1 ||
      rest.front() != '-')
    return std::nullopt;
  return maker;
}

// A maker whose number was given to another process counts as running: its folder waits.
bool isRunning(pid_t process) {
  return ::kill(process, 0) == 0 || errno != ESRCH;
}

void removeIfStale(const std::string& path) {
  const int folder = lockedFolder(path);
  if (folder < 0)
    return;
  struct stat status = {};
  if (::fstat(folder, &status) == 0 && status.st_uid == ::geteuid()) {
    std::error_code failed;
    fs::remove_all(path, failed);
    logFormat("temporaryFolder     : {} was left behind{}{}", path, failed ? " :-( " : "",
              failed ? failed.message() : "");
  }
  ::close(folder);
}

// Removes the folders that crashed processes of this user left in the parent.
void removeStaleBelow(const std::string& parent) {
  std::error_code failed;
  for (fs::directory_iterator entry(parent, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const auto maker = makerOf(entry->path().filename().native());
    if (maker && !isRunning(*maker))
      removeIfStale(entry->path());
  }
}

// A new folder below the parent, readable by this user alone; without a path when it cannot be
// made.
OwnFolder makeBelow(const std::string& parent) {
  removeStaleBelow(parent);
  std::string path = joinPath(parent, fmt::format("{}{}-{}", prefix, ::getpid(), randomLetters));
  if (::mkdtemp(path.data()) != nullptr)
    return {path, lockedFolder(path)};
  logFormat("temporaryFolder     :-( {}: {}", path, systemReason(errno));
  return {};
}

void forget(OwnFolder& folder) {
  if (folder.lock >= 0)
    ::close(folder.lock);
  folder = {};
}

}  // namespace

std::string temporaryFolder() {
  // A cleaner of /tmp may have taken it away in a long run.
  if (!own().path.empty() && isDirectory(own().path))
    return own().path;
  forget(own());
  const char* wanted = std::getenv("TMPDIR");
  if (wanted != nullptr && *wanted == '/')
    own() = makeBelow(wanted);
  if (own().path.empty())
    own() = makeBelow("/tmp");
  return own().path;
}

void removeTemporaryFolder() {
  if (own().path.empty())
    return;
  std::error_code failed;
  fs::remove_all(own().path, failed);
  if (failed)
    logFormat("temporaryFolder     :-( {}: {}", own().path, failed.message());
  forget(own());
}

}  // namespace tessarin
