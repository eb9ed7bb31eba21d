// How long the streams of a source are, by its packets.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// The packets of one stream from the first key frame on, without those that an edit list of the
// source has cut off. Times are seconds after the beginning of
// the source, as a conversion counts them: jumps of the source's clock are closed.
struct MeasuredStream {
  std::uint64_t packets = 0;
  double first = 0;           // when the first one is shown
  double end = 0;             // when the last one is over
  std::uint64_t leading = 0;  // of the packets, those that are shown before the first one
  // The packets before the first key frame, of which nothing above or below tells, and when the
  // earliest of all is shown.
  std::uint64_t keyless = 0;
  double earliest = 0;
  // Of the packets, those that are shown more than a second before one that was stored ahead of
  // them: a clock that jumped has taken them, or that one, out of their places.
  std::uint64_t displaced = 0;
  // Seconds without any packet, where that is more than a fifth of one at once.
  double gaps = 0;
  // Of pictures that come steadily, seconds without any where one is due, however short. Of a
  // healthy source they may have been left out.
  double holes = 0;
  bool areHolesRare = false;  // one in a hundred pictures, or a single one
  double lasting = 0;         // seconds of all packets
  // Of packets of pictures, those of zeros alone, and those of DV that are shorter than the first.
  std::uint64_t spoilt = 0;
  std::int64_t firstSize = 0;  // bytes of the first packet
  // Of packets of PCM, those with more or fewer samples in their time than the first one.
  std::uint64_t otherRate = 0;
};

struct SourceMeasure {
  std::optional<MeasuredStream> pictures;
  std::vector<MeasuredStream> sounds;  // in order, those with packets
  std::uint64_t bytes = 0;             // of all packets, those before key frames as well
};

// The command that lists the packets of what `conversion` (a program, arguments with one "-i" and
// an output) reads, on standard output, without decoding them: one reading of the source, by the
// source's own times. On standard error are complaints and how far it is ("time=…").
std::vector<std::string> measuringCommand(const std::vector<std::string>& conversion);

// Reads such a list, line by line.
class PacketMeter {
 public:
  void addLine(std::string_view line);
  SourceMeasure result() const;

 private:
  struct Stream {
    bool isSound = false;
    bool isPcm = false;
    bool isDv = false;
    double tick = 0;      // seconds
    double latest = 0;    // when the latest packet is shown
    double byteRate = 0;  // of the first packet
    std::uint64_t keyless = 0;
    std::optional<double> earliest;
    std::vector<double> starts;  // of pictures
    std::optional<MeasuredStream> measured;
  };

  void addPacket(std::string_view line);
  void addFact(std::string_view line);

  std::map<std::int64_t, Stream> streams_;
  std::uint64_t bytes_ = 0;
};

}  // namespace tessarin
