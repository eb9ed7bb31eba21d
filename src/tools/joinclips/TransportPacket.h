// One packet of a transport stream (ISO/IEC 13818-1) and the times in it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tessarin::joining {

// Times of pictures and sound count 90,000 a second and begin again after 33 bits, 26.5 hours.
using Time = std::int64_t;
inline constexpr Time second = 90000;

inline Time wrapped(Time time) {
  return time & 0x1FFFFFFFF;
}
// How much later the first is, by the shorter way round.
inline Time difference(Time later, Time earlier) {
  const Time forward = wrapped(later - earlier);
  return forward < 0x100000000 ? forward : forward - 0x200000000;
}

// When packets of 192 bytes arrived: 27 million a second, 30 bits.
inline constexpr std::uint32_t stampMask = 0x3FFFFFFF;

struct TransportPacket {
  static constexpr std::size_t size = 188;
  static constexpr std::size_t stampedSize = 192;
  static constexpr int emptyStream = 0x1FFF;  // of packets that only fill

  std::array<std::uint8_t, size> bytes{};
  std::uint32_t stamp = 0;  // the four bytes before it, where packets have 192
  std::uint64_t place = 0;  // in what was read
  bool beginsFile = false;  // the first one of a further file
  // How many more would have been before it, where something else is in their place.
  std::size_t overwritten = 0;

  // What becomes of it by the streams that those who read know: it is not handed on where it only
  // would confuse them, or where it is lost to them.
  enum class Fate : std::uint8_t { kept, dropped, lost };
  Fate fate = Fate::kept;
  bool changesStreams = false;  // it lists other streams than before
  bool changesCodec = false;    // and pictures for another decoder than before
  bool addsSound = false;       // it lists sound, and there was none before

  int stream() const { return (bytes[1] & 0x1F) << 8 | bytes[2]; }
  void setStream(int stream) {
    bytes[1] = static_cast<std::uint8_t>((bytes[1] & 0xE0) | (stream >> 8 & 0x1F));
    bytes[2] = static_cast<std::uint8_t>(stream);
  }
  // Nothing in it is to be believed: damaged on the way, or scrambled.
  bool isUnreadable() const { return (bytes[1] & 0x80) != 0 || (bytes[3] & 0xC0) != 0; }
  bool beginsUnit() const { return (bytes[1] & 0x40) != 0; }
  // Its stream may be counted on from elsewhere here (the discontinuity indicator).
  bool isNewlyCounted() const {
    return (bytes[3] & 0x20) != 0 && bytes[4] > 0 && (bytes[5] & 0x80) != 0;
  }
  bool hasPayload() const { return (bytes[3] & 0x10) != 0; }
  int counter() const { return bytes[3] & 0xF; }
  void setCounter(int counter) {
    bytes[3] = static_cast<std::uint8_t>((bytes[3] & 0xF0) | (counter & 0xF));
  }
  // Empty where there is none, or its place is outside the packet.
  std::span<std::uint8_t> payload();
  std::span<const std::uint8_t> payload() const;

  // The programme's clock in ticks of `Time`.
  std::optional<Time> clock() const;
  void shiftClock(Time by);
};

// What a unit of pictures, sound or data begins with (a PES header).
struct UnitHead {
  int kind = 0;            // its stream_id
  std::size_t length = 0;  // bytes before the content
  std::optional<Time> shown;
  std::optional<Time> decoded;  // where that is another time

  bool isOfPictures() const { return (kind & 0xF0) == 0xE0; }
  std::optional<Time> order() const { return decoded ? decoded : shown; }
};

// Nothing when no unit with times of its own begins here.
std::optional<UnitHead> unitHead(std::span<const std::uint8_t> payload);
std::optional<UnitHead> unitHead(const TransportPacket& packet);
// Of a payload that begins with such a head.
void shiftTimes(std::span<std::uint8_t> payload, const UnitHead& head, Time by);

}  // namespace tessarin::joining
