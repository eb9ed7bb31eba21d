#include "platform/openFiles.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "classShared/descriptorBytes.h"

namespace tessarin {

namespace {

using std::chrono::steady_clock;

int flagsOf(OpenFor use) {
  switch (use) {
    case OpenFor::reading:
      return O_RDONLY | O_NONBLOCK | O_NOCTTY;
    case OpenFor::streaming:
      return O_RDONLY;
    case OpenFor::changing:
      return O_RDWR | O_NOFOLLOW | O_NOCTTY;
    case OpenFor::locking:
      return O_RDWR | O_NOFOLLOW | O_CREAT;
    case OpenFor::appending:
      return O_RDWR | O_APPEND | O_CREAT;
    case OpenFor::creating:
      return O_WRONLY | O_CREAT | O_EXCL;
    case OpenFor::folder:
      return O_RDONLY | O_DIRECTORY;
  }
  return O_RDONLY;
}

}  // namespace

Descriptor openFile(const std::string& path, OpenFor use) {
  constexpr mode_t ownersOnly = 0600;
  constexpr mode_t usual = 0666;
  Descriptor file(::open(path.c_str(), flagsOf(use) | O_CLOEXEC,
                         use == OpenFor::appending ? usual : ownersOnly));
  if (!file.isOpen() && (use == OpenFor::reading || use == OpenFor::streaming))
    keepReadError(errno);
  return file;
}

bool closeFile(Descriptor& file) {
  return ::close(file.release()) == 0;
}

bool syncFile(int descriptor) {
  return ::fsync(descriptor) == 0;
}

void syncFileSystem(int descriptor) {
  ::syncfs(descriptor);
}

bool lockFile(int descriptor, Lock lock) {
  const bool isShared = lock == Lock::shared || lock == Lock::sharedAtOnce;
  const bool waits = lock == Lock::shared || lock == Lock::alone;
  return ::flock(descriptor, (isShared ? LOCK_SH : LOCK_EX) | (waits ? 0 : LOCK_NB)) == 0;
}

void unlockFile(int descriptor) {
  ::flock(descriptor, LOCK_UN);
}

bool insertRoom(int descriptor, std::uint64_t place, std::uint64_t length) {
  const auto begin = static_cast<off_t>(place);
  const auto size = static_cast<off_t>(length);
  if (::fallocate(descriptor, FALLOC_FL_INSERT_RANGE, begin, size) != 0)
    return false;
  // What was put in is a hole, for which a full disk has no room.
  if (::fallocate(descriptor, 0, begin, size) == 0)
    return true;
  const int error = errno;
  ::fallocate(descriptor, FALLOC_FL_COLLAPSE_RANGE, begin, size);
  errno = error;
  return false;
}

bool cutTo(int descriptor, std::uint64_t size) {
  return ::ftruncate(descriptor, static_cast<off_t>(size)) == 0;
}

bool moveTo(int descriptor, std::uint64_t position) {
  return ::lseek(descriptor, static_cast<off_t>(position), SEEK_SET) >= 0;
}

std::optional<std::ptrdiff_t> readUntil(int descriptor, void* bytes, std::size_t size,
                                        steady_clock::time_point end) {
  pollfd entry{descriptor, POLLIN, 0};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
    ready = ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
  } while (ready < 0 && errno == EINTR);
  if (ready == 0)
    return std::nullopt;
  return ready < 0 ? -1 : readSome(descriptor, bytes, size);
}

std::size_t bytesWaiting(int descriptor) {
  int waiting = 0;
  return ::ioctl(descriptor, FIONREAD, &waiting) == 0
             ? static_cast<std::size_t>(std::max(waiting, 0))
             : 0;
}

void widenPipe(int descriptor, int bytes) {
  ::fcntl(descriptor, F_SETPIPE_SZ, bytes);
}

bool putInPlaceOf(int number, const Descriptor& file) {
  // Programs that are started get the standard streams only.
  return number <= standardError ? ::dup2(file.number(), number) >= 0
                                 : ::dup3(file.number(), number, O_CLOEXEC) >= 0;
}

void openMissingStreams() {
  int descriptor = -1;
  do {
    descriptor = ::open("/dev/null", O_RDWR);  // takes the lowest free number
  } while (descriptor >= 0 && descriptor <= standardError);
  if (descriptor >= 0)
    ::close(descriptor);
}

bool isTerminal(int descriptor) {
  return ::isatty(descriptor) == 1;
}

std::size_t terminalWidth(int descriptor) {
  winsize size{};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
    return size.ws_col;
  return 80;
}

}  // namespace tessarin
