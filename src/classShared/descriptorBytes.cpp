#include "classShared/descriptorBytes.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tessarin {

namespace {

template <class Call>
std::ptrdiff_t uninterrupted(const Call& call) {
  std::ptrdiff_t result = 0;
  do
    result = call();
  while (result < 0 && errno == EINTR);
  return result;
}

thread_local int lastReadError = 0;

}  // namespace

int processId() {
  return ::getpid();
}

std::ptrdiff_t readSome(int descriptor, void* bytes, std::size_t size) {
  const std::ptrdiff_t count = uninterrupted([&] { return ::read(descriptor, bytes, size); });
  if (count < 0)
    keepReadError(errno);
  return count;
}

std::size_t readAt(int descriptor, void* bytes, std::size_t size, std::uint64_t offset) {
  std::size_t have = 0;
  while (have < size) {
    const std::ptrdiff_t count = uninterrupted([&] {
      return ::pread(descriptor, static_cast<char*>(bytes) + have, size - have,
                     static_cast<off_t>(offset + have));
    });
    if (count == 0)
      errno = 0;
    if (count < 0)
      keepReadError(errno);
    if (count <= 0)
      break;
    have += static_cast<std::size_t>(count);
  }
  return have;
}

int takeReadError() {
  return std::exchange(lastReadError, 0);
}

void keepReadError(int error) {
  if (error != ENOENT && error != ENOTDIR)
    lastReadError = error;
}

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::ptrdiff_t count =
        uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count <= 0)
      return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool writeAllAt(int descriptor, std::string_view bytes, std::uint64_t offset) {
  while (!bytes.empty()) {
    const std::ptrdiff_t count = uninterrupted([&] {
      return ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    });
    if (count <= 0)
      return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return true;
}

}  // namespace tessarin
