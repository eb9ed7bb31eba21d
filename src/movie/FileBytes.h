// Big-endian numbers anywhere in a file, read through a window.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "classShared/Outcome.h"

namespace tessarin {

// The low 32 bits as a number with a sign.
inline std::int64_t signed32(std::uint64_t number) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
}

// Numbers that stand near each other cost one read. The descriptor is borrowed.
class FileBytes {
 public:
  FileBytes(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}

  std::uint64_t size() const { return size_; }

  // Of 1 to 8 bytes; 0 beyond the end of the file and after a failure, which failure() tells.
  std::uint64_t number(std::uint64_t position, unsigned bytes);
  // Four letters, as an atom's type.
  std::string letters(std::uint64_t position);

  // "" as long as everything could be read.
  const std::string& failure() const { return failure_; }

 private:
  bool load(std::uint64_t position, unsigned bytes);

  int descriptor_;
  std::uint64_t size_;
  std::uint64_t start_ = 0;  // of the window in the file
  std::size_t filled_ = 0;
  std::array<char, 65536> window_ = {};
  std::string failure_;
};

}  // namespace tessarin
