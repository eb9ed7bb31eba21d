// Preloaded into a program: the file at $FAILING_PATH cannot be read beyond $FAILING_FROM bytes, as
// on a disk with a bad spot or a card that is pulled out.
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

// Whether a read of the file fails there; one that would come to the place ends before it.
bool fails(int file, off_t position, size_t& count) {
  const char* path = std::getenv("FAILING_PATH");
  const char* from = std::getenv("FAILING_FROM");
  struct stat one = {};
  struct stat other = {};
  if (path == nullptr || from == nullptr || position < 0 || ::fstat(file, &one) != 0 ||
      ::stat(path, &other) != 0 || one.st_ino != other.st_ino || one.st_dev != other.st_dev)
    return false;
  const off_t limit = std::atoll(from);
  if (position >= limit) {
    errno = EIO;
    return true;
  }
  if (position + static_cast<off_t>(count) > limit)
    count = static_cast<size_t>(limit - position);
  return false;
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" ssize_t read(int file, void* buffer, size_t count) {
  static auto* const real = next<ssize_t(int, void*, size_t)>("read");
  return fails(file, ::lseek(file, 0, SEEK_CUR), count) ? -1 : real(file, buffer, count);
}

extern "C" ssize_t pread64(int file, void* buffer, size_t count, off64_t position) {
  static auto* const real = next<ssize_t(int, void*, size_t, off64_t)>("pread64");
  return fails(file, position, count) ? -1 : real(file, buffer, count, position);
}

extern "C" ssize_t pread(int file, void* buffer, size_t count, off_t position) {
  static auto* const real = next<ssize_t(int, void*, size_t, off_t)>("pread");
  return fails(file, position, count) ? -1 : real(file, buffer, count, position);
}
