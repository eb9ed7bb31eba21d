// Preloaded into a program and all that it starts: one call fails, as on a machine that has run out
// of something. Of the environment:
//   FAULT_PROGRAM  whose calls are counted: the name of a program
//   FAULT_CALL     read, write, open, rename, mkdir, fsync, fork, pipe or thread
//   FAULT_ERROR    errno of the failing call; 0: the program is killed before it
//   FAULT_NUMBER   which call fails, counted from 1 over all processes of the program; 0: none
//   FAULT_STAYS    when it is set, all calls after that one fail, too
//   FAULT_COUNTER  file of eight bytes that holds how many calls there were
// Reads, writes and syncs count where they are those of files, of which a disk can fail.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

const char* setting(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

struct Fault {
  char call[16] = {};
  int error = 0;
  long number = 0;
  bool stays = false;
  std::atomic<long>* counter = nullptr;

  Fault() {
    char path[4096] = {};
    if (::readlink("/proc/self/exe", path, sizeof path - 1) < 0)
      return;
    const char* slash = std::strrchr(path, '/');
    if (slash == nullptr || std::strcmp(slash + 1, setting("FAULT_PROGRAM")) != 0)
      return;
    std::snprintf(call, sizeof call, "%s", setting("FAULT_CALL"));
    error = std::atoi(setting("FAULT_ERROR"));
    number = std::atol(setting("FAULT_NUMBER"));
    stays = *setting("FAULT_STAYS") != '\0';
    const int file =
        next<int(const char*, int, ...)>("open")(setting("FAULT_COUNTER"), O_RDWR | O_CLOEXEC);
    if (file < 0)
      return;
    void* memory = ::mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    if (memory != MAP_FAILED)
      counter = static_cast<std::atomic<long>*>(memory);
  }

  bool falls(const char* name) {
    if (counter == nullptr || std::strcmp(name, call) != 0)
      return false;
    const long now = counter->fetch_add(1) + 1;
    if (number == 0 || (stays ? now < number : now != number))
      return false;
    if (error == 0)
      ::raise(SIGKILL);
    errno = error;
    return true;
  }
};

// The one of this process, made before its main function runs.
Fault& fault() {
  static Fault made;
  return made;
}

[[gnu::constructor]] void begin() {
  fault();
}

bool isFile(int descriptor) {
  struct stat status = {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

bool falls(const char* name, int descriptor) {
  return std::strcmp(fault().call, name) == 0 && isFile(descriptor) && fault().falls(name);
}

mode_t modeOf(int flags, va_list more) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
}

}  // namespace

// A function that fails or is the system's.
// NOLINTBEGIN(bugprone-macro-parentheses): lists of parameters are in parentheses
#define PASSED_ON(Type, name, failure, condition, parameters, arguments) \
  extern "C" Type name parameters {                                      \
    static auto* const real = next<Type parameters>(#name);              \
    return (condition) ? (failure) : real arguments;                     \
  }
#define OPENING(name, parameters, last, arguments)         \
  extern "C" int name parameters {                         \
    va_list more;                                          \
    va_start(more, last);                                  \
    const mode_t mode = modeOf(flags, more);               \
    va_end(more);                                          \
    static auto* const real = next<int parameters>(#name); \
    return fault().falls("open") ? -1 : real arguments;    \
  }

// NOLINTEND(bugprone-macro-parentheses)
// clang-format off
PASSED_ON(ssize_t, read, -1, falls("read", file), (int file, void* data, size_t size), (file, data, size))
PASSED_ON(ssize_t, pread64, -1, falls("read", file), (int file, void* data, size_t size, off64_t place), (file, data, size, place))
PASSED_ON(ssize_t, pread, -1, falls("read", file), (int file, void* data, size_t size, off_t place), (file, data, size, place))
PASSED_ON(ssize_t, write, -1, falls("write", file), (int file, const void* data, size_t size), (file, data, size))
PASSED_ON(ssize_t, writev, -1, falls("write", file), (int file, const iovec* data, int count), (file, data, count))
PASSED_ON(ssize_t, pwrite, -1, falls("write", file), (int file, const void* data, size_t size, off_t place), (file, data, size, place))
PASSED_ON(ssize_t, pwrite64, -1, falls("write", file), (int file, const void* data, size_t size, off64_t place), (file, data, size, place))
PASSED_ON(int, fsync, -1, falls("fsync", file), (int file), (file))
PASSED_ON(int, fdatasync, -1, falls("fsync", file), (int file), (file))
PASSED_ON(int, rename, -1, fault().falls("rename"), (const char* from, const char* to), (from, to))
PASSED_ON(int, renameat2, -1, fault().falls("rename"), (int fromFolder, const char* from, int toFolder, const char* to, unsigned flags), (fromFolder, from, toFolder, to, flags))
PASSED_ON(int, mkdir, -1, fault().falls("mkdir"), (const char* path, mode_t mode), (path, mode))
PASSED_ON(int, mkdirat, -1, fault().falls("mkdir"), (int folder, const char* path, mode_t mode), (folder, path, mode))
PASSED_ON(int, pipe, -1, fault().falls("pipe"), (int* ends), (ends))
PASSED_ON(int, pipe2, -1, fault().falls("pipe"), (int* ends, int flags), (ends, flags))
PASSED_ON(pid_t, fork, -1, fault().falls("fork"), (), ())
PASSED_ON(int, posix_spawn, errno, fault().falls("fork"), (pid_t* child, const char* path, const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attributes, char* const* words, char* const* environment), (child, path, actions, attributes, words, environment))
PASSED_ON(int, pthread_create, errno, fault().falls("thread"), (pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument), (thread, attributes, start, argument))
OPENING(open, (const char* path, int flags, ...), flags, (path, flags, mode))
OPENING(open64, (const char* path, int flags, ...), flags, (path, flags, mode))
OPENING(openat, (int folder, const char* path, int flags, ...), flags, (folder, path, flags, mode))
OPENING(openat64, (int folder, const char* path, int flags, ...), flags, (folder, path, flags, mode))
// clang-format on

// Its child returns through the caller's frame, so the system's has to be jumped to.
namespace {
pid_t (*realVfork)() = nullptr;
bool vforkFalls() {
  if (realVfork == nullptr)
    realVfork = next<pid_t()>("vfork");
  return fault().falls("fork");
}
}  // namespace
extern "C" [[gnu::optimize("O2", "omit-frame-pointer")]] pid_t vfork() {
  if (vforkFalls())
    return -1;
  return realVfork();
}
