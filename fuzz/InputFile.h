// The bytes as an open file, for what reads files.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessarin::fuzz {

class InputFile {
 public:
  InputFile(const std::uint8_t* data, std::size_t size)
      : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {
    if (::write(descriptor_, data, size) != static_cast<ssize_t>(size))
      __builtin_trap();
    ::lseek(descriptor_, 0, SEEK_SET);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() { ::close(descriptor_); }

  int descriptor() const { return descriptor_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace tessarin::fuzz
