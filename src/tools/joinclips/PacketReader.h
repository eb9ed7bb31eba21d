// Reads the packets of a transport stream out of a file.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/Descriptor.h"
#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// Packets of 188 bytes, of 192 as camcorders write them, or of both kinds behind each other. Bytes
// between them that are none are passed over.
class PacketReader {
 public:
  // `from`: the byte at which the reading begins. Fails, too, where no packets are near that.
  static Outcome<PacketReader> open(const std::string& path, std::uint64_t from = 0);

  // Of the packets at hand.
  std::size_t packetSize() const { return step_; }
  // Whether a movie of another format lies among what was passed over.
  bool hasOtherFormat() const { return hasOtherFormat_; }
  // Nothing at the end. Fails when the file cannot be read any further.
  Outcome<std::optional<TransportPacket>> next();

 private:
  explicit PacketReader(Descriptor file) : file_(std::move(file)) {}
  Outcome<bool> fill();
  bool findPackets();
  bool isPacket(std::size_t step, std::size_t following) const;
  bool goesOn() const;
  bool beginsOtherFormat() const;
  std::size_t left() const { return buffer_.size() - at_; }

  Descriptor file_;
  std::vector<std::uint8_t> buffer_;
  std::size_t at_ = 0;
  std::uint64_t read_ = 0;  // bytes of the file
  std::uint64_t end_ = 0;   // of the latest packet
  std::size_t step_ = TransportPacket::stampedSize;
  std::uint32_t stamp_ = 0;  // of the latest packet that has one
  bool isOver_ = false;
  bool hasOtherFormat_ = false;
};

}  // namespace tessarin::joining
