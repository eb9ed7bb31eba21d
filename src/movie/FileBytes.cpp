#include "movie/FileBytes.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tessarin {

bool FileBytes::load(std::uint64_t position, unsigned bytes) {
  if (!failure_.empty())
    return false;
  if (position > size_ || size_ - position < bytes) {
    failure_ = "it ends too early";
    return false;
  }
  if (position >= start_ && position - start_ + bytes <= filled_)
    return true;
  start_ = position;
  filled_ = 0;
  while (filled_ < bytes) {
    const ssize_t count = ::pread(descriptor_, window_.data() + filled_, window_.size() - filled_,
                                  static_cast<off_t>(start_ + filled_));
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0) {
      failure_ = count < 0 ? systemReason(errno) : "it ends too early";
      return false;
    }
    filled_ += static_cast<std::size_t>(count);
  }
  return true;
}

std::uint64_t FileBytes::number(std::uint64_t position, unsigned bytes) {
  if (!load(position, bytes))
    return 0;
  const auto start = static_cast<std::size_t>(position - start_);
  std::uint64_t number = 0;
  for (unsigned place = 0; place < bytes; ++place)
    number = number << 8 | static_cast<std::uint8_t>(window_[start + place]);
  return number;
}

std::string FileBytes::letters(std::uint64_t position) {
  constexpr unsigned count = 4;
  if (!load(position, count))
    return {};
  return {window_.data() + (position - start_), count};
}

}  // namespace tessarin
