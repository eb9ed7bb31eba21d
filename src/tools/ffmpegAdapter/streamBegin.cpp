#include "tools/ffmpegAdapter/streamBegin.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "ffmpeg/ffmpegCommandLine.h"
#include "movie/packetMarks.h"

namespace tessarin {

namespace {

constexpr std::size_t headSize = 4;
constexpr std::size_t startSize = 8;

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

// Whether a file begins like a movie, an AVI or an MXF file: DV in those is no raw one, whatever
// the file is called.
bool isOfOtherFormat(std::string_view bytes) {
  constexpr std::array<std::string_view, 5> movies{"ftyp", "moov", "mdat", "wide", "free"};
  return bytes.starts_with("RIFF") || bytes.starts_with("\x06\x0E\x2B\x34") ||
         (bytes.size() == startSize &&
          std::find(movies.begin(), movies.end(), bytes.substr(4, 4)) != movies.end());
}

// Whether a pack of MPEG-1 or 2 begins here and something of the stream follows it.
bool isPack(std::string_view bytes) {
  constexpr std::size_t headOfFirst = 12;
  constexpr std::size_t headOfSecond = 14;
  constexpr std::string_view mark("\0\0\1", 3);
  if (bytes.size() <= headOfSecond)
    return false;
  const bool isSecond = (bytes[4] & 0xC4) == 0x44;
  if (!isSecond && (bytes[4] & 0xF1) != 0x21)
    return false;
  const std::size_t stuffing = isSecond ? bytes[headOfSecond - 1] & 7 : 0;
  const std::size_t next = (isSecond ? headOfSecond : headOfFirst) + stuffing;
  return bytes.size() > next + mark.size() && bytes.substr(next).starts_with(mark) &&
         static_cast<unsigned char>(bytes[next + mark.size()]) >= 0xB9;
}

bool isZeroAt(int file, std::uint64_t place) {
  constexpr std::size_t size = 4096;
  return bytesAt(file, place, size) == std::string(size, '\0');
}

// Zeros before anything else. They are as long as a file may be, so not all of them are read: some
// places are looked at, and between the last of zeros and the next the end is halved in.
std::uint64_t zerosBefore(int file, std::uint64_t size) {
  constexpr std::uint64_t places = 256;
  const auto placeAt = [size](std::uint64_t count) { return size / places * count; };
  std::uint64_t count = 0;
  while (count < places && isZeroAt(file, placeAt(count)))
    ++count;
  std::uint64_t zeros = placeAt(std::max<std::uint64_t>(count, 1) - 1);
  for (std::uint64_t step = (placeAt(count) - zeros) / 2; step > 0; step /= 2)
    if (isZeroAt(file, zeros + step))
      zeros += step;
  return zeros;
}

StreamBegin firstOfStream(int file, std::uint64_t size) {
  constexpr std::size_t nearby = 4U << 20;  // the end of the zeros may be frayed
  constexpr std::string_view pack("\0\0\1\xBA", 4);
  if (!isZeroAt(file, 0))
    return {};
  const std::uint64_t zeros = zerosBefore(file, size);
  const std::string bytes = bytesAt(file, zeros, nearby);
  for (std::size_t at = bytes.find(pack); at != std::string::npos; at = bytes.find(pack, at + 1))
    if (isPack(std::string_view(bytes).substr(at)))
      return {zeros + at, "mpeg"};
  if (const auto packet = firstPacket(bytes))
    return {zeros + *packet, "mpegts"};
  return {};
}

bool hasOneEnding(const std::string& path, const auto& endings) {
  return std::any_of(endings.begin(), endings.end(),
                     [&path](std::string_view ending) { return hasEnding(path, ending); });
}

}  // namespace

StreamBegin streamBegin(const std::string& path) {
  constexpr std::array<std::string_view, 2> ofDv{".dv", ".dif"};
  constexpr std::array<std::string_view, 10> ofMpeg{".mpg", ".mpeg", ".mod", ".vob", ".m2p",
                                                    ".mts", ".m2ts", ".m2t", ".ts",  ".tod"};
  const bool isDv = hasOneEnding(path, ofDv);
  if (!isDv && !hasOneEnding(path, ofMpeg))
    return {};
  const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0)
    return {};
  struct stat facts {};
  const bool isFile = ::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode);
  const std::string start = bytesAt(file, 0, startSize);
  StreamBegin begin;
  if (isFile && !isDv)
    begin = firstOfStream(file, static_cast<std::uint64_t>(facts.st_size));
  else if (isFile && !isHead(start) && !isOfOtherFormat(start))
    begin = {firstFrame(file), "dv"};
  ::close(file);
  return begin;
}

}  // namespace tessarin
