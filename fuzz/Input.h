// What the harnesses share: the bytes of an input as text, as an open file, and as what an input is
// made of where it is more than one thing.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/log.h"

namespace tessarin::fuzz {

// What has to hold whatever the input is.
inline void require(bool holds) {
  if (!holds)
    std::abort();
}

// What every harness calls first. The log of so many inputs is of no use to anybody.
inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  [[maybe_unused]] static const bool isQuiet = (setLogHandler([](std::string_view) {}), true);
  return {reinterpret_cast<const char*>(data), size};
}

// The bytes as an open file, for what reads files.
class InputFile {
 public:
  explicit InputFile(std::string_view bytes) : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {
    require(::write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
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

// An empty folder that goes with the object. In memory, where there is such a place: thousands of
// them are made.
class InputFolder {
 public:
  InputFolder()
      : path_((std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp") +
              std::string("/fuzzXXXXXX")) {
    require(::mkdtemp(path_.data()) != nullptr);
  }
  InputFolder(const InputFolder&) = delete;
  InputFolder& operator=(const InputFolder&) = delete;
  ~InputFolder() { std::filesystem::remove_all(path_); }

  const std::string& path() const { return path_; }
  // A file of this name with these bytes; its path.
  std::string add(const std::string& name, std::string_view bytes) const {
    const std::filesystem::path file = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file;
  }

 private:
  std::string path_;
};

// Takes numbers and texts off the beginning of an input.
class Pieces {
 public:
  explicit Pieces(std::string_view input) : rest_(input) {}

  bool empty() const { return rest_.empty(); }
  // 0 to `most`; 0 at the end.
  std::size_t number(std::size_t most) {
    std::size_t value = 0;
    for (std::size_t reach = most; reach > 0 && !rest_.empty(); reach >>= 8) {
      value = value << 8 | static_cast<std::uint8_t>(rest_.front());
      rest_.remove_prefix(1);
    }
    return most == SIZE_MAX ? value : value % (most + 1);
  }
  bool flag() { return number(1) != 0; }
  // So many bytes, or as many as there are.
  std::string_view bytes(std::size_t count) {
    const std::string_view piece = rest_.substr(0, count);
    rest_.remove_prefix(piece.size());
    return piece;
  }
  // Up to the next one of these, which goes with it.
  std::string_view upTo(char end) {
    const std::string_view piece = rest_.substr(0, rest_.find(end));
    rest_.remove_prefix(std::min(rest_.size(), piece.size() + 1));
    return piece;
  }
  std::string_view rest() { return bytes(rest_.size()); }
  std::vector<std::string> each(char end) {
    std::vector<std::string> pieces;
    while (!empty())
      pieces.emplace_back(upTo(end));
    return pieces;
  }

 private:
  std::string_view rest_;
};

}  // namespace tessarin::fuzz

// What libFuzzer calls; the program that only replays inputs calls each by the name of its file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
