#include "tools/quicktime/wholeMovie.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

namespace tessarin::quicktime {

namespace {

struct AtomStart {
  std::uint64_t size = 0;  // with its start
  bool isHeader = false;   // of the movie
};

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes)
    number = number << 8 | static_cast<std::uint8_t>(byte);
  return number;
}

// Size (32 bits), type, and with a size of 1 the size once more (64 bits).
AtomStart atomAt(int descriptor, std::uint64_t position) {
  std::array<char, 16> bytes{};
  const ssize_t count =
      ::pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(position));
  if (count < 8)
    return {};
  const std::string_view start(bytes.data(), static_cast<std::size_t>(count));
  AtomStart atom;
  atom.size = bigEndian(start.substr(0, 4));
  atom.isHeader = start.substr(4, 4) == "moov";
  if (atom.size == 1)
    atom.size = count == 16 ? bigEndian(start.substr(8)) : 0;
  return atom;
}

}  // namespace

Outcome<bool> checkWholeMovie(int descriptor) {
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0)
    return Failure{systemReason(errno)};
  const auto size = static_cast<std::uint64_t>(status.st_size);
  bool hasHeader = false;
  std::uint64_t position = 0;
  while (position < size) {
    const AtomStart atom = atomAt(descriptor, position);
    if (atom.size < 8 || atom.size > size - position)
      return Failure{"it ends too early"};
    hasHeader = hasHeader || atom.isHeader;
    position += atom.size;
  }
  if (!hasHeader)
    return Failure{"it has no header"};
  return true;
}

}  // namespace tessarin::quicktime
