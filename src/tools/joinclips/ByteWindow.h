// The bytes of a file in order, of which many can be seen at once.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "classShared/Outcome.h"
#include "classShared/descriptorBytes.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

class ByteWindow {
 public:
  // Sees at least as many bytes, where the file has them.
  ByteWindow(Descriptor file, std::size_t enough) : file_(std::move(file)), enough_(enough) {}

  // What was seen before may lie elsewhere then.
  Outcome<bool> fill() {
    if (left().size() >= enough_ || isOver_)
      return true;
    bytes_.erase(0, std::exchange(at_, 0));
    while (bytes_.size() < enough_ && !isOver_) {
      const std::size_t have = bytes_.size();
      bytes_.resize(2 * enough_);
      const auto count = readSome(file_.number(), bytes_.data() + have, bytes_.size() - have);
      bytes_.resize(have + static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
      if (count < 0)
        return Failure{systemReason(errno)};
      isOver_ = count == 0;
    }
    return true;
  }

  std::string_view left() const { return std::string_view(bytes_).substr(at_); }
  // Nothing is behind what is left.
  bool isOver() const { return isOver_; }
  void pass(std::size_t bytes) { at_ += std::min(bytes, left().size()); }

 private:
  Descriptor file_;
  std::size_t enough_;
  std::string bytes_;
  std::size_t at_ = 0;
  bool isOver_ = false;
};

}  // namespace tessarin::joining
