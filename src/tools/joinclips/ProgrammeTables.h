// Which streams a transport stream says to have (its tables PAT and PMT, ISO/IEC 13818-1).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

enum class StreamKind { pictures, sound, other };

struct ListedStream {
  int number = 0;
  StreamKind kind = StreamKind::other;
  // The same for two streams that one decoder reads.
  int codec = 0;

  bool operator==(const ListedStream&) const = default;
};

// In the order of the table.
using StreamList = std::vector<ListedStream>;

// The bytes of a table out of the packets that it comes in.
class TableCollector {
 public:
  // A whole table whose check sum is right, without that, when the packet ends one.
  std::optional<std::vector<std::uint8_t>> add(std::span<const std::uint8_t> payload, bool begins);

 private:
  std::vector<std::uint8_t> bytes_;
  bool isOpen_ = false;
};

class ProgrammeTables {
 public:
  // True when the packet says which streams there are, as before or otherwise.
  bool add(const TransportPacket& packet);

  // Of the table that lists the streams; -1 while it is not known, and where there are several
  // programmes.
  int listStream() const { return listStream_; }
  const StreamList& streams() const { return streams_; }

 private:
  void readProgrammes(std::span<const std::uint8_t> table);
  bool readStreams(std::span<const std::uint8_t> table);

  TableCollector programmes_;
  TableCollector list_;
  int listStream_ = -1;
  StreamList streams_;
};

}  // namespace tessarin::joining
