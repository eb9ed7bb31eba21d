#include "platform/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

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

}  // namespace tessarin
