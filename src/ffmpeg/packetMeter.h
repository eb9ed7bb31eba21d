// How long the streams of a source are, by its packets.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
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
  // Of the packets, those that are shown more than a second before one that was stored ahead of
  // them: a clock that jumped has taken them, or that one, out of their places.
  std::uint64_t displaced = 0;
  // Seconds without any packet, where that is more than a fifth of one at once.
  double gaps = 0;
  // Of the packets, those with the decoding time of the one before. By the source's own clock those
  // are the ones behind a place where it was set back, for a list never goes back.
  std::uint64_t standing = 0;
  // Of packets of PCM, those with more or fewer samples in their time than the first one.
  std::uint64_t otherRate = 0;
};

struct SourceMeasure {
  std::optional<MeasuredStream> pictures;
  std::optional<MeasuredStream> sound;
  std::uint64_t bytes = 0;  // of all packets
};

// What ffmpeg has to be told, before "-i", of a source whose clock was set back: to close every
// jump of this many seconds, where by itself it leaves those below ten. Packets of parts that
// follow each other jump by the length of a part.
inline constexpr std::array<const char*, 2> closingJumps = {"-dts_delta_threshold", "0.4"};

// The command that lists the packets of what `conversion` (a program, arguments with one "-i" and
// an output) reads, on standard output, without decoding them: one reading of the source, by the
// source's own times. On standard error are complaints and how far it is ("time=…").
enum class Clock { ofConversion, ofSource };  // with its jumps closed, or as it stands
std::vector<std::string> measuringCommand(const std::vector<std::string>& conversion,
                                          Clock clock = Clock::ofConversion);

// Reads such a list, line by line.
class PacketMeter {
 public:
  void addLine(std::string_view line);
  SourceMeasure result() const;

 private:
  struct Stream {
    bool isSound = false;
    bool isPcm = false;
    double tick = 0;    // seconds
    double latest = 0;  // when the latest packet is shown
    std::int64_t decoded = std::numeric_limits<std::int64_t>::min();  // in ticks, the latest packet
    double byteRate = 0;                                              // of the first packet
    std::optional<MeasuredStream> measured;
  };

  void addPacket(std::string_view line);
  void addFact(std::string_view line);

  std::map<std::int64_t, Stream> streams_;
  std::uint64_t bytes_ = 0;
};

}  // namespace tessarin
