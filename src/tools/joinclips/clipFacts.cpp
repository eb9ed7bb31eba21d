#include "tools/joinclips/clipFacts.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "tools/gettimestamps/streamFile.h"
#include "tools/joinclips/PacketReader.h"
#include "tools/joinclips/ProgrammeTables.h"
#include "tools/joinclips/unitContent.h"

namespace tessarin::joining {

namespace {

using ByteList = std::vector<std::uint8_t>;

// A group of pictures and the sound beside it are far smaller; and so are a few pictures.
constexpr std::size_t mostOfHead = 100'000;  // packets
constexpr std::uint64_t longestTail = 8U << 20;
constexpr std::size_t enoughOfUnit = 4096;  // of a unit
constexpr std::size_t enoughPictures = 16;  // more than are stored out of order

// The parameters that the pictures of a recording share: from their start code to the next one.
// Empty where the unit has none.
ByteList parametersOf(const ByteList& unit) {
  constexpr std::uint8_t sequence = 0xB3;
  constexpr std::uint8_t parametersH265 = 0x42;
  std::optional<std::size_t> begin;
  std::optional<bool> isMpeg2;  // whose slices have numbers that mean parameters elsewhere
  for (std::size_t at = 0; at + 3 < unit.size(); ++at) {
    if (unit[at] != 0 || unit[at + 1] != 0 || (unit[at + 2] & 0xFE) != 0)
      continue;
    if (begin)
      return {unit.begin() + static_cast<std::ptrdiff_t>(*begin),
              unit.begin() + static_cast<std::ptrdiff_t>(at)};
    if (unit[at + 2] != 1)
      continue;
    const std::uint8_t code = unit[at + 3];
    if (!isMpeg2)
      isMpeg2 = code == 0 || code >= 0x80;
    const bool isH264 = (code & 0x80) == 0 && (code & 0x1F) == 7;
    if (*isMpeg2 ? code == sequence : code == parametersH265 || isH264)
      begin = at + 3;
  }
  return {};
}

// What the heads of all frames of a recording's sound have in common.
ByteList soundHead(const ByteList& unit) {
  const SoundFrames frames = soundFrames(unit);
  const std::size_t start = frames.count() > 0 ? frames.starts.front() : 0;
  constexpr std::size_t frameHead = 7;
  if (unit.size() < start + frameHead)
    return {};
  const auto byte = [&unit, start](std::size_t at, int mask) {
    return static_cast<std::uint8_t>(unit[start + at] & mask);
  };
  if (frames.count() == 0)  // plain samples: channels, rate, bits
    return {byte(2, 0xFF), byte(3, 0xFF)};
  const bool isAc3 = unit[start] == 0x0B;
  return isAc3 ? ByteList{byte(4, 0xFF), byte(5, 0xFF), byte(6, 0xE0)}
               : ByteList{byte(1, 0xFF), byte(2, 0xFD)};
}

// The beginning of a file.
class Head {
 public:
  void add(const TransportPacket& packet) {
    if (packet.stream() == TransportPacket::emptyStream || packet.isUnreadable() ||
        !packet.hasPayload())
      return;
    tables_.add(packet);
    Unit& unit = units_[packet.stream()];
    auto content = std::as_const(packet).payload();
    if (const auto head = unitHead(packet)) {
      close(packet.stream(), unit);
      content = content.subspan(std::min(head->length, content.size()));
      unit.isBegun = true;
      if (head->isOfPictures() && pictures_ < 0)
        pictures_ = packet.stream();
      if (packet.stream() == pictures_)
        addPicture(*head);
    }
    if (unit.isBegun && unit.bytes.size() < enoughOfUnit)
      unit.bytes.insert(unit.bytes.end(), content.begin(), content.end());
  }
  bool isEnough() const {
    const StreamList& streams = tables_.streams();
    return !streams.empty() && count_ >= enoughPictures && !parameters_.empty() &&
           std::all_of(streams.begin(), streams.end(), [this](const ListedStream& stream) {
             const auto unit = units_.find(stream.number);
             return stream.kind != StreamKind::sound ||
                    (unit != units_.end() && unit->second.isKnown);
           });
  }
  // False where it does not say.
  bool tell(ClipFacts& facts) const {
    if (!first_ || !firstShown_)
      return false;
    facts.firstDecoded = *first_;
    facts.firstShown = *firstShown_;
    facts.streams = tables_.streams();
    for (const auto& [number, unit] : units_)
      if (unit.isBegun)
        facts.met.insert(number);
    const auto tellOf = [&facts](int stream, const ByteList& bytes) {
      if (!bytes.empty())
        facts.parameters[stream].assign(bytes.begin(), bytes.end());
    };
    tellOf(pictures_, parameters_);
    for (const ListedStream& stream : facts.streams)
      if (const auto unit = units_.find(stream.number);
          unit != units_.end() && stream.kind == StreamKind::sound)
        tellOf(stream.number, unit->second.sound);
    return true;
  }

 private:
  struct Unit {
    bool isBegun = false;
    bool isKnown = false;  // all that has to be known of its stream
    ByteList bytes;
    ByteList sound;
  };

  void addPicture(const UnitHead& head) {
    ++count_;
    if (!first_)
      first_ = head.order();
    if (head.shown && (!firstShown_ || difference(*head.shown, *firstShown_) < 0))
      firstShown_ = head.shown;
  }
  void close(int stream, Unit& unit) {
    if (unit.isBegun && stream == pictures_ && parameters_.empty())
      parameters_ = parametersOf(unit.bytes);
    else if (unit.isBegun && stream != pictures_ && !unit.isKnown)
      unit.sound = soundHead(unit.bytes);
    unit.isKnown = unit.isKnown || unit.isBegun;
    unit.bytes.clear();
  }

  ProgrammeTables tables_;
  int pictures_ = -1;
  std::size_t count_ = 0;
  std::optional<Time> first_;
  std::optional<Time> firstShown_;
  ByteList parameters_;
  std::map<int, Unit> units_;
};

// Calls `take` for the packets from this byte on until it answers false. Nothing when the file
// cannot be read.
template <class Take>
Outcome<std::size_t> readFrom(const std::string& path, std::uint64_t from, const Take& take) {
  auto reader = PacketReader::open(path, from);
  if (!reader)
    return Failure{reader.reason()};
  while (true) {
    const auto packet = reader->next();
    if (!packet)
      return Failure{packet.reason()};
    if (!packet.value() || !take(*packet.value()))
      return reader->packetSize();
  }
}

Outcome<std::size_t> readEnd(const std::string& path, ClipFacts& facts) {
  int pictures = -1;
  std::vector<Time> orders;
  std::optional<Time> latest;
  const std::uint64_t from = facts.bytes > longestTail ? facts.bytes - longestTail : 0;
  auto read = readFrom(path, from, [&](const TransportPacket& packet) {
    const auto head = unitHead(packet);
    if (!head || !head->isOfPictures() || !head->order())
      return true;
    if (pictures < 0)
      pictures = packet.stream();
    if (packet.stream() != pictures)
      return true;
    orders.push_back(*head->order());
    if (head->shown && (!latest || difference(*head->shown, *latest) > 0))
      latest = head->shown;
    return true;
  });
  if (!read)
    return read;
  std::vector<Time> steps;
  for (std::size_t at = 1; at < orders.size(); ++at)
    steps.push_back(difference(orders[at], orders[at - 1]));
  if (!latest)
    return Failure{"has no pictures at its end"};
  if (!steps.empty()) {
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    facts.step = *middle;
  }
  facts.lastDecoded = orders.back();
  facts.end = wrapped(*latest + facts.step);
  return read;
}

}  // namespace

Outcome<ClipFacts> clipFacts(const std::string& path) {
  ClipFacts facts;
  std::error_code failed;
  facts.bytes = std::filesystem::file_size(path, failed);
  if (failed)
    return Failure{failed.message()};
  Head head;
  std::size_t packets = 0;
  auto read = readFrom(path, 0, [&](const TransportPacket& packet) {
    head.add(packet);
    return ++packets < mostOfHead && !head.isEnough();
  });
  if (!read)
    return Failure{read.reason()};
  facts.packetSize = read.value();
  if (!head.tell(facts))
    return Failure{"does not tell its streams"};
  read = readEnd(path, facts);
  if (!read)
    return Failure{read.reason()};
  if (const auto time = recordingTimeInFile(path))
    facts.recorded = time->seconds();
  return facts;
}

}  // namespace tessarin::joining
