#include "tools/joinclips/programFacts.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "tools/gettimestamps/BoundedFile.h"
#include "tools/gettimestamps/card.h"
#include "tools/gettimestamps/streamFile.h"

namespace tessarin::joining {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t packCode = 0xBA;
constexpr std::uint8_t privateSound = 0xBD;
constexpr std::size_t packLength = 14;

Bytes octetsOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bool beginsWith(Bytes bytes, std::uint8_t code) {
  return bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1 && bytes[3] == code;
}

// The clock of a pack of MPEG-2, in ticks of `Time`.
std::optional<Time> clockOfPack(Bytes pack) {
  if (!beginsWith(pack, packCode) || pack.size() < packLength || (pack[4] & 0xC4) != 0x44)
    return std::nullopt;
  return static_cast<Time>(pack[4] >> 3 & 7) << 30 | static_cast<Time>(pack[4] & 3) << 28 |
         static_cast<Time>(pack[5]) << 20 | static_cast<Time>(pack[6] >> 3) << 15 |
         static_cast<Time>(pack[6] & 3) << 13 | static_cast<Time>(pack[7]) << 5 | pack[8] >> 3;
}

// What stands in a stretch of the stream.
struct Stretch {
  std::optional<Time> firstClock;
  std::optional<Time> lastClock;
  std::vector<Time> orders;  // of pictures, where they are told
  std::optional<Time> firstShown;
  std::optional<Time> lastShown;
  std::set<int> streams;
  std::string pictures;  // what the head of the sequence says of them
};

void takeUnit(Bytes unit, Stretch& stretch) {
  const auto head = unitHead(unit);
  if (!head)
    return;
  const Bytes content = unit.subspan(std::min(head->length, unit.size()));
  const bool isSound = (head->kind & 0xE0) == 0xC0;
  if (isSound || head->isOfPictures())
    stretch.streams.insert(head->kind);
  else if (head->kind == privateSound && !content.empty())
    stretch.streams.insert(head->kind << 8 | content[0]);
  if (!head->isOfPictures())
    return;
  if (const auto order = head->order())
    stretch.orders.push_back(*order);
  if (head->shown) {
    if (!stretch.firstShown || difference(*head->shown, *stretch.firstShown) < 0)
      stretch.firstShown = head->shown;
    if (!stretch.lastShown || difference(*head->shown, *stretch.lastShown) > 0)
      stretch.lastShown = head->shown;
  }
  constexpr std::uint8_t sequence = 0xB3;
  constexpr std::size_t sizeAndRate = 4;
  for (std::size_t at = 0; at + 4 + sizeAndRate <= content.size() && stretch.pictures.empty(); ++at)
    if (beginsWith(content.subspan(at), sequence))
      stretch.pictures.assign(reinterpret_cast<const char*>(content.data()) + at + 4, sizeAndRate);
}

Stretch stretchOf(Bytes bytes) {
  constexpr std::uint8_t firstStream = 0xBB;
  Stretch stretch;
  bool isInStep = false;  // a pack has been found
  for (std::size_t at = 0; at + packLength <= bytes.size();) {
    const Bytes rest = bytes.subspan(at);
    if (const auto clock = clockOfPack(rest)) {
      isInStep = true;
      if (!stretch.firstClock)
        stretch.firstClock = clock;
      stretch.lastClock = clock;
      at += packLength + (rest[13] & 7);
    } else if (isInStep && rest[0] == 0 && rest[1] == 0 && rest[2] == 1 && rest[3] >= firstStream) {
      const std::size_t length = 6 + (std::size_t{rest[4]} << 8 | rest[5]);
      if (length <= rest.size())
        takeUnit(rest.first(length), stretch);
      at += length;
    } else {
      ++at;
    }
  }
  return stretch;
}

}  // namespace

Outcome<ClipFacts> programFacts(const std::string& path) {
  constexpr std::size_t enough = 4U << 20;
  BoundedFile file(path);
  const std::string head = file.read(0, enough);
  if (!clockOfPack(octetsOf(head)))
    return Failure{"is no program stream"};
  const Stretch begin = stretchOf(octetsOf(head));
  const std::uint64_t size = file.size();
  const std::string tail =
      size > enough ? file.read(std::max<std::uint64_t>(size - enough, enough), enough) : head;
  const Stretch end = stretchOf(octetsOf(tail));
  if (begin.orders.empty() || !begin.firstShown || end.orders.empty() || !end.lastShown)
    return Failure{"does not tell its streams"};
  ClipFacts facts;
  facts.bytes = size;
  facts.packetSize = 1;
  for (const int stream : begin.streams) {
    const bool isPictures = (stream & 0xF0) == 0xE0 && stream < 0x100;
    facts.streams.push_back({stream, isPictures ? StreamKind::pictures : StreamKind::sound, 0});
  }
  if (!begin.pictures.empty())
    facts.parameters[0] = begin.pictures;
  facts.firstDecoded = begin.orders.front();
  facts.firstShown = *begin.firstShown;
  facts.lastDecoded = end.orders.back();
  std::vector<Time> steps;
  for (std::size_t at = 1; at < end.orders.size(); ++at)
    steps.push_back(difference(end.orders[at], end.orders[at - 1]));
  if (!steps.empty()) {
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    facts.step = *middle;
  }
  facts.end = wrapped(*end.lastShown + facts.step);
  facts.clockBegin = begin.firstClock;
  facts.clockEnd = end.lastClock;
  auto time = timeBesideClip(path);
  if (!time)
    time = recordingTimeInFile(path);
  if (time)
    facts.recorded = time->seconds();
  return facts;
}

bool beginsLater(const std::string& path, const std::string& next) {
  const auto clock = [](const std::string& name) {
    return clockOfPack(octetsOf(BoundedFile(name).read(0, packLength)));
  };
  const auto begin = clock(path);
  const auto later = begin ? clock(next) : std::nullopt;
  return later && difference(*later, *begin) > 0;
}

}  // namespace tessarin::joining
