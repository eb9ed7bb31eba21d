#include "tools/joinclips/ProgrammeTables.h"

#include <algorithm>
#include <utility>

namespace tessarin::joining {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t lengthEnd = 3;  // of a table's first bytes, with its length
constexpr std::size_t headEnd = 8;    // of what every table begins with
constexpr std::size_t sumSize = 4;

// Of MPEG-2: 0x04C11DB7, the highest bit first; 0 behind a table with its own.
std::uint32_t checkSum(Bytes bytes) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    sum ^= static_cast<std::uint32_t>(byte) << 24;
    for (int bit = 0; bit < 8; ++bit)
      sum = sum << 1 ^ ((sum & 0x80000000) != 0 ? 0x04C11DB7U : 0U);
  }
  return sum;
}

std::size_t lengthAt(Bytes bytes, std::size_t at) {
  return (bytes[at] & 0xFU) << 8 | bytes[at + 1];
}

int numberAt(Bytes bytes, std::size_t at) {
  return (bytes[at] & 0x1F) << 8 | bytes[at + 1];
}

constexpr int codecMpegSound = 0x03;
constexpr int codecAac = 0x0F;
constexpr int codecAc3 = 0x81;
constexpr int codecEac3 = 0x87;
constexpr int codecPrivate = 0x06;
constexpr int otherSound = 0x100;  // private streams with further sound

// What broadcasts say of sound in private streams, by the tags of descriptors.
int privateCodec(Bytes descriptors) {
  for (std::size_t at = 0; at + 2 <= descriptors.size(); at += 2U + descriptors[at + 1])
    switch (descriptors[at]) {
      case 0x6A:
        return codecAc3;
      case 0x7A:
        return codecEac3;
      case 0x7C:
        return codecAac;
      case 0x7B:
        return otherSound;
      default:
        break;
    }
  return codecPrivate;
}

ListedStream listed(int number, int type, Bytes descriptors) {
  switch (type) {
    case 0x01:
    case 0x02:
      return {number, StreamKind::pictures, 0x02};
    case 0x10:
    case 0x1B:
    case 0x24:
    case 0xEA:
      return {number, StreamKind::pictures, type};
    case 0x03:
    case 0x04:
      return {number, StreamKind::sound, codecMpegSound};
    case 0x0F:
    case 0x11:
    case 0x80:
    case 0x81:
    case 0x82:
    case 0x83:
    case 0x84:
    case 0x85:
    case 0x86:
    case 0x87:
      return {number, StreamKind::sound, type};
    case codecPrivate: {
      const int codec = privateCodec(descriptors);
      return {number, codec == codecPrivate ? StreamKind::other : StreamKind::sound, codec};
    }
    default:
      return {number, StreamKind::other, type};
  }
}

}  // namespace

std::optional<std::vector<std::uint8_t>> TableCollector::add(Bytes payload, bool begins) {
  if (begins) {
    // What a table before it ends with comes first; it is left out, for the table is repeated.
    const std::size_t start = payload.empty() ? 0 : 1U + payload[0];
    bytes_.clear();
    isOpen_ = start < payload.size();
    payload = payload.subspan(std::min(start, payload.size()));
  }
  if (!isOpen_)
    return std::nullopt;
  bytes_.insert(bytes_.end(), payload.begin(), payload.end());
  if (bytes_.size() < lengthEnd)
    return std::nullopt;
  const std::size_t size = lengthEnd + lengthAt(bytes_, 1);
  if (bytes_.size() < size)
    return std::nullopt;
  isOpen_ = false;
  bytes_.resize(size);
  if (size < headEnd + sumSize || checkSum(bytes_) != 0)
    return std::nullopt;
  bytes_.resize(size - sumSize);
  return std::exchange(bytes_, {});
}

bool ProgrammeTables::add(const TransportPacket& packet) {
  const int stream = packet.stream();
  if (packet.isUnreadable() || !packet.hasPayload() || (stream != 0 && stream != listStream_))
    return false;
  const auto table = (stream == 0 ? programmes_ : list_).add(packet.payload(), packet.beginsUnit());
  constexpr std::uint8_t isValidNow = 1;
  if (!table || ((*table)[5] & isValidNow) == 0)
    return false;
  if (stream != 0)
    return readStreams(*table);
  readProgrammes(*table);
  return false;
}

void ProgrammeTables::readProgrammes(Bytes table) {
  constexpr std::size_t entrySize = 4;
  if (table[0] != 0)
    return;
  int found = -1;
  int count = 0;
  for (std::size_t at = headEnd; at + entrySize <= table.size(); at += entrySize)
    if (table[at] != 0 || table[at + 1] != 0) {
      found = numberAt(table, at + 2);
      ++count;
    }
  listStream_ = count == 1 ? found : -1;
}

bool ProgrammeTables::readStreams(Bytes table) {
  constexpr std::uint8_t kindOfTable = 2;
  constexpr std::size_t entrySize = 5;
  constexpr std::size_t fixed = headEnd + 4;
  if (table[0] != kindOfTable || table.size() < fixed)
    return false;
  StreamList streams;
  for (std::size_t at = fixed + lengthAt(table, headEnd + 2); at + entrySize <= table.size();) {
    const std::size_t more = lengthAt(table, at + 3);
    const std::size_t end = at + entrySize + more;
    if (end > table.size())
      return false;
    streams.push_back(
        listed(numberAt(table, at + 1), table[at], table.subspan(at + entrySize, more)));
    at = end;
  }
  streams_ = std::move(streams);
  return true;
}

}  // namespace tessarin::joining
