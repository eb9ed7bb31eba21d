// Finds where a recording ends and another one begins in a transport stream.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "tools/joinclips/TransportPacket.h"

namespace tessarin::joining {

// Takes the packets in order, in parts. What comes after endsPart() belongs to another recording.
class PartTarget {
 public:
  virtual void take(const TransportPacket& packet) = 0;
  // The packets behind the last picture of the part come next, up to the end of the part.
  virtual void picturesAreOver() = 0;
  virtual void endsPart() = 0;
  // From here on the clock of the pictures is late by so much; `isOfAll`: that of all may be.
  virtual void stepsClock(Time by, bool isOfAll) = 0;

 protected:
  ~PartTarget() = default;
};

// The clock is that of the pictures: the times at which they are decoded, which never go back in a
// recording. Where they do, another one begins, and the programme's own clock jumps with them
// (sound does, where it has none): where that goes on the times are damaged. A single time that is
// off proves nothing, so two in a row have to agree. Where they leap forward, as they do at a hole
// of a damaged recording, too, another one begins only if it begins as files do: at the border of
// two of them, or with the table of programmes, a whole unit of every stream and a picture that
// decoding can begin with; and not where the pictures keep the pace of those before while the
// packets of each stream are counted on from elsewhere, for that is a hole. Where the tables list
// pictures for another decoder there is always a joint.
//
// Where the clock goes back and all streams are counted on, nothing begins: the clock of the
// recording was set, or the times are damaged from there on. That is mended, as far as something
// tells by how much, and so is where it comes back to what it was.
//
// The packets since the last picture are kept back meanwhile; what is first out of order among
// them (a counter, a time of arrival, a clock, a file's border) is where the joint is.
class JointFinder {
 public:
  explicit JointFinder(PartTarget& target) : target_(target) {}

  void add(const TransportPacket& packet);
  // Hands on what is kept back.
  void finish();

 private:
  // What the packets up to a place say of the next ones.
  struct State {
    std::array<std::int8_t, 8192> counters{};  // plus one; 0: none yet
    std::map<int, Time> orders;                // of units, by stream
    std::map<int, Time> clocks;
    std::uint32_t stamp = 0;
    int steady = 0;  // stamps in a row that come soon behind each other
  };

  void addPicture(Time order, bool isExact);
  bool follows(Time order, bool isExact, Time before) const;
  bool isDecidable() const;
  void settle();
  bool isJoint() const;
  // Whether packets are missing, of any stream; that none are more than the pictures' have to tell.
  enum class Counting { broken, goesOn, unknown };
  Counting counting() const;
  bool beginsWithKey() const;
  bool isBackAgain(Time step) const;
  std::optional<Time> clockStep() const;
  void stepClock(Time by);
  void noteLeap(Time step);
  State stateAt(std::size_t place) const;
  std::optional<bool> othersGoOn(std::size_t place) const;
  bool isHole(std::size_t place) const;
  bool hasOddity() const;
  std::size_t firstOddity() const;
  std::size_t withTables(std::size_t place) const;
  bool beginsLikeAFile(std::size_t place) const;
  void handOn();
  void split(std::size_t place);
  static bool isOdd(const TransportPacket& packet, const State& state);
  static void pass(const TransportPacket& packet, State& state);

  PartTarget& target_;
  int pictures_ = -1;  // the stream that is the clock
  std::optional<Time> last_;
  bool isExact_ = false;  // it has times of its own for decoding
  int inOrder_ = 0;       // pictures since it went back within a part
  Time pace_ = 0;         // from the picture before to the latest one
  Time mended_ = 0;       // by which the clock of the pictures was corrected
  Time leapt_ = 0;        // how far it leapt forward without that
  bool isOver_ = false;   // no more packets come
  // The time of a picture that does not follow, where it is, and how many follow it, up to when.
  std::optional<Time> candidate_;
  std::size_t candidatePlace_ = 0;
  int agreeing_ = 0;
  Time agreed_ = 0;
  std::vector<TransportPacket> kept_;
  State state_;  // before those that are kept back
};

}  // namespace tessarin::joining
