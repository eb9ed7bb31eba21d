// A file from elsewhere, of which no more is read than was agreed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace tessarin {

// Pieces of a regular file, or of a section of one (fileSection.h). Whatever the file says about
// itself, all pieces together are no larger than the budget; a file that cannot be read, and
// anything that is no regular file (a pipe would block), is like an empty one.
class BoundedFile {
 public:
  explicit BoundedFile(const std::string& path, std::uint64_t budget = std::uint64_t{32} << 20);

  std::uint64_t size() const { return size_; }
  // The bytes from this offset on: fewer than `count` at the end of the file and of the budget.
  std::string read(std::uint64_t offset, std::size_t count);
  // Whether bytes that are there could not be read.
  bool hasFailed() const { return hasFailed_; }

 private:
  std::ifstream file_;
  std::uint64_t begin_ = 0;  // of the section, in the file
  std::uint64_t size_ = 0;
  std::uint64_t budget_ = 0;
  bool hasFailed_ = false;
};

}  // namespace tessarin
