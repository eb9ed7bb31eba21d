#include "platform/Descriptor.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "classShared/Outcome.h"

namespace tessarin {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    close();
    number_ = other.release();
  }
  return *this;
}

void Descriptor::close() {
  if (number_ >= 0)
    ::close(number_);
  number_ = -1;
}

Outcome<Pipe> makePipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0)
    return Failure{"no pipe: " + systemReason(errno)};
  return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

void setNonBlocking(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags >= 0)
    ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
}

std::uint64_t allowOpenFiles(std::uint64_t wanted) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
    return wanted;  // nobody knows; what fails will say so
  if (limit.rlim_cur < wanted) {
    const rlimit more{std::min<rlim_t>(wanted, limit.rlim_max), limit.rlim_max};
    if (::setrlimit(RLIMIT_NOFILE, &more) == 0)
      limit = more;
  }
  return limit.rlim_cur;
}

}  // namespace tessarin
