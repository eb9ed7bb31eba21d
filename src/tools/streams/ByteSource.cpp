#include "tools/streams/ByteSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "classShared/descriptorBytes.h"

namespace tessarin::streams {

namespace {

constexpr std::size_t longestLine = 4096;
constexpr std::size_t bufferSize = 64U << 10;

Outcome<std::size_t> readOnce(int descriptor, std::span<std::uint8_t> target) {
  const auto count = readSome(descriptor, target.data(), target.size());
  if (count < 0)
    return Failure{"the stream cannot be read: " + systemReason(errno)};
  return static_cast<std::size_t>(count);
}

}  // namespace

Outcome<bool> ByteSource::refill() {
  buffer_.resize(bufferSize);
  position_ = 0;
  const Outcome<std::size_t> count = readOnce(descriptor_, buffer_);
  buffer_.resize(count ? count.value() : 0);
  if (!count)
    return Failure{count.reason()};
  return !buffer_.empty();
}

Outcome<std::size_t> ByteSource::read(std::span<std::uint8_t> target) {
  std::size_t done = 0;
  while (done < target.size()) {
    const std::span<std::uint8_t> rest = target.subspan(done);
    if (position_ == buffer_.size()) {
      // Large blocks are not worth a copy.
      if (rest.size() >= bufferSize) {
        const Outcome<std::size_t> count = readOnce(descriptor_, rest);
        if (!count || count.value() == 0)
          return count ? Outcome<std::size_t>(done) : Failure{count.reason()};
        done += count.value();
        continue;
      }
      const Outcome<bool> more = refill();
      if (!more)
        return Failure{more.reason()};
      if (!more.value())
        break;
    }
    const std::size_t part = std::min(rest.size(), buffer_.size() - position_);
    std::memcpy(rest.data(), buffer_.data() + position_, part);
    position_ += part;
    done += part;
  }
  return done;
}

Outcome<std::string> ByteSource::readLine() {
  std::string line;
  while (line.size() <= longestLine) {
    if (position_ == buffer_.size()) {
      const Outcome<bool> more = refill();
      if (!more)
        return Failure{more.reason()};
      if (!more.value())
        return line;
    }
    const char letter = static_cast<char>(buffer_[position_++]);
    if (letter == '\n')
      return line;
    line += letter;
  }
  return Failure{"a line of the stream is too long"};
}

}  // namespace tessarin::streams
