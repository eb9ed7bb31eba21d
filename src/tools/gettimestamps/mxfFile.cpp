#include "tools/gettimestamps/mxfFile.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "classShared/TextAdditions.h"
#include "tools/gettimestamps/ByteReader.h"

namespace tessarin {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t keyLength = 16;
// What has been asked for lies before the pictures.
constexpr std::uint64_t longestHead = std::uint64_t{4} << 20;
constexpr int mostPieces = 4096;

constexpr std::string_view partitionKey = "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02\x01\x01"sv;
constexpr std::string_view setKey = "\x06\x0E\x2B\x34\x02\x53\x01\x01\x0D\x01\x01\x01\x01\x01"sv;

struct Piece {
  std::string key;
  std::uint64_t body = 0;
  std::uint64_t end = 0;

  std::string bytes(BoundedFile& file) const {
    constexpr std::uint64_t longest = 1 << 16;
    return file.read(body, static_cast<std::size_t>(std::min(end - body, longest)));
  }
};

std::optional<Piece> pieceAt(BoundedFile& file, std::uint64_t offset) {
  const std::string bytes = file.read(offset, keyLength + 9);
  const ByteReader head(bytes);
  const auto key = head.part(0, keyLength);
  const std::uint32_t first = head.byte(keyLength).value_or(0);
  const std::size_t more = first < 0x80 ? 0 : first & 0x7F;
  const auto length = head.part(keyLength + (more > 0 ? 1 : 0), std::max<std::size_t>(more, 1));
  if (!key || !length || more > 8)
    return std::nullopt;
  const std::uint64_t body = offset + keyLength + 1 + more;
  const std::uint64_t size = numberOfBytes(*length);
  if (body > file.size() || size > file.size() - body)
    return std::nullopt;
  return Piece{std::string(*key), body, body + size};
}

// A head, a body or a foot; others with such a key are lists of what is in the partition.
bool beginsPartition(std::string_view key) {
  return startsWith(key, partitionKey) && key[partitionKey.size()] >= 2 &&
         key[partitionKey.size()] <= 4;
}

// Calls `visit` with the kind and the bytes of each set of the partition that begins here, until it
// answers false.
template <class Visit>
void forEachSet(BoundedFile& file, std::uint64_t partition, const Visit& visit) {
  std::uint64_t offset = partition;
  for (int count = 0; count < mostPieces && offset - partition < longestHead; ++count) {
    const auto piece = pieceAt(file, offset);
    if (!piece || (count > 0 && beginsPartition(piece->key)))
      return;
    if (startsWith(piece->key, setKey) &&
        !visit(static_cast<std::uint8_t>(piece->key[setKey.size()]), piece->bytes(file)))
      return;
    offset = piece->end;
  }
}

// A set has values, each with a tag and a length.
template <class Visit>
void forEachValue(std::string_view bytes, const Visit& visit) {
  const ByteReader set(bytes);
  for (std::size_t offset = 0; offset + 4 <= set.size();) {
    const std::uint32_t length = set.short16(offset + 2).value_or(0);
    if (const auto value = set.part(offset + 4, length))
      visit(set.short16(offset).value_or(0), *value);
    offset += 4 + length;
  }
}

std::optional<RecordingTime> timeOfValue(std::string_view bytes) {
  const ByteReader value(bytes);
  const auto number = [&](std::size_t at) { return static_cast<int>(value.byte(at).value_or(0)); };
  const RecordingTime time{static_cast<int>(value.short16(0).value_or(0)),
                           number(2),
                           number(3),
                           number(4),
                           number(5),
                           number(6)};
  return bytes.size() >= 7 && time.isValid() ? std::optional(time) : std::nullopt;
}

// ---- Tracks

class MxfTracks {
 public:
  void read(BoundedFile& file, std::uint64_t partition) {
    kind_.clear();
    forEachSet(file, partition, [this](std::uint8_t kind, const std::string& bytes) {
      take(kind, bytes);
      return true;
    });
  }
  // Nothing without a length.
  std::optional<MxfFacts> facts() const {
    constexpr char picture = 1;
    constexpr char sound = 2;
    for (const char wanted : {picture, sound})
      for (const Track& track : tracks_) {
        const auto sequence = sequences_.find(track.sequence);
        if (sequence != sequences_.end() && sequence->second.holds == wanted &&
            sequence->second.units > 0 && track.rate > 0)
          return MxfFacts{track.rate, sequence->second.units, code_, kind_};
      }
    return std::nullopt;
  }

 private:
  struct Track {
    double rate = 0;
    std::string sequence;  // its name
  };
  struct Sequence {
    char holds = 0;
    std::int64_t units = 0;
  };

  void take(std::uint8_t kind, std::string_view bytes) {
    constexpr std::uint8_t sequence = 0x0F;
    constexpr std::uint8_t timeCode = 0x14;
    constexpr std::uint8_t track = 0x3B;
    if (kind == sequence)
      takeSequence(bytes);
    else if (kind == timeCode)
      takeTimeCode(bytes);
    else if (kind == track)
      takeTrack(bytes);
    else if (isDescription(kind))
      takeDescription(kind, bytes);
  }
  static bool isDescription(std::uint8_t kind) {
    constexpr std::array<std::pair<int, int>, 3> known{{{0x25, 0x29}, {0x42, 0x48}, {0x51, 0x5E}}};
    return std::any_of(known.begin(), known.end(), [kind](const auto& range) {
      return kind >= range.first && kind <= range.second;
    });
  }
  void takeTrack(std::string_view bytes) {
    Track track;
    forEachValue(bytes, [&track](std::uint32_t tag, std::string_view value) {
      if (tag == 0x4803)
        track.sequence = value;
      else if (tag == 0x4B01 && value.size() == 8 && numberOfBytes(value.substr(4)) > 0)
        track.rate = static_cast<double>(numberOfBytes(value.substr(0, 4))) /
                     static_cast<double>(numberOfBytes(value.substr(4)));
    });
    tracks_.push_back(std::move(track));
  }
  void takeSequence(std::string_view bytes) {
    constexpr std::string_view essence = "\x01\x03\x02\x02"sv;
    constexpr std::int64_t most = std::int64_t{1} << 40;
    std::string name;
    Sequence sequence;
    forEachValue(bytes, [&](std::uint32_t tag, std::string_view value) {
      if (tag == 0x3C0A)
        name = value;
      else if (tag == 0x0201 && value.size() == keyLength && value.substr(8, 4) == essence)
        sequence.holds = value[12];
      else if (tag == 0x0202 && value.size() == 8)
        sequence.units = static_cast<std::int64_t>(numberOfBytes(value));
    });
    if (sequence.units <= most)
      sequences_[name] = sequence;
  }
  // That of the material comes first, and counts.
  void takeTimeCode(std::string_view bytes) {
    TimeCode code{0, 0, false};
    bool hasStart = false;
    forEachValue(bytes, [&](std::uint32_t tag, std::string_view value) {
      if (tag == 0x1501 && value.size() == 8 && numberOfBytes(value) <= 0xFFFFFFFF) {
        code.firstFrame = static_cast<std::uint32_t>(numberOfBytes(value));
        hasStart = true;
      } else if (tag == 0x1502 && value.size() == 2) {
        code.framesPerSecond = static_cast<int>(numberOfBytes(value));
      } else if (tag == 0x1503) {
        code.dropsNumbers = value != "\0"sv;
      }
    });
    constexpr int mostPictures = 120;
    if (!code_ && hasStart && code.framesPerSecond > 0 && code.framesPerSecond <= mostPictures)
      code_ = code;
  }
  void takeDescription(std::uint8_t kind, std::string_view bytes) {
    // Container, rates, codec, size, layout and shape of pictures; rate, channels and bits of
    // sound.
    static constexpr std::array<std::uint32_t, 13> telling{0x3001, 0x3004, 0x3201, 0x3202, 0x3203,
                                                           0x320C, 0x320E, 0x3301, 0x3302, 0x3D01,
                                                           0x3D03, 0x3D06, 0x3D07};
    kind_ += static_cast<char>(kind);
    forEachValue(bytes, [this](std::uint32_t tag, std::string_view value) {
      if (std::find(telling.begin(), telling.end(), tag) == telling.end())
        return;
      kind_ += static_cast<char>(tag >> 8);
      kind_ += static_cast<char>(tag & 0xFF);
      kind_ += value;
    });
  }

  std::vector<Track> tracks_;
  std::map<std::string, Sequence> sequences_;
  std::optional<TimeCode> code_;
  std::string kind_;
};

}  // namespace

std::optional<std::uint64_t> startOfMxf(BoundedFile& file) {
  constexpr std::size_t longestRunIn = 1 << 16;
  const std::string headKey = std::string(partitionKey) + '\x02';
  const std::size_t start = file.read(0, longestRunIn + headKey.size()).find(headKey);
  return start == std::string::npos ? std::nullopt : std::optional<std::uint64_t>(start);
}

std::optional<RecordingTime> recordingTimeOfMxf(BoundedFile& file) {
  const auto start = startOfMxf(file);
  std::optional<RecordingTime> time;
  if (start)
    forEachSet(file, *start, [&time](std::uint8_t kind, const std::string& bytes) {
      constexpr std::uint8_t materialPackage = 0x36;
      constexpr std::uint32_t creationDate = 0x4405;
      if (kind != materialPackage)
        return true;
      forEachValue(bytes, [&time](std::uint32_t tag, std::string_view value) {
        if (tag == creationDate && !time)
          time = timeOfValue(value);
      });
      return false;
    });
  return time;
}

std::optional<MxfFacts> mxfFacts(BoundedFile& file) {
  const auto start = startOfMxf(file);
  const auto partition = start ? pieceAt(file, *start) : std::nullopt;
  if (!partition)
    return std::nullopt;
  MxfTracks tracks;
  tracks.read(file, *start);
  if (auto facts = tracks.facts())
    return facts;
  // What was not known when the head was written stands at the end.
  constexpr std::size_t placeOfLast = 24;
  const std::string pack = partition->bytes(file);
  const auto last = ByteReader(pack).part(placeOfLast, 8);
  if (const std::uint64_t offset = last ? numberOfBytes(*last) : 0;
      offset > 0 && offset < file.size())
    tracks.read(file, *start + offset);
  return tracks.facts();
}

}  // namespace tessarin
