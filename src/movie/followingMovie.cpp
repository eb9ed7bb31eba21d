#include "movie/followingMovie.h"

#include <algorithm>
#include <optional>

#include "movie/FileBytes.h"
#include "movie/ebml.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr int mostParts = 10000;

// ---- Matroska

bool followsMatroska(FileBytes& bytes) {
  bool hasSegment = false;
  std::uint64_t position = 0;
  for (int part = 0; part < mostParts; ++part) {
    const auto element = ebml::elementAt(bytes, position);
    if (!element || element->isOpen)
      return false;
    if (hasSegment && element->id == ebml::header)
      return true;
    hasSegment = hasSegment || element->id == ebml::segment;
    position = element->begin + element->size;
  }
  return false;
}

// ---- MXF

// The first bytes of a partition's key, and the one behind them that tells a header.
bool isHeaderPartition(FileBytes& bytes, std::uint64_t position) {
  return bytes.number(position, 8) == 0x060E2B3402050101 &&
         bytes.number(position + 8, 6) == 0x0D0102010102;
}

struct Packet {
  std::uint64_t begin = 0;  // of its value
  std::uint64_t size = 0;
};

std::optional<Packet> packetAt(FileBytes& bytes, std::uint64_t position) {
  constexpr unsigned keyLength = 16;
  const std::uint64_t first = bytes.number(position + keyLength, 1);
  const bool isLong = (first & 0x80U) != 0;
  const auto more = isLong ? static_cast<unsigned>(first & 0x7FU) : 0;
  if (more > 8 || (isLong && more == 0))
    return std::nullopt;
  Packet packet;
  packet.begin = position + keyLength + 1 + more;
  packet.size = isLong ? bytes.number(position + keyLength + 1, more) : first;
  if (!bytes.failure().empty() || packet.size > bytes.size() - packet.begin)
    return std::nullopt;
  return packet;
}

bool followsMxf(FileBytes& bytes) {
  // Of a partition's value: versions, the size of a unit, the places of this and of the one before.
  constexpr std::uint64_t placeOfFooter = 24;
  const auto header = packetAt(bytes, 0);
  if (!header)
    return false;
  std::uint64_t position = bytes.number(header->begin + placeOfFooter, 8);
  for (int part = 0; position > 0 && part < mostParts; ++part) {
    if (isHeaderPartition(bytes, position))
      return true;
    const auto packet = packetAt(bytes, position);
    if (!packet)
      return false;
    position = packet->begin + packet->size;
  }
  return false;
}

// ---- Streams, which begin anywhere

constexpr std::uint64_t programPack = 0x000001BA;

// Packets of 188 bytes, or of 192 as camcorders write them; the last byte before them is there.
bool hasTransportPackets(FileBytes& bytes, std::uint64_t position) {
  constexpr std::uint64_t packets = 5;
  for (const std::uint64_t size : {188U, 192U}) {
    if (position > bytes.size() || bytes.size() - position < packets * size)
      continue;
    bool isAll = true;
    for (std::uint64_t packet = 0; packet < packets && isAll; ++packet)
      isAll = bytes.number(position + packet * size + size - 188, 1) == 0x47;
    if (isAll)
      return true;
  }
  return false;
}

bool endsAsTransportStream(FileBytes& bytes) {
  constexpr std::uint64_t packets = 5;
  for (const std::uint64_t size : {188U, 192U})
    if (bytes.size() > packets * size && hasTransportPackets(bytes, bytes.size() - packets * size))
      return true;
  return false;
}

// No packet of a program stream is longer.
constexpr std::uint64_t longestProgramPacket = 65'541;

// Whether a pack or a packet of a stream begins here, and something of the kind behind it.
bool isProgramPacket(FileBytes& bytes, std::uint64_t position) {
  constexpr std::uint64_t lastKind = 0x000001EF;
  constexpr std::uint64_t packHead = 14;
  const std::uint64_t start = bytes.number(position, 4);
  if (start < programPack || start > lastKind)
    return false;
  std::uint64_t end = position + 6 + bytes.number(position + 4, 2);
  if (start == programPack && bytes.number(position + 4, 1) >> 6 == 1)
    end = position + packHead + (bytes.number(position + packHead - 1, 1) & 7);
  else if (start == programPack)
    end = position + 12;  // of MPEG-1
  return end + 3 <= bytes.size() && bytes.number(end, 3) == 1;
}

bool hasProgramPackets(FileBytes& bytes, std::uint64_t position) {
  for (std::uint64_t at = position; at < position + longestProgramPacket; ++at)
    if (isProgramPacket(bytes, at))
      return true;
  return false;
}

// Where none begin any more, or near the end.
std::uint64_t endOfProgramStream(FileBytes& bytes) {
  constexpr std::uint64_t reach = longestProgramPacket + 16;
  if (bytes.size() <= 2 * reach)
    return 0;
  std::uint64_t inside = 0;
  std::uint64_t outside = bytes.size() - reach;
  if (hasProgramPackets(bytes, outside))
    return bytes.size() - 2 * reach;
  while (outside - inside > 1) {
    const std::uint64_t middle = inside + (outside - inside) / 2;
    (hasProgramPackets(bytes, middle) ? inside : outside) = middle;
  }
  return inside;
}

bool followsProgramStream(FileBytes& bytes) {
  constexpr std::uint64_t longestHead = 1024;  // of an atom that tells the kind
  if (endsAsTransportStream(bytes))
    return true;
  const std::uint64_t begin = endOfProgramStream(bytes);
  const std::uint64_t end = std::min(begin + 3 * longestProgramPacket, bytes.size() - 8);
  for (std::uint64_t at = begin; at < end; ++at)
    if (const std::uint64_t start = bytes.number(at, 4);
        start == ebml::header ||
        (start >= 8 && start < longestHead && bytes.letters(at + 4) == "ftyp"))
      return true;
  return false;
}

// ---- QuickTime's family

// A pack's first bytes could be an atom's length, but no atom has such letters.
bool beginsStream(FileBytes& bytes, std::uint64_t position) {
  const std::string type = bytes.letters(position + 4);
  const bool isAtom =
      std::all_of(type.begin(), type.end(), [](char letter) { return letter >= ' '; });
  return (!isAtom && bytes.number(position, 4) == programPack) ||
         hasTransportPackets(bytes, position);
}

bool followsMov(FileBytes& bytes) {
  bool hasIndex = false;
  std::uint64_t position = 0;
  for (int part = 0; part < mostParts && bytes.size() - position >= 8; ++part) {
    std::uint64_t size = bytes.number(position, 4);
    const std::string type = bytes.letters(position + 4);
    if (size == 1 && bytes.size() - position >= 16)
      size = bytes.number(position + 8, 8);
    if (hasIndex && (type == "ftyp" || beginsStream(bytes, position)))
      return true;
    hasIndex = hasIndex || type == "moov";
    if (size < 8 || !bytes.failure().empty() || size > bytes.size() - position)
      return false;
    position += size;
  }
  return false;
}

}  // namespace

bool anotherMovieFollows(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  constexpr std::int64_t leastBytes = 64;
  if (!facts || facts->state.size < leastBytes)
    return false;
  FileBytes bytes(file.number(), static_cast<std::uint64_t>(facts->state.size));
  if (bytes.number(0, 4) == ebml::header)
    return followsMatroska(bytes);
  if (isHeaderPartition(bytes, 0))
    return followsMxf(bytes);
  if (bytes.number(0, 4) == programPack)
    return followsProgramStream(bytes);
  return bytes.letters(4) == "ftyp" && followsMov(bytes);
}

}  // namespace tessarin
