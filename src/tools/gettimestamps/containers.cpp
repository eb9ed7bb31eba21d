// Dates in Matroska and AVI files.
#include "tools/gettimestamps/containers.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/ByteReader.h"

namespace tessarin {

namespace {

// What has been asked for lies before the pictures.
constexpr std::uint64_t headEnd = std::uint64_t{4} << 20;
constexpr int mostElements = 4096;

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
  const std::uint64_t length = numberOfBytes(*size) & (mark - 1);
  const std::uint64_t body = offset + idLength + sizeLength;
  // All bits set: as long as there is something.
  if (body > end || (length != mark - 1 && length > end - body))
    return std::nullopt;
  return Element{numberOfBytes(*id), body, length == mark - 1 ? end : body + length};
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
  const auto since2001 = static_cast<std::int64_t>(numberOfBytes(bytes));
  return recordingTimeOfUtc(year2001 + since2001 / nanoseconds);
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
