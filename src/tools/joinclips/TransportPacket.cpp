#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

namespace {

constexpr std::size_t headSize = 4;

std::size_t payloadOffset(const TransportPacket& packet) {
  if (!packet.hasPayload())
    return TransportPacket::size;
  const bool hasField = (packet.bytes[3] & 0x20) != 0;
  const std::size_t offset = headSize + (hasField ? 1U + packet.bytes[headSize] : 0U);
  return offset < TransportPacket::size ? offset : TransportPacket::size;
}

bool hasClock(const TransportPacket& packet) {
  constexpr std::size_t clockEnd = 7;  // of the field's flags and the clock
  return (packet.bytes[3] & 0x20) != 0 && packet.bytes[4] >= clockEnd &&
         packet.bytes[4] <= TransportPacket::size - headSize - 1 && (packet.bytes[5] & 0x10) != 0;
}

// Four bits, then 33 with a marker bit behind the first three and every fifteen.
Time timeAt(std::span<const std::uint8_t> bytes) {
  return static_cast<Time>(bytes[0] >> 1 & 7) << 30 | static_cast<Time>(bytes[1]) << 22 |
         static_cast<Time>(bytes[2] >> 1) << 15 | static_cast<Time>(bytes[3]) << 7 | bytes[4] >> 1;
}

void setTimeAt(std::span<std::uint8_t> bytes, Time time) {
  bytes[0] = static_cast<std::uint8_t>((bytes[0] & 0xF1) | (time >> 30 & 7) << 1);
  bytes[1] = static_cast<std::uint8_t>(time >> 22);
  bytes[2] = static_cast<std::uint8_t>((bytes[2] & 1) | (time >> 15 & 0x7F) << 1);
  bytes[3] = static_cast<std::uint8_t>(time >> 7);
  bytes[4] = static_cast<std::uint8_t>((bytes[4] & 1) | (time & 0x7F) << 1);
}

constexpr std::size_t shownAt = 9;
constexpr std::size_t decodedAt = 14;
constexpr std::size_t timeSize = 5;

}  // namespace

std::span<std::uint8_t> TransportPacket::payload() {
  return std::span(bytes).subspan(payloadOffset(*this));
}

std::span<const std::uint8_t> TransportPacket::payload() const {
  return std::span(bytes).subspan(payloadOffset(*this));
}

std::optional<Time> TransportPacket::clock() const {
  if (!hasClock(*this))
    return std::nullopt;
  return static_cast<Time>(bytes[6]) << 25 | static_cast<Time>(bytes[7]) << 17 |
         static_cast<Time>(bytes[8]) << 9 | static_cast<Time>(bytes[9]) << 1 | bytes[10] >> 7;
}

void TransportPacket::shiftClock(Time by) {
  const auto clock = this->clock();
  if (!clock)
    return;
  const Time time = wrapped(*clock + by);
  int shift = 25;
  for (const std::size_t byte : {6U, 7U, 8U, 9U}) {
    bytes[byte] = static_cast<std::uint8_t>(time >> shift);
    shift -= 8;
  }
  bytes[10] = static_cast<std::uint8_t>((bytes[10] & 0x7F) | (time & 1) << 7);
}

std::optional<UnitHead> unitHead(std::span<const std::uint8_t> payload) {
  constexpr std::size_t leastSize = 9;
  if (payload.size() < leastSize || payload[0] != 0 || payload[1] != 0 || payload[2] != 1 ||
      (payload[6] & 0xC0) != 0x80)
    return std::nullopt;
  UnitHead head;
  head.kind = payload[3];
  head.length = leastSize + payload[8];
  const int times = payload[7] >> 6;
  if (times >= 2 && payload[8] >= timeSize && payload.size() >= shownAt + timeSize)
    head.shown = timeAt(payload.subspan(shownAt));
  if (times == 3 && payload[8] >= 2 * timeSize && payload.size() >= decodedAt + timeSize)
    head.decoded = timeAt(payload.subspan(decodedAt));
  return head;
}

std::optional<UnitHead> unitHead(const TransportPacket& packet) {
  if (packet.isUnreadable() || !packet.beginsUnit())
    return std::nullopt;
  return unitHead(packet.payload());
}

void shiftTimes(std::span<std::uint8_t> payload, const UnitHead& head, Time by) {
  if (head.shown)
    setTimeAt(payload.subspan(shownAt), wrapped(*head.shown + by));
  if (head.decoded)
    setTimeAt(payload.subspan(decodedAt), wrapped(*head.decoded + by));
}

}  // namespace tessarin::joining
