#include "tools/ffmpegAdapter/rawDvBegin.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

#include "ffmpeg/ffmpegCommandLine.h"

namespace tessarin {

namespace {

constexpr std::size_t headSize = 4;

bool isHead(std::string_view bytes) {
  return bytes.size() >= headSize && bytes.starts_with(std::string_view("\x1F\x07\x00", 3)) &&
         (bytes[3] & 0x7F) == 0x3F;
}

std::string bytesAt(int file, std::uint64_t place, std::size_t count) {
  std::string bytes(count, '\0');
  const ssize_t got = ::pread(file, bytes.data(), count, static_cast<off_t>(place));
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

// The first head behind which the next frame begins as well.
std::uint64_t firstFrame(int file) {
  constexpr std::uint64_t longest = 256U << 20;
  constexpr std::size_t piece = 1U << 20;
  constexpr std::uint64_t frameOf625 = 144000;
  constexpr std::uint64_t frameOf525 = 120000;
  for (std::uint64_t place = 0; place < longest; place += piece - headSize) {
    const std::string bytes = bytesAt(file, place, piece);
    for (std::size_t at = bytes.find('\x1F'); at != std::string::npos;
         at = bytes.find('\x1F', at + 1)) {
      if (!isHead(std::string_view(bytes).substr(at)))
        continue;
      const std::uint64_t length = (bytes[at + 3] & 0x80) != 0 ? frameOf625 : frameOf525;
      if (isHead(bytesAt(file, place + at + length, headSize)))
        return place + at;
    }
    if (bytes.size() < piece)
      break;
  }
  return 0;
}

}  // namespace

std::uint64_t rawDvBegin(const std::string& path) {
  if (!hasEnding(path, ".dv") && !hasEnding(path, ".dif"))
    return 0;
  const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0)
    return 0;
  struct stat facts {};
  const bool isFile = ::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode);
  const std::uint64_t begin = isFile && !isHead(bytesAt(file, 0, headSize)) ? firstFrame(file) : 0;
  ::close(file);
  return begin;
}

}  // namespace tessarin
