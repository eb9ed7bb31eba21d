// Reading a descriptor byte by byte or in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin::streams {

class ByteSource {
 public:
  // The descriptor is borrowed.
  explicit ByteSource(int descriptor) : descriptor_(descriptor) {}

  // Fills the target; fewer bytes only at the end of the stream. Answers their number.
  Outcome<std::size_t> read(std::span<std::uint8_t> target);
  // A line without its end, of at most 4096 bytes; "" at the end of the stream, too.
  Outcome<std::string> readLine();

 private:
  // Empty at the end of the stream.
  Outcome<bool> refill();

  int descriptor_;
  std::vector<std::uint8_t> buffer_;
  std::size_t position_ = 0;
};

}  // namespace tessarin::streams
