#include "tools/gettimestamps/timesInStreams.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "movie/timeCode.h"
#include "tools/gettimestamps/ByteReader.h"
#include "tools/gettimestamps/cameraMessage.h"

namespace tessarin {

namespace {

constexpr char syncByte = 0x47;
constexpr std::size_t packetLength = 188;

// How packets lie in the bytes.
struct PacketGrid {
  std::size_t first = 0;  // offset of the first sync byte
  std::size_t step = 0;   // 0: no transport stream
};

// Whether a packet can begin here: not scrambled, and holding something. The time before each
// packet of 192 bytes may look like a sync byte for many packets in a row, but hardly like this.
bool looksLikePacket(std::string_view bytes) {
  if (bytes.front() != syncByte)
    return false;
  const int control = bytes.size() > 3 ? bytes[3] & 0xF0 : 0x10;
  return control != 0 && control < 0x40;
}

bool fits(std::string_view bytes, const PacketGrid& grid) {
  constexpr std::size_t enough = 4;  // packets in a row
  std::size_t offset = grid.first;
  std::size_t found = 0;
  for (; found < enough && offset < bytes.size(); ++found, offset += grid.step)
    if (!looksLikePacket(bytes.substr(offset)))
      return false;
  return found > 0;
}

PacketGrid findPackets(std::string_view bytes) {
  constexpr std::size_t farthest = 4096;
  for (std::size_t first = 0; first < std::min(bytes.size(), farthest); ++first)
    for (const std::size_t step : {std::size_t{192}, packetLength, std::size_t{204}})
      if (fits(bytes, {first, step}))
        return {first, step};
  return {};
}

struct Packet {
  bool startsUnit = false;
  std::uint32_t stream = 0;
  std::string_view payload;
};

std::optional<Packet> parsePacket(const ByteReader& bytes) {
  const auto head = bytes.long32(0);
  if (!head || *head >> 24 != static_cast<std::uint8_t>(syncByte))
    return std::nullopt;
  const bool damaged = (*head & 0x800000) != 0;
  const bool hasPayload = (*head & 0x10) != 0;
  const bool hasAdaptation = (*head & 0x20) != 0;
  if (damaged || !hasPayload)
    return std::nullopt;
  const std::size_t skipped = hasAdaptation ? 1 + bytes.byte(4).value_or(0) : 0;
  const auto payload = bytes.part(4 + skipped, packetLength - std::min(packetLength, 4 + skipped));
  if (!payload)
    return std::nullopt;
  return Packet{(*head & 0x400000) != 0, *head >> 8 & 0x1FFF, *payload};
}

// The length of the head of a unit that carries video; nothing for other units.
std::optional<std::size_t> videoHeadLength(const ByteReader& unit) {
  constexpr std::uint32_t firstVideo = 0x1E0;
  constexpr std::uint32_t lastVideo = 0x1EF;
  const auto start = unit.long32(0);
  const auto rest = unit.byte(8);
  if (!start || !rest || *start < firstVideo || *start > lastVideo)
    return std::nullopt;
  return 9 + *rest;
}

// Without the bytes 03 that keep two zero bytes from looking like a start code.
std::string withoutEmulationPrevention(std::string_view unit) {
  std::string plain;
  plain.reserve(unit.size());
  std::size_t zeros = 0;
  for (const char byte : unit) {
    if (zeros >= 2 && byte == 3) {
      zeros = 0;
      continue;
    }
    zeros = byte == 0 ? zeros + 1 : 0;
    plain += byte;
  }
  return plain;
}

// A number written as bytes FF and a last smaller one; moves the offset behind it.
std::optional<std::size_t> readRunningNumber(const ByteReader& bytes, std::size_t& offset) {
  std::size_t value = 0;
  while (const auto byte = bytes.byte(offset)) {
    ++offset;
    value += *byte;
    if (*byte != 255)
      return value;
  }
  return std::nullopt;
}

void addFactsOfEnhancementUnit(std::string_view unit, StreamFacts& facts) {
  constexpr std::size_t userData = 5;
  const std::string plain = withoutEmulationPrevention(unit);
  const ByteReader bytes(plain);
  std::size_t offset = 1;  // behind the unit's type
  while (offset < bytes.size() && !facts.time) {
    const auto type = readRunningNumber(bytes, offset);
    const auto length = readRunningNumber(bytes, offset);
    if (!type || !length)
      break;
    // A message whose end was lost may still hold its beginning.
    const std::string_view message = bytes.from(offset).view().substr(0, *length);
    if (*type == userData)
      addFactsOfCameraMessage(message, facts);
    offset += *length;
  }
}

}  // namespace

std::string videoOfTransportStream(std::string_view bytes) {
  std::string video;
  std::optional<std::uint32_t> stream;
  std::size_t headRest = 0;  // bytes of a unit's head that reach into the next packet
  PacketGrid grid = findPackets(bytes);
  for (std::size_t offset = grid.first; grid.step > 0 && offset < bytes.size();) {
    if (bytes[offset] != syncByte) {
      // ByteReader were lost or added here.
      grid = findPackets(bytes.substr(offset));
      offset += grid.first;
      continue;
    }
    const auto packet = parsePacket(ByteReader(bytes.substr(offset, packetLength)));
    offset += grid.step;
    if (!packet || (stream && packet->stream != *stream))
      continue;
    if (packet->startsUnit) {
      const auto head = videoHeadLength(ByteReader(packet->payload));
      if (!head)
        continue;
      stream = packet->stream;
      headRest = *head;
    }
    if (!stream)
      continue;
    const std::size_t skipped = std::min(headRest, packet->payload.size());
    headRest -= skipped;
    video += packet->payload.substr(skipped);
  }
  return video;
}

StreamFacts factsInH264(std::string_view stream) {
  constexpr std::string_view startCode("\0\0\1", 3);
  constexpr int enhancement = 6;
  StreamFacts facts;
  std::size_t start = stream.find(startCode);
  while (start != std::string_view::npos && !facts.time) {
    const std::size_t begin = start + startCode.size();
    start = stream.find(startCode, begin);
    const std::string_view unit = stream.substr(begin, start - begin);
    if (!unit.empty() && (unit[0] & 31) == enhancement)
      addFactsOfEnhancementUnit(unit, facts);
  }
  return facts;
}

StreamFacts factsInBytes(std::string_view bytes) {
  // 255 tags, and what keeps them from looking like start codes.
  constexpr std::size_t longest = 2048;
  StreamFacts facts;
  for (std::size_t start = bytes.find(cameraMessage);
       start != std::string_view::npos && !facts.time; start = bytes.find(cameraMessage, start + 1))
    addFactsOfCameraMessage(withoutEmulationPrevention(bytes.substr(start, longest)), facts);
  return facts;
}

std::string timeCodeOfBytes(std::string_view bytes, bool mayDrop) {
  constexpr std::size_t count = 4;
  constexpr std::array<std::uint8_t, count> masks = {0x3F, 0x7F, 0x7F, 0x3F};
  if (bytes.size() < count || bytes.substr(0, count) == "\xFF\xFF\xFF\xFF")
    return {};
  std::array<int, count> numbers{};
  for (std::size_t index = 0; index < count; ++index) {
    const auto number = numberOfBcd(static_cast<std::uint8_t>(bytes[index]) & masks.at(index));
    if (!number)
      return {};
    numbers.at(index) = *number;
  }
  const bool drops = mayDrop && (static_cast<std::uint8_t>(bytes[0]) & 0x40) != 0;
  const std::string text = fmt::format("{:02}:{:02}:{:02}{}{:02}", numbers[3], numbers[2],
                                       numbers[1], drops ? ';' : ':', numbers[0]);
  return isTimeCode(text) ? text : "";
}

std::string timeCodeOfMpeg(std::string_view bytes) {
  constexpr std::string_view sequenceStart("\0\0\1\xB3", 4);
  constexpr std::string_view groupStart("\0\0\1\xB8", 4);
  constexpr std::string_view pictureStart("\0\0\1\0", 4);
  constexpr std::array rates = {0.0, 24.0, 24.0, 25.0, 30.0, 30.0, 50.0, 60.0, 60.0};
  constexpr std::size_t headers = 4096;  // they stand near each other
  const std::size_t sequence = bytes.find(sequenceStart);
  if (sequence == std::string_view::npos)
    return {};
  const std::string_view near = bytes.substr(sequence, headers);
  const std::size_t group = near.find(groupStart);
  const std::size_t picture = near.find(pictureStart, std::min(group, near.size()));
  const ByteReader reader(near);
  const std::uint32_t code = reader.byte(7).value_or(0) & 15;
  if (group == std::string_view::npos || picture == std::string_view::npos || code >= rates.size())
    return {};
  // Drop flag 1, hours 5, minutes 6, a one, seconds 6, pictures 6, closed 1.
  const std::uint32_t bits = reader.long32(group + 4).value_or(0);
  const std::string text =
      fmt::format("{:02}:{:02}:{:02}{}{:02}", bits >> 26 & 31, bits >> 20 & 63, bits >> 13 & 63,
                  bits >> 31 != 0 ? ';' : ':', bits >> 7 & 63);
  const auto first = timeCode(text, rates.at(code));
  if (!first || first->firstFrame == 0)
    return {};
  // Pictures before the first whole one lack what they are made from.
  const bool isClosed = (bits & 0x40) != 0;
  const std::uint32_t hidden = isClosed ? 0 : reader.short16(picture + 4).value_or(0) >> 6;
  return timeCodeText(laterTimeCode(*first, hidden));
}

Outcome<RecordingTime> recordingTimeOfMoi(std::string_view bytes) {
  const ByteReader file(bytes);
  if (file.part(0, 2) != "V6")
    return Failure{"this is no MOI file"};
  const auto year = file.short16(6);
  const auto milliseconds = file.short16(12);
  if (!year || !milliseconds)
    return Failure{"the MOI file is cut short"};
  const auto field = [&](std::size_t offset) {
    return static_cast<int>(file.byte(offset).value_or(0));
  };
  const RecordingTime time{static_cast<int>(*year),
                           field(8),
                           field(9),
                           field(10),
                           field(11),
                           static_cast<int>(*milliseconds / 1000)};
  if (!time.isValid())
    return Failure{"the MOI file holds no recording time"};
  return time;
}

}  // namespace tessarin
