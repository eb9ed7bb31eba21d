// Gives the packets of parts new times, so that each part goes on where the one before ends.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "tools/joinclips/JointFinder.h"
#include "tools/joinclips/PictureLoss.h"
#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// The first picture of a part comes one picture behind the last one of the part before; pictures
// that cannot be decoded without what was before them are left out. Sound keeps its place beside
// its pictures: where it would lie over the sound of the part before, whole frames are left out,
// and what remains (less than half a frame) is taken up by moving the sound of the part, so that
// neither gaps nor overlaps come about and nothing adds up. Where a part's sound begins later or
// ends earlier than its pictures the pause stays; what it has behind its last picture goes.
//
// The first part comes out as it is, but that a unit of sound is handed on when it is whole.
// Counters go on at a joint, and what is missing inside a part stays visible in them.
class PartShifter final : public PartTarget {
 public:
  using Write = std::function<void(const TransportPacket&)>;

  explicit PartShifter(Write write) : write_(std::move(write)) {}

  void take(const TransportPacket& packet) override;
  void picturesAreOver() override { isTail_ = true; }
  void endsPart() override;
  void stepsClock(Time by, bool isOfAll) override;
  // Behind the last packet.
  void finish();

  struct Part {
    std::uint64_t place = 0;  // of its first packet in what was read
    double seconds = 0;       // of its pictures
    bool isLeftOut = false;   // its pictures are for another decoder
    bool hasWrongTimes = false;
    bool hasClockSteps = false;  // its clock was set in it, which is mended
    bool addsSound = false;      // before it there was none
    // Seconds of holes in it.
    double picturesMissing = 0;
    double soundMissing = 0;
    double picturesLost = 0;  // of those that were in missing packets
    bool isTorn = false;      // of DV: its frames have to be looked for
  };
  // That are over; of the last one after finish().
  const std::vector<Part>& parts() const { return parts_; }

 private:
  struct Stream {
    bool isUnits = false;     // of pictures, sound or data with times
    bool mayBeSound = false;  // by the kind of its units
    bool awaitsUnit = false;  // in this part none has begun yet
    bool isPlaced = true;     // its shift is settled for this part
    Time shift = 0;           // of the times of its units
    Time step = 0;            // that is added to it where its own clock was set
    int written = -1;         // the counter of its last packet
    int counterShift = 0;
    bool isBroken = false;              // packets were left out: the next one goes on counting
    std::vector<TransportPacket> unit;  // of sound, not handed on yet
    double frame = 0;                   // ticks of a frame of sound; 0: it is none, or unknown
    bool isPlain = false;               // samples without frames
    std::optional<Time> end;            // of its sound so far, as it is written
  };
  // A unit of pictures at the beginning of a part.
  struct Beginning {
    std::size_t place = 0;
    std::optional<Time> shown;
    bool isOut = false;
    std::vector<std::uint8_t> start;  // its first bytes
  };

  void leaveOut(const TransportPacket& packet);
  bool findsBeginning(const TransportPacket& packet);
  void lookForKey();
  void begin();
  void place(const TransportPacket& packet);
  static void findStep(Stream& stream, Time shown);
  void placeSound(Stream& stream, bool isLast);
  void notePlainSound(Stream& stream, const UnitHead& head, std::span<const std::uint8_t> content);
  void notePlainGap(Time gap, Time duration);
  void writeUnit(Stream& stream);
  void writeCut(Stream& stream, std::vector<std::uint8_t> unit);
  void write(Stream& stream, TransportPacket packet);
  void notePicture(Time shown);
  bool followsLatest(Time shown);
  Time pictureEnd() const;
  void noteSound(const Stream& stream, Time begin);
  void closePart();

  Write write_;
  std::map<int, Stream> streams_;
  int pictures_ = -1;              // the stream from which all others keep their distance
  const Stream* sound_ = nullptr;  // the first one
  std::vector<Part> parts_;
  Time joint_ = 0;  // where the next part begins, as it is written

  // Of the part in hand.
  std::optional<std::uint64_t> partPlace_;
  bool isBegun_ = true;  // its shift is known
  bool isTail_ = false;
  Time shift_ = 0;
  std::vector<TransportPacket> kept_;  // until its shift is known
  std::vector<Beginning> beginnings_;
  std::optional<std::size_t> key_;
  bool isClosed_ = false;
  std::optional<Time> firstShown_;
  std::vector<Time> latest_;      // when its latest pictures are shown, in order
  std::vector<Time> beforeLeap_;  // the same, before their times leapt
  Time missingBeforeLeap_ = 0;
  bool isLeftOut_ = false;
  bool hasLostSound_ = false;
  bool hasWrongTimes_ = false;
  bool hasClockSteps_ = false;
  PictureLoss loss_;
  bool addsSound_ = false;
  Time picturesMissing_ = 0;
  Time soundMissing_ = 0;
  Time plainGaps_ = 0;  // between units of plain sound, less what lies on each other
  Time plainUnit_ = 0;  // how long one of them is

  std::optional<std::uint32_t> stamp_;  // the last one written
  std::uint32_t stampShift_ = 0;
  bool isStampBroken_ = false;
};

}  // namespace tessarin::joining
