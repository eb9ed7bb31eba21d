#include "tools/streams/wav.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin::wav {

namespace {

using quicktime::SoundFormat;

constexpr std::uint32_t pcm = 1;
constexpr std::uint32_t extensible = 0xFFFE;
constexpr std::size_t largestChunk = 1U << 20;  // before the samples

// Little-endian; what lies behind the end counts as zero.
std::uint32_t number(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count) {
  std::uint32_t result = 0;
  for (std::size_t i = 0; i < count && at + i < bytes.size(); ++i)
    result |= std::uint32_t{bytes[at + i]} << (8 * i);
  return result;
}

Outcome<SoundFormat> soundFormat(std::span<const std::uint8_t> chunk) {
  const std::uint32_t codec = number(chunk, 0, 2);
  SoundFormat format;
  format.channels = static_cast<int>(number(chunk, 2, 2));
  format.sampleRate = static_cast<int>(std::min(number(chunk, 4, 4), 0x7FFFFFFFU));
  const bool isPcm = codec == pcm || (codec == extensible && number(chunk, 24, 2) == pcm);
  if (!isPcm || number(chunk, 14, 2) != 16)
    return Failure{"the sound is not 16-bit PCM"};
  // The places are bits of the same meaning in both files; streams of one or two channels need
  // not name them.
  if (codec == extensible)
    format.channelPlaces = number(chunk, 20, 4);
  else if (format.channels <= 2)
    format.channelPlaces = format.channels == 1 ? 4 : 3;
  return format;
}

bool isType(std::span<const std::uint8_t> bytes, std::string_view type) {
  return std::equal(
      type.begin(), type.end(), bytes.begin(), bytes.begin() + 4,
      [](char letter, std::uint8_t byte) { return static_cast<std::uint8_t>(letter) == byte; });
}

}  // namespace

Outcome<std::optional<SoundFormat>> Reader::readHeader() {
  std::array<std::uint8_t, 12> start = {};
  const Outcome<std::size_t> count = read(start);
  if (!count)
    return Failure{count.reason()};
  if (count.value() == 0)
    return std::optional<SoundFormat>();
  if (count.value() < start.size() || !isType(start, "RIFF") ||
      !isType(std::span(start).subspan(8), "WAVE"))
    return Failure{"the sound is no WAVE stream"};
  std::optional<SoundFormat> format;
  while (true) {
    std::array<std::uint8_t, 8> chunk = {};
    const Outcome<std::size_t> there = read(chunk);
    if (!there)
      return Failure{there.reason()};
    if (there.value() < chunk.size())
      return Failure{"the sound ends before its first sample"};
    if (isType(chunk, "data"))
      break;
    const std::size_t size = number(chunk, 4, 4);
    if (size > largestChunk)
      return Failure{"the sound has a header that is too large"};
    std::vector<std::uint8_t> content(size + size % 2);
    const Outcome<std::size_t> got = read(content);
    if (!got)
      return Failure{got.reason()};
    if (!isType(chunk, "fmt "))
      continue;
    const Outcome<SoundFormat> read = soundFormat(content);
    if (!read)
      return Failure{read.reason()};
    format = read.value();
  }
  if (!format)
    return Failure{"the sound does not say its format"};
  return format;
}

}  // namespace tessarin::wav
