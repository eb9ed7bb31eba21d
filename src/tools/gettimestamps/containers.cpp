// Dates in Matroska, MXF and AVI files.
#include "tools/gettimestamps/containers.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/ByteReader.h"

namespace tessarin {

namespace {

// What has been asked for lies before the pictures.
constexpr std::uint64_t headEnd = std::uint64_t{4} << 20;
constexpr int mostElements = 4096;

// A number of up to eight bytes.
std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes.substr(0, 8))
    number = number << 8 | static_cast<std::uint8_t>(byte);
  return number;
}

// ---- Matroska

struct Element {
  std::uint64_t id = 0;
  std::uint64_t body = 0;
  std::uint64_t end = 0;
};

// The length in bytes of a number whose leading zero bits tell it: 1 to 8; 0 for none.
std::size_t lengthOfNumber(std::uint32_t first) {
  for (std::size_t length = 1; length <= 8; ++length)
    if ((first & (0x100u >> length)) != 0)
      return length;
  return 0;
}

std::optional<Element> elementAt(BoundedFile& file, std::uint64_t offset, std::uint64_t end) {
  const std::string bytes = file.read(offset, 12);
  const ByteReader head(bytes);
  const std::size_t idLength = lengthOfNumber(head.byte(0).value_or(0));
  const std::size_t sizeLength = lengthOfNumber(head.byte(idLength).value_or(0));
  const auto id = head.part(0, idLength);
  const auto size = head.part(idLength, sizeLength);
  if (idLength == 0 || idLength > 4 || sizeLength == 0 || !id || !size)
    return std::nullopt;
  const std::uint64_t mark = std::uint64_t{1} << 7 * sizeLength;
  const std::uint64_t length = bigEndian(*size) & (mark - 1);
  const std::uint64_t body = offset + idLength + sizeLength;
  // All bits set: as long as there is something.
  if (body > end || (length != mark - 1 && length > end - body))
    return std::nullopt;
  return Element{bigEndian(*id), body, length == mark - 1 ? end : body + length};
}

std::optional<Element> elementIn(BoundedFile& file, std::uint64_t offset, std::uint64_t end,
                                 std::uint64_t id) {
  for (int count = 0; count < mostElements && offset < std::min(end, headEnd); ++count) {
    const auto element = elementAt(file, offset, end);
    if (!element || element->id == id)
      return element;
    offset = element->end;
  }
  return std::nullopt;
}

// ---- MXF

constexpr std::size_t keyLength = 16;

struct Piece {
  std::string key;
  std::uint64_t body = 0;
  std::uint64_t end = 0;
};

std::optional<Piece> pieceAt(BoundedFile& file, std::uint64_t offset) {
  const std::string bytes = file.read(offset, keyLength + 9);
  const ByteReader head(bytes);
  const auto key = head.part(0, keyLength);
  const std::uint32_t first = head.byte(keyLength).value_or(0);
  const std::size_t more = first < 0x80 ? 0 : first & 0x7F;
  const auto length = head.part(keyLength + (more > 0 ? 1 : 0), std::max<std::size_t>(more, 1));
  if (!key || !length || more > 8)
    return std::nullopt;
  const std::uint64_t body = offset + keyLength + 1 + more;
  const std::uint64_t size = bigEndian(*length);
  if (body > file.size() || size > file.size() - body)
    return std::nullopt;
  return Piece{std::string(*key), body, body + size};
}

// A set of values, each with a tag and a length: when the package was made.
std::optional<RecordingTime> timeOfPackage(std::string_view bytes) {
  constexpr std::uint32_t creationDate = 0x4405;
  const ByteReader set(bytes);
  for (std::size_t offset = 0; offset + 4 <= set.size();) {
    const std::uint32_t tag = set.short16(offset).value_or(0);
    const std::uint32_t length = set.short16(offset + 2).value_or(0);
    if (tag == creationDate && length >= 7) {
      const ByteReader value = set.from(offset + 4);
      const auto number = [&](std::size_t at) {
        return static_cast<int>(value.byte(at).value_or(0));
      };
      const RecordingTime time{static_cast<int>(value.short16(0).value_or(0)),
                               number(2),
                               number(3),
                               number(4),
                               number(5),
                               number(6)};
      return time.isValid() ? std::optional(time) : std::nullopt;
    }
    offset += 4 + length;
  }
  return std::nullopt;
}

}  // namespace

std::optional<RecordingTime> recordingTimeOfMatroska(BoundedFile& file) {
  constexpr std::uint64_t headId = 0x1A45DFA3;
  constexpr std::uint64_t segmentId = 0x18538067;
  constexpr std::uint64_t informationId = 0x1549A966;
  constexpr std::uint64_t dateId = 0x4461;
  constexpr std::int64_t year2001 = 978307200;
  constexpr std::int64_t nanoseconds = 1000000000;
  const auto head = elementAt(file, 0, file.size());
  if (!head || head->id != headId)
    return std::nullopt;
  const auto segment = elementIn(file, head->end, file.size(), segmentId);
  if (!segment)
    return std::nullopt;
  const auto information = elementIn(file, segment->body, segment->end, informationId);
  if (!information)
    return std::nullopt;
  const auto date = elementIn(file, information->body, information->end, dateId);
  if (!date || date->end - date->body != 8)
    return std::nullopt;
  const std::string bytes = file.read(date->body, 8);
  const auto since2001 = static_cast<std::int64_t>(bigEndian(bytes));
  return recordingTimeOfUtc(year2001 + since2001 / nanoseconds);
}

std::optional<std::uint64_t> startOfMxf(BoundedFile& file) {
  using namespace std::string_view_literals;
  constexpr std::string_view headKey = "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02\x01\x01\x02"sv;
  constexpr std::size_t longestRunIn = 1 << 16;
  const std::size_t start = file.read(0, longestRunIn + headKey.size()).find(headKey);
  return start == std::string::npos ? std::nullopt : std::optional<std::uint64_t>(start);
}

std::optional<RecordingTime> recordingTimeOfMxf(BoundedFile& file) {
  using namespace std::string_view_literals;
  constexpr std::string_view setKey = "\x06\x0E\x2B\x34\x02\x53\x01\x01\x0D\x01\x01\x01\x01\x01"sv;
  constexpr char materialPackage = 0x36;
  constexpr std::size_t longestSet = 1 << 16;
  const auto start = startOfMxf(file);
  if (!start)
    return std::nullopt;
  std::uint64_t offset = *start;
  for (int count = 0; count < mostElements && offset < headEnd; ++count) {
    const auto piece = pieceAt(file, offset);
    if (!piece)
      break;
    if (startsWith(piece->key, setKey) && piece->key[setKey.size()] == materialPackage)
      return timeOfPackage(file.read(piece->body, static_cast<std::size_t>(std::min<std::uint64_t>(
                                                      piece->end - piece->body, longestSet))));
    offset = piece->end;
  }
  return std::nullopt;
}

std::optional<RecordingTime> recordingTimeOfAvi(BoundedFile& file) {
  constexpr std::size_t longestHead = 1 << 16;
  const std::string bytes = file.read(0, longestHead);
  const ByteReader head(bytes);
  if (head.part(0, 4) != "RIFF" || head.part(8, 4) != "AVI ")
    return std::nullopt;
  const std::size_t date = bytes.find("IDIT");
  if (date == std::string::npos)
    return std::nullopt;
  // Behind the chunk's length, which is small and begins with its lowest byte.
  return recordingTimeOfText(
      bytes.substr(std::min(date + 8, bytes.size()), head.byte(date + 4).value_or(0)));
}

}  // namespace tessarin
