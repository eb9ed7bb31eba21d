#include "movie/FileBytes.h"

#include <cerrno>

#include "classShared/descriptorBytes.h"

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
  filled_ = readAt(descriptor_, window_.data(), window_.size(), start_);
  if (filled_ >= bytes)
    return true;
  failure_ = errno != 0 ? systemReason(errno) : "it ends too early";
  return false;
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
