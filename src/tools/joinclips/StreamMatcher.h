// Gives the streams of later recordings the numbers that those of the first one have.
#pragma once

#include <map>

#include "tools/joinclips/ProgrammeTables.h"
#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// Whoever reads the stream knows those of the first recording alone: pictures take the place of
// pictures, sound that of sound. What has another codec than what it would take the place of cannot
// be decoded with it and is lost, and so is sound that none takes. Tables that list other streams
// are not handed on; those that list further ones are, as whoever reads may still take them.
class StreamMatcher {
 public:
  // Changes the packet's number, and says what is to become of it.
  void place(TransportPacket& packet);
  // Those that whoever reads the stream knows.
  std::size_t streamCount() const { return first_.size(); }

 private:
  struct Target {
    int stream = 0;
    TransportPacket::Fate fate = TransportPacket::Fate::kept;
  };

  void match(TransportPacket& packet);
  void matchKind(StreamKind kind);
  bool isTaken(int stream) const;

  ProgrammeTables tables_;
  StreamList first_;
  int firstListStream_ = -1;
  std::map<int, Target> targets_;  // of the streams that the latest table lists
  StreamList latest_;
  int picturesCodec_ = 0;
};

}  // namespace tessarin::joining
