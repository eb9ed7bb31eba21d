#include "movie/timeCode.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "movie/atomTree.h"

namespace tessarin {

namespace {

struct Label {
  std::uint32_t hours = 0;
  std::uint32_t minutes = 0;
  std::uint32_t seconds = 0;
  std::uint32_t frames = 0;
  bool dropsNumbers = false;
};

std::optional<std::uint32_t> twoDigits(std::string_view digits) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (digits.size() != 2 || error != std::errc() || end != digits.data() + digits.size())
    return std::nullopt;
  return number;
}

std::optional<Label> labelOf(std::string_view text) {
  constexpr std::size_t length = 11;
  if (text.size() != length || text[2] != ':' || text[5] != ':' ||
      std::string_view(":;.").find(text[8]) == std::string_view::npos)
    return std::nullopt;
  const auto hours = twoDigits(text.substr(0, 2));
  const auto minutes = twoDigits(text.substr(3, 2));
  const auto seconds = twoDigits(text.substr(6, 2));
  const auto frames = twoDigits(text.substr(9, 2));
  if (!hours || !minutes || !seconds || !frames || *hours > 23 || *minutes > 59 || *seconds > 59)
    return std::nullopt;
  return Label{*hours, *minutes, *seconds, *frames, text[8] != ':'};
}

// Frames a second of the count; 0 where there can be none.
std::uint32_t countOf(double picturesPerSecond) {
  constexpr double mostPictures = 100;
  if (!(picturesPerSecond > 0) || picturesPerSecond > mostPictures)
    return 0;
  return static_cast<std::uint32_t>(std::lround(picturesPerSecond));
}

bool mayDrop(std::uint32_t count) {
  return count % 30 == 0;
}

std::uint32_t framesOfDay(const TimeCode& code) {
  constexpr std::uint32_t minutesOfDay = 24 * 60;
  const auto count = static_cast<std::uint32_t>(code.framesPerSecond);
  const std::uint32_t dropped =
      code.dropsNumbers ? count / 15 * (minutesOfDay - minutesOfDay / 10) : 0;
  return minutesOfDay * 60 * count - dropped;
}

std::optional<TimeCode> codeOf(const Label& label, std::uint32_t count) {
  if (count < 1 || label.frames >= count)
    return std::nullopt;
  TimeCode code;
  code.framesPerSecond = static_cast<int>(count);
  code.dropsNumbers = label.dropsNumbers && mayDrop(count);
  const std::uint32_t minutes = label.hours * 60 + label.minutes;
  code.firstFrame = (minutes * 60 + label.seconds) * count + label.frames;
  if (code.dropsNumbers)
    code.firstFrame -= count / 15 * (minutes - minutes / 10);
  return code;
}

constexpr std::uint64_t normalSpeed = 0x10000;

std::string identity() {
  std::string matrix;
  for (const std::uint64_t entry :
       {normalSpeed, std::uint64_t{0}, std::uint64_t{0}, std::uint64_t{0}, normalSpeed,
        std::uint64_t{0}, std::uint64_t{0}, std::uint64_t{0}, std::uint64_t{0x40000000}})
    matrix += bigEndian(entry, 4);
  return matrix;
}

std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

// The version that has numbers of 64 bits where those of 32 are too small.
struct Width {
  explicit Width(std::uint64_t number) : bytes(number > 0xFFFFFFFF ? 8 : 4) {}
  std::string head(std::uint64_t flags) const {
    return bigEndian((bytes == 8 ? std::uint64_t{1} << 24 : 0) | flags, 4);
  }
  std::string put(std::uint64_t number) const { return bigEndian(number, bytes); }
  unsigned bytes;
};

std::string handler(std::string_view kind, std::string_view type, std::string_view name) {
  return atomBytes("hdlr", zeros(4).append(kind).append(type) + zeros(12) +
                               bigEndian(name.size(), 1).append(name));
}

std::string header(const TimeCodePlace& place) {
  constexpr std::uint64_t enabledInMovie = 7;
  const Width width(place.movieDuration);
  return atomBytes("tkhd", width.head(enabledInMovie) + width.put(0) + width.put(0) +
                               bigEndian(place.id, 4) + zeros(4) + width.put(place.movieDuration) +
                               zeros(16) + identity() + zeros(8));
}

std::string edits(const TimeCodePlace& place) {
  const Width width(place.movieDuration);
  return atomBytes(
      "edts", atomBytes("elst", width.head(0) + bigEndian(1, 4) + width.put(place.movieDuration) +
                                    width.put(0) + bigEndian(normalSpeed, 4)));
}

std::string mediaHeader(const TimeCodePlace& place) {
  constexpr std::uint64_t noLanguage = 0x7FFF;
  const Width width(place.duration);
  return atomBytes("mdhd", width.head(0) + width.put(0) + width.put(0) +
                               bigEndian(place.perSecond, 4) + width.put(place.duration) +
                               bigEndian(noLanguage, 2) + zeros(2));
}

// How a player would print it: with the system's font, black on white.
std::string appearance() {
  const std::string general =
      atomBytes("gmin", zeros(4) + bigEndian(0x40, 2) + bigEndian(0x800080008000, 6) + zeros(4));
  const std::string text = atomBytes("tcmi", zeros(4) + zeros(4) + bigEndian(12, 2) + zeros(2 + 6) +
                                                 bigEndian(0xFFFFFFFFFFFF, 6) + zeros(1));
  return atomBytes("gmhd", general + atomBytes("tmcd", text));
}

std::string sampleTable(const TimeCode& code, const TimeCodePlace& place) {
  constexpr std::uint64_t dropsNumbers = 1;
  constexpr std::uint64_t endsAtMidnight = 2;
  const std::string description = atomBytes(
      "tmcd", zeros(6) + bigEndian(1, 2) + zeros(4) +
                  bigEndian(endsAtMidnight | (code.dropsNumbers ? dropsNumbers : 0), 4) +
                  bigEndian(place.perSecond, 4) + bigEndian(place.perFrame, 4) +
                  bigEndian(static_cast<std::uint64_t>(code.framesPerSecond), 1) + zeros(1));
  const std::string one = bigEndian(1, 4);
  const Width width(place.position);
  return atomBytes("stsd", zeros(4) + one + description) +
         atomBytes("stts", zeros(4) + one + one + bigEndian(place.duration, 4)) +
         atomBytes("stsz", zeros(4) + bigEndian(4, 4) + one) +
         atomBytes("stsc", zeros(4) + one + one + one + one) +
         atomBytes(width.bytes == 8 ? "co64" : "stco", zeros(4) + one + width.put(place.position));
}

}  // namespace

std::optional<TimeCode> timeCode(std::string_view text, double picturesPerSecond) {
  const auto label = labelOf(text);
  return label ? codeOf(*label, countOf(picturesPerSecond)) : std::nullopt;
}

std::string timeCodeText(const TimeCode& code) {
  const auto count = static_cast<std::uint32_t>(std::max(code.framesPerSecond, 1));
  std::uint32_t number = code.firstFrame;
  if (code.dropsNumbers) {
    // The first minute of ten has all its numbers, the others lack some.
    const std::uint32_t dropped = count / 15;
    const std::uint32_t minute = 60 * count - dropped;
    const std::uint32_t tenMinutes = 10 * minute + dropped;
    const std::uint32_t within = number % tenMinutes;
    number += number / tenMinutes * 9 * dropped;
    if (within >= dropped)
      number += (within - dropped) / minute * dropped;
  }
  return fmt::format("{:02}:{:02}:{:02}{}{:02}", number / count / 3600 % 24,
                     number / count / 60 % 60, number / count % 60, code.dropsNumbers ? ';' : ':',
                     number % count);
}

TimeCode laterTimeCode(TimeCode code, std::uint32_t pictures) {
  code.firstFrame = (code.firstFrame + pictures) % std::max(framesOfDay(code), 1U);
  return code;
}

bool isTimeCode(std::string_view text) {
  return labelOf(text).has_value();
}

std::optional<TimeCode> timeCodeAtRate(std::string_view text, double ownRate,
                                       double picturesPerSecond) {
  auto label = labelOf(text);
  const std::uint32_t own = countOf(ownRate);
  const std::uint32_t count = countOf(picturesPerSecond);
  if (!label)
    return std::nullopt;
  // Cameras of 50 and 60 pictures a second may count pairs of them.
  if (own > 0 && own != count && label->frames < own)
    label->frames = label->frames * count / own;
  return codeOf(*label, count);
}

std::optional<TimeCode> timeCodeOfDay(std::string_view text, double picturesPerSecond) {
  const std::uint32_t count = countOf(picturesPerSecond);
  const bool isSlower = count > 0 && picturesPerSecond < count - 0.001;
  const std::string separator = isSlower && mayDrop(count) ? ";" : ":";
  auto label = labelOf(std::string(text) + separator + "00");
  // The first numbers of such a minute are those that are dropped.
  if (label && label->dropsNumbers && label->seconds == 0 && label->minutes % 10 != 0)
    label->frames = count / 15;
  return label ? codeOf(*label, count) : std::nullopt;
}

std::string timeCodeTrack(const TimeCode& code, const TimeCodePlace& place) {
  const std::string reference = atomBytes(
      "dinf", atomBytes("dref", zeros(4) + bigEndian(1, 4) + atomBytes("url ", bigEndian(1, 4))));
  const std::string information =
      atomBytes("minf", appearance() + handler("dhlr", "url ", "DataHandler") + reference +
                            atomBytes("stbl", sampleTable(code, place)));
  const std::string media = atomBytes(
      "mdia", mediaHeader(place) + handler("mhlr", "tmcd", "TimeCodeHandler") + information);
  return atomBytes("trak", header(place) + edits(place) + media);
}

std::string timeCodeSample(const TimeCode& code) {
  return bigEndian(code.firstFrame, 4);
}

}  // namespace tessarin
