// Recording times in the frames of DV. A frame is 10 or 12 sequences of 150 blocks of 80 bytes;
// what is read here lies in packs of 5 bytes in the blocks for subcode and for data about the
// picture.
#include <array>
#include <cstdlib>

#include "tools/gettimestamps/dvFrame.h"
#include "tools/gettimestamps/timesInStreams.h"

namespace tessarin {

namespace {

using dv::blockLength;
using dv::sequenceLength;

constexpr std::size_t packLength = 5;

// The packs of a frame as far as they are there, in the order of trust.
template <class Visit>
void forEachPack(std::string_view frame, const Visit& visit) {
  for (std::size_t start = 0; start + sequenceLength <= frame.size(); start += sequenceLength) {
    const std::string_view sequence = frame.substr(start, sequenceLength);
    for (std::size_t block = 3; block < 6; ++block)
      for (std::size_t pack = 0; pack < 15; ++pack)
        visit(sequence.substr(block * blockLength + 3 + pack * packLength, packLength));
    for (std::size_t block = 1; block < 3; ++block)
      for (std::size_t pack = 0; pack < 6; ++pack)
        visit(sequence.substr(block * blockLength + 6 + pack * 8, packLength));
  }
}

// The packs in the blocks of sound, one each.
template <class Visit>
void forEachSoundPack(std::string_view frame, const Visit& visit) {
  for (std::size_t start = 0; start + sequenceLength <= frame.size(); start += sequenceLength)
    for (std::size_t block = 6; block < 150; block += 16)
      visit(frame.substr(start + block * blockLength + 3, packLength));
}

// The bits of a pack's byte that are a number; the others are 1.
std::optional<int> field(std::string_view pack, std::size_t index, int mask) {
  return numberOfBcd(static_cast<std::uint32_t>(pack[index] & mask));
}

}  // namespace

bool dv::beginsFrame(std::string_view bytes) {
  constexpr std::array<std::uint8_t, 6> kinds = {0x00, 0x20, 0x20, 0x40, 0x40, 0x40};
  if (bytes.size() < kinds.size() * blockLength || !bytes.starts_with("\x1F\x07") ||
      bytes[2] != 0 || (bytes[3] & 0x7F) != 0x3F)
    return false;
  for (std::size_t block = 0; block < kinds.size(); ++block)
    if ((bytes[block * blockLength] & 0xE0) != kinds.at(block))
      return false;
  return true;
}

bool dv::has625Lines(std::string_view frame) {
  return (frame[3] & 0x80) != 0;
}

std::size_t dv::frameLength(std::string_view frame) {
  return (has625Lines(frame) ? 12 : 10) * sequenceLength;
}

std::optional<RecordingTime> dv::timeOfFrame(std::string_view frame) {
  constexpr char datePack = 0x62;
  constexpr char timePack = 0x63;
  std::optional<RecordingTime> date;
  std::optional<RecordingTime> clock;
  forEachPack(frame, [&](std::string_view pack) {
    if (pack[0] == datePack && !date) {
      const auto day = field(pack, 2, 0x3F);
      const auto month = field(pack, 3, 0x1F);
      const auto year = field(pack, 4, 0xFF);
      if (day && month && year)
        date = RecordingTime{*year + (*year >= 70 ? 1900 : 2000), *month, *day, 0, 0, 0};
      // Programs that know no date write that of the first second of 1970.
      constexpr int firstYear = 1995;  // of the format
      if (date && (!date->isValid() || date->year < firstYear))
        date.reset();
    } else if (pack[0] == timePack && !clock) {
      const auto second = field(pack, 2, 0x7F);
      const auto minute = field(pack, 3, 0x7F);
      const auto hour = field(pack, 4, 0x3F);
      if (second && minute && hour)
        clock = RecordingTime{2000, 1, 1, *hour, *minute, *second};
      if (clock && !clock->isValid())
        clock.reset();
    }
  });
  if (!date || !clock)
    return std::nullopt;
  return RecordingTime{date->year,  date->month,   date->day,
                       clock->hour, clock->minute, clock->second};
}

std::string dv::timeCodeOfFrame(std::string_view frame) {
  constexpr char timeCodePack = 0x13;
  std::string code;
  forEachPack(frame, [&](std::string_view pack) {
    if (pack[0] == timeCodePack && code.empty())
      code = timeCodeOfBytes(pack.substr(1), !has625Lines(frame));
  });
  return code;
}

bool dv::startsRecording(std::string_view frame) {
  constexpr char pictureControlPack = 0x61;
  constexpr char soundControlPack = 0x51;
  bool starts = false;
  const auto lookFor = [&](char kind) {
    return [&starts, kind](std::string_view pack) {
      starts = starts || (pack[0] == kind && (pack[2] & 0x80) == 0);
    };
  };
  forEachPack(frame, lookFor(pictureControlPack));
  forEachSoundPack(frame, lookFor(soundControlPack));
  return starts;
}

int dv::soundKind(std::string_view frame) {
  constexpr char soundPack = 0x50;
  int kind = -1;
  forEachSoundPack(frame, [&](std::string_view pack) {
    if (pack[0] == soundPack && kind < 0)
      kind = pack[4] & 0x3F;
  });
  return kind;
}

bool dv::has720Lines(std::string_view frame) {
  constexpr char picturePack = 0x60;
  constexpr int kindOf720 = 0x18;
  bool has = false;
  forEachPack(frame, [&](std::string_view pack) {
    has = has || (pack[0] == picturePack && (pack[3] & 0x1F) == kindOf720);
  });
  return has;
}

namespace {

// The time; the time code of the first frame that has one comes into `timeCode`.
std::optional<RecordingTime> timeInDv(std::string_view bytes, std::string& timeCode) {
  constexpr std::int64_t nextFrames = 2;  // seconds
  std::optional<RecordingTime> before;
  std::size_t found = 0;
  for (std::size_t start = bytes.find("\x1F\x07"); start != std::string_view::npos;) {
    const std::string_view rest = bytes.substr(start);
    if (!dv::beginsFrame(rest)) {
      start = bytes.find("\x1F\x07", start + 1);
      continue;
    }
    const std::size_t length = dv::frameLength(rest);
    if (timeCode.empty())
      timeCode = dv::timeCodeOfFrame(rest.substr(0, length));
    if (const auto time = dv::timeOfFrame(rest.substr(0, length))) {
      // The head of a tape is where faults are: the next frame has to agree.
      if (before && std::abs(time->seconds() - before->seconds()) <= nextFrames)
        return before;
      before = time;
      ++found;
    }
    start = bytes.find("\x1F\x07", start + length);
  }
  return found == 1 ? before : std::nullopt;
}

}  // namespace

StreamFacts factsInDv(std::string_view bytes) {
  StreamFacts facts;
  facts.time = timeInDv(bytes, facts.timeCode);
  return facts;
}

}  // namespace tessarin
