#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "classShared/Outcome.h"
#include "classShared/descriptorBytes.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// The descriptor, or -1 with errno set.
int openRegularFile(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0)
    return -1;
  struct stat status = {};
  if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
    return descriptor;
  ::close(descriptor);
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return -1;
}

// Reads up to `limit` bytes to the end of `content`; false with errno set when reading fails.
bool readUpTo(int descriptor, std::size_t limit, std::string& content) {
  constexpr std::size_t step = 65536;
  while (content.size() < limit) {
    const std::size_t have = content.size();
    content.resize(have + std::min(limit - have, std::max(step, have)));
    const auto count = readSome(descriptor, content.data() + have, content.size() - have);
    content.resize(have + static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
    if (count <= 0)
      return count == 0;
  }
  return true;
}

Outcome<std::string> readStart(std::string_view path, std::size_t limit) {
  const std::string name = expandTilde(path);
  const int descriptor = openRegularFile(name);
  if (descriptor < 0)
    return Failure{name + ": " + systemReason(errno)};
  std::string content;
  int error = 0;
  try {
    if (!readUpTo(descriptor, limit, content))
      error = errno;
  } catch (const std::bad_alloc&) {
    error = ENOMEM;
  }
  ::close(descriptor);
  if (error != 0)
    return Failure{name + ": " + systemReason(error)};
  content.shrink_to_fit();  // it may be kept for long
  return content;
}

}  // namespace

std::optional<std::string> readFileStart(std::string_view path, std::size_t count) {
  auto content = readStart(path, count);
  if (!content)
    return std::nullopt;
  return std::move(content.value());
}

Outcome<std::string> readWholeFile(std::string_view path, std::size_t most) {
  return readStart(path, most);
}

}  // namespace tessarin
