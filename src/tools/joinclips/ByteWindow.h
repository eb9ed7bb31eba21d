// The bytes of a source in order, of which many can be seen at once.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "classShared/Outcome.h"
#include "classShared/descriptorBytes.h"
#include "tools/joinclips/SourceBytes.h"

namespace tessarin::joining {

class ByteWindow {
 public:
  // Sees at least as many bytes, where the source has them.
  ByteWindow(SourceBytes source, std::size_t enough)
      : source_(std::move(source)), enough_(enough) {}

  // What was seen before may lie elsewhere then.
  Outcome<bool> fill() {
    if (left().size() >= enough_ || isOver_)
      return true;
    bytes_.erase(0, std::exchange(at_, 0));
    while (bytes_.size() < enough_ && !isOver_) {
      const std::size_t have = bytes_.size();
      bytes_.resize(2 * enough_);
      const std::uint64_t room = std::min<std::uint64_t>(bytes_.size() - have, source_.most);
      const auto count = readSome(source_.file.number(), bytes_.data() + have, room);
      bytes_.resize(have + static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
      if (count < 0)
        return Failure{systemReason(errno)};
      source_.most -= static_cast<std::uint64_t>(count);
      isOver_ = count == 0;
    }
    return true;
  }

  std::string_view left() const { return std::string_view(bytes_).substr(at_); }
  // Nothing is behind what is left.
  bool isOver() const { return isOver_; }
  void pass(std::size_t bytes) { at_ += std::min(bytes, left().size()); }

 private:
  SourceBytes source_;
  std::size_t enough_;
  std::string bytes_;
  std::size_t at_ = 0;
  bool isOver_ = false;
};

}  // namespace tessarin::joining
