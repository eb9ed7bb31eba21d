#include "tools/joinclips/PartShifter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "tools/joinclips/unitContent.h"

namespace tessarin::joining {

namespace {

// Packets in which a part's first key picture is looked for (15 MB), and bytes of a picture in
// which it is told for one.
constexpr std::size_t longestBeginning = 80'000;
constexpr std::size_t tellingBytes = 4096;
constexpr std::size_t longestSoundUnit = 4096;  // packets
constexpr std::size_t picturesForStep = 33;
constexpr std::uint32_t stampsBetweenParts = 1000;
// Longer ones are holes.
constexpr Time longestShown = second / 2;
constexpr Time longestSilence = second / 4;

// Of MPEG audio and AAC, of AC-3 and its like; data come in units of the latter kind, too.
bool mayBeSound(int kind) {
  return (kind & 0xE0) == 0xC0 || kind == 0xBD || kind == 0xFD;
}

bool isEarlier(Time one, Time other) {
  return difference(one, other) < 0;
}

std::vector<std::uint8_t> payloadOf(const std::vector<TransportPacket>& packets) {
  std::vector<std::uint8_t> bytes;
  for (const TransportPacket& packet : packets) {
    const auto payload = packet.payload();
    bytes.insert(bytes.end(), payload.begin(), payload.end());
  }
  return bytes;
}

}  // namespace

// ---- The beginning of a part

void PartShifter::take(const TransportPacket& packet) {
  if (!partPlace_)
    partPlace_ = packet.place;
  addsSound_ = addsSound_ || packet.addsSound;
  if (packet.fate != TransportPacket::Fate::kept)
    return leaveOut(packet);
  if (isLeftOut_)
    return;
  loss_.passesOver(packet.overwritten);
  if (packet.stream() == pictures_)
    loss_.add(packet);
  if (isBegun_) {
    place(packet);
    return;
  }
  kept_.push_back(packet);
  if (findsBeginning(packet) || kept_.size() >= longestBeginning)
    begin();
}

// A part whose pictures are lost has no place, and so has its sound.
void PartShifter::leaveOut(const TransportPacket& packet) {
  if (packet.fate == TransportPacket::Fate::dropped)
    return;
  if (packet.stream() != pictures_) {
    hasLostSound_ = true;
    return;
  }
  isLeftOut_ = true;
  isBegun_ = true;
  kept_.clear();
  beginnings_.clear();
  if (const auto head = unitHead(packet); head && head->shown)
    notePicture(*head->shown);
}

// Whether all is known of the pictures that come before the first one that can be decoded, or hang
// on what was before it.
bool PartShifter::findsBeginning(const TransportPacket& packet) {
  if (packet.stream() != pictures_ || packet.isUnreadable())
    return false;
  auto content = packet.payload();
  if (const auto head = unitHead(packet)) {
    lookForKey();
    beginnings_.push_back({kept_.size() - 1, head->shown, false, {}});
    if (key_ && head->shown && isEarlier(*beginnings_[*key_].shown, *head->shown))
      return true;
    content = content.subspan(std::min(head->length, content.size()));
  }
  if (beginnings_.empty())
    return false;
  auto& start = beginnings_.back().start;
  const std::size_t more =
      std::min(content.size(), tellingBytes - std::min(tellingBytes, start.size()));
  start.insert(start.end(), content.begin(), content.begin() + static_cast<std::ptrdiff_t>(more));
  return false;
}

// Looks at the latest picture, which is whole.
void PartShifter::lookForKey() {
  if (key_ || beginnings_.empty() || !beginnings_.back().shown)
    return;
  const PictureStart start = pictureStart(beginnings_.back().start);
  if (!start.isKey)
    return;
  key_ = beginnings_.size() - 1;
  isClosed_ = start.isClosed;
}

// Settles the shift by what was kept, and hands that on.
void PartShifter::begin() {
  lookForKey();
  std::optional<Time> first;
  for (std::size_t unit = 0; unit < beginnings_.size(); ++unit) {
    Beginning& picture = beginnings_[unit];
    if (key_ && picture.shown)
      picture.isOut =
          unit < *key_ || (!isClosed_ && isEarlier(*picture.shown, *beginnings_[*key_].shown));
    else if (key_)
      picture.isOut = unit < *key_;
    if (!picture.isOut && picture.shown && (!first || isEarlier(*picture.shown, *first)))
      first = picture.shown;
  }
  isBegun_ = true;
  shift_ = first ? difference(joint_, *first) : 0;
  for (auto& [number, stream] : streams_)
    stream.shift = shift_;
  auto next = beginnings_.begin();
  bool isOut = key_.has_value();
  for (std::size_t at = 0; at < kept_.size(); ++at) {
    if (next != beginnings_.end() && next->place == at)
      isOut = (next++)->isOut;
    if (isOut && kept_[at].stream() == pictures_)
      streams_[pictures_].isBroken = true;
    else
      place(kept_[at]);
  }
  kept_.clear();
  beginnings_.clear();
}

// ---- Packets in a part

void PartShifter::place(const TransportPacket& given) {
  TransportPacket packet = given;
  packet.shiftClock(shift_);
  const auto known = streams_.find(packet.stream());
  Stream& stream = known != streams_.end() ? known->second : streams_[packet.stream()];
  if (known == streams_.end())
    stream.shift = shift_;
  if (packet.isUnreadable()) {
    write(stream, packet);
    return;
  }
  const auto head = unitHead(packet);
  if (head) {
    stream.isUnits = true;
    stream.awaitsUnit = false;
    stream.mayBeSound = mayBeSound(head->kind);
    if (head->isOfPictures() && pictures_ < 0)
      pictures_ = packet.stream();
  }
  if (stream.isUnits && stream.awaitsUnit && packet.hasPayload()) {
    stream.isBroken = true;  // the rest of something that began in what is not there
    return;
  }
  if (stream.mayBeSound && packet.hasPayload()) {
    if (head || stream.unit.size() >= longestSoundUnit)
      placeSound(stream, false);
    if (head && head->shown)
      findStep(stream, *head->shown);
    stream.unit.push_back(packet);
    return;
  }
  if (head && head->shown)
    findStep(stream, *head->shown);
  if (head) {
    shiftTimes(packet.payload(), *head, stream.shift);
    if (packet.stream() == pictures_ && head->shown)
      notePicture(wrapped(*head->shown + stream.shift));
  }
  write(stream, packet);
}

// Whether the clock that was set is that of this stream, too, whose next time this is.
void PartShifter::findStep(Stream& stream, Time shown) {
  const auto distance = [&](Time shift) {
    return std::abs(difference(shown + shift, *stream.end));
  };
  if (stream.step == 0 ||
      (stream.end && distance(stream.shift) <= distance(stream.shift + stream.step)))
    return;
  stream.shift += std::exchange(stream.step, 0);
}

// The packets behind this come from a clock that is late by so much.
void PartShifter::stepsClock(Time by, bool isOfAll) {
  if (!isBegun_)
    begin();
  hasClockSteps_ = true;
  loss_.stepsClock();
  if (isOfAll)
    shift_ += by;
  for (auto& [number, stream] : streams_) {
    if (number == pictures_)
      stream.shift += by;
    else if (isOfAll)
      stream.step += by;
  }
}

// Hands on a unit of sound that is whole, or as much of it as has a place; `isLast`: of its part.
void PartShifter::placeSound(Stream& stream, bool isLast) {
  if (stream.unit.empty())
    return;
  const std::vector<std::uint8_t> unit = payloadOf(stream.unit);
  const auto head = unitHead(unit);
  const auto leaveOut = [&stream] {
    stream.unit.clear();
    stream.isBroken = true;
  };
  if (!head || !head->shown || head->length > unit.size()) {
    if (head && !stream.isPlaced)
      return leaveOut();
    if (head && stream.isPlain && head->length <= unit.size())
      notePlainSound(stream, *head, std::span(unit).subspan(head->length));
    return writeUnit(stream);
  }
  const SoundFrames frames = soundFrames(std::span(unit).subspan(head->length));
  if (frames.duration > 0)
    stream.frame = frames.duration;
  if (frames.count() == 0) {
    if (stream.frame > 0 && (isLast || !stream.isPlaced))
      return leaveOut();
    if (stream.frame == 0)
      notePlainSound(stream, *head, std::span(unit).subspan(head->length));
    return writeUnit(stream);
  }
  const double half = stream.frame / 2;
  const auto count = static_cast<std::ptrdiff_t>(frames.count());
  std::ptrdiff_t from = 0;
  const bool isFirst = !stream.isPlaced;
  if (isFirst && stream.end) {
    const auto gap = static_cast<double>(difference(*head->shown + shift_, *stream.end));
    from = static_cast<std::ptrdiff_t>(std::max(0.0, std::ceil((-gap - half) / stream.frame)));
    if (from >= count)
      return leaveOut();
    const double rest = gap + static_cast<double>(from) * stream.frame;
    if (rest <= half)
      stream.shift = shift_ - std::llround(rest);
  }
  if (stream.isPlaced)
    noteSound(stream, wrapped(*head->shown + stream.shift));
  stream.isPlaced = true;
  const Time shown = wrapped(*head->shown + stream.shift);
  std::ptrdiff_t to = count;
  if (isTail_) {
    const auto left = static_cast<double>(difference(pictureEnd(), shown));
    to = std::min(count, static_cast<std::ptrdiff_t>(std::ceil((left - half) / stream.frame)));
    if (to <= from)
      return leaveOut();
  }
  const auto timeOf = [&](std::ptrdiff_t frame) {
    return std::llround(static_cast<double>(frame) * stream.frame);
  };
  stream.end = wrapped(shown + timeOf(to));
  const std::size_t begin = head->length + frames.starts[static_cast<std::size_t>(from)];
  const std::size_t end = head->length + frames.starts[static_cast<std::size_t>(to)];
  const bool isCut =
      (isFirst && begin > head->length) || to < count || (isLast && end < unit.size());
  if (!isCut)
    return writeUnit(stream);
  std::vector<std::uint8_t> rest(unit.begin(),
                                 unit.begin() + static_cast<std::ptrdiff_t>(head->length));
  rest.insert(rest.end(), unit.begin() + static_cast<std::ptrdiff_t>(begin),
              unit.begin() + static_cast<std::ptrdiff_t>(end));
  shiftTimes(rest, *head, stream.shift + timeOf(from));
  writeCut(stream, std::move(rest));
}

// Of sound without frames nothing else tells what is missing in it, or between two units. A unit
// whose size is right shows that a stream has such sound.
void PartShifter::notePlainSound(Stream& stream, const UnitHead& head,
                                 std::span<const std::uint8_t> content) {
  const auto sound = plainSound(content);
  stream.isPlain = stream.isPlain || (sound && sound->missing == 0);
  if (!sound || !stream.isPlain)
    return;
  if (sound_ == nullptr)
    sound_ = &stream;
  if (&stream == sound_)
    soundMissing_ += std::llround(sound->missing);
  const Time duration = std::llround(sound->duration);
  if (!head.shown) {  // not every unit tells its time
    if (stream.end)
      stream.end = wrapped(*stream.end + duration);
    return;
  }
  const Time shown = wrapped(*head.shown + stream.shift);
  if (&stream == sound_ && stream.isPlaced && stream.end)
    notePlainGap(difference(shown, *stream.end), duration);
  stream.isPlaced = true;
  stream.end = wrapped(shown + duration);
}

// Times that are a little off go both ways, and those that are rounded do not add up.
void PartShifter::notePlainGap(Time gap, Time duration) {
  constexpr Time fraction = 50;
  plainUnit_ = std::max(plainUnit_, duration);
  if (std::abs(gap) > duration / fraction)
    plainGaps_ += gap;
}

void PartShifter::writeUnit(Stream& stream) {
  for (TransportPacket& packet : stream.unit) {
    if (const auto head = unitHead(packet))
      shiftTimes(packet.payload(), *head, stream.shift);
    write(stream, packet);
  }
  stream.unit.clear();
}

// The unit in packets of its own, in the place of those that it came in.
void PartShifter::writeCut(Stream& stream, std::vector<std::uint8_t> unit) {
  constexpr std::size_t sizeAt = 4;
  constexpr std::size_t headSize = 6;
  const std::size_t told = unit.size() - headSize <= 0xFFFF ? unit.size() - headSize : 0;
  unit[sizeAt] = static_cast<std::uint8_t>(told >> 8);
  unit[sizeAt + 1] = static_cast<std::uint8_t>(told);
  const std::vector<TransportPacket> places = std::exchange(stream.unit, {});
  std::size_t done = 0;
  for (std::size_t at = 0; done < unit.size(); ++at) {
    TransportPacket packet = places[std::min(at, places.size() - 1)];
    constexpr std::size_t head = 4;
    const std::size_t part = std::min(unit.size() - done, TransportPacket::size - head);
    const std::size_t filled = TransportPacket::size - head - part;
    packet.bytes[1] = static_cast<std::uint8_t>((packet.bytes[1] & 0xBF) | (done == 0 ? 0x40 : 0));
    packet.bytes[3] =
        static_cast<std::uint8_t>((packet.bytes[3] & 0x0F) | (filled > 0 ? 0x30 : 0x10));
    if (filled > 0) {
      packet.bytes[4] = static_cast<std::uint8_t>(filled - 1);
      std::fill_n(packet.bytes.begin() + 5, filled - 1, 0xFF);
      if (filled > 1)
        packet.bytes[5] = 0;
    }
    std::copy_n(unit.begin() + static_cast<std::ptrdiff_t>(done), part,
                packet.bytes.end() - static_cast<std::ptrdiff_t>(part));
    done += part;
    stream.isBroken = true;  // it goes on counting
    write(stream, packet);
  }
  stream.isBroken = true;
}

void PartShifter::write(Stream& stream, TransportPacket packet) {
  if (packet.stream() != TransportPacket::emptyStream) {
    if (stream.isBroken && stream.written >= 0)
      stream.counterShift = stream.written + (packet.hasPayload() ? 1 : 0) - packet.counter();
    stream.isBroken = false;
    packet.setCounter(packet.counter() + stream.counterShift);
    stream.written = packet.counter();
  }
  const std::uint32_t given = packet.stamp & stampMask;
  if (isStampBroken_ && stamp_)
    stampShift_ = *stamp_ + stampsBetweenParts - given;
  isStampBroken_ = false;
  std::uint32_t stamp = (given + stampShift_) & stampMask;
  // Sound that was kept until it was whole comes a little late.
  constexpr std::uint32_t littleLate = 27'000'000 / 2;
  if (stamp_ && ((*stamp_ - stamp) & stampMask) < littleLate)
    stamp = *stamp_;
  stamp_ = stamp;
  packet.stamp = (packet.stamp & ~stampMask) | stamp;
  write_(packet);
}

// ---- Pictures and the end of a part

// What is missing in the sound that is heard, before it goes on within a part.
void PartShifter::noteSound(const Stream& stream, Time begin) {
  if (sound_ == nullptr)
    sound_ = &stream;
  if (&stream != sound_ || !stream.end)
    return;
  if (const Time gap = difference(begin, *stream.end); gap > longestSilence)
    soundMissing_ += gap;
}

void PartShifter::notePicture(Time shown) {
  if (!latest_.empty() && !followsLatest(shown))
    return;
  const auto place = std::upper_bound(latest_.begin(), latest_.end(), shown, isEarlier);
  const bool isEarliest = place == latest_.begin();
  if (isEarliest && latest_.size() < picturesForStep)
    firstShown_ = shown;
  latest_.insert(place, shown);
  if (latest_.size() > picturesForStep)
    latest_.erase(latest_.begin());
}

// Whether the picture tells how far the part is: one whose time leaps does where the ones behind it
// agree, and does not where they are as before.
bool PartShifter::followsLatest(Time shown) {
  const Time step = difference(shown, latest_.back());
  if (std::abs(step) <= longestShown)
    return true;
  const auto& before = beforeLeap_;
  if (!before.empty() && std::abs(difference(shown, before.back())) <= 2 * longestShown) {
    latest_ = std::exchange(beforeLeap_, {});
    picturesMissing_ = missingBeforeLeap_;
    hasWrongTimes_ = true;
    return true;
  }
  if (step < 0) {
    hasWrongTimes_ = true;
    return false;
  }
  beforeLeap_ = latest_;
  missingBeforeLeap_ = picturesMissing_;
  picturesMissing_ += step;
  return true;
}

// One picture, as most of the latest ones lie apart, behind the last one.
Time PartShifter::pictureEnd() const {
  if (latest_.empty())
    return joint_;
  std::vector<Time> steps;
  for (std::size_t at = 1; at < latest_.size(); ++at)
    if (const Time step = difference(latest_[at], latest_[at - 1]); step > 0)
      steps.push_back(step);
  Time step = second / 25;
  if (!steps.empty()) {
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    step = *middle;
  }
  return wrapped(latest_.back() + step);
}

void PartShifter::closePart() {
  // Where nothing of it can be decoded there is nothing to place its sound beside.
  if (!isBegun_) {
    lookForKey();
    if (key_)
      begin();
    kept_.clear();
    beginnings_.clear();
  }
  for (auto& [number, stream] : streams_)
    placeSound(stream, isTail_);
  if (plainGaps_ > plainUnit_ / 2)
    soundMissing_ += plainGaps_;
  if (!latest_.empty()) {
    const Time end = pictureEnd();
    const auto seconds = [](Time time) {
      return static_cast<double>(time) / static_cast<double>(second);
    };
    const Time length = difference(end, *firstShown_);
    parts_.push_back({partPlace_.value_or(0), seconds(length), isLeftOut_, hasWrongTimes_,
                      hasClockSteps_, addsSound_, seconds(picturesMissing_),
                      seconds(hasLostSound_ ? length : soundMissing_), seconds(loss_.lost())});
    if (!isLeftOut_)
      joint_ = end;
  }
  for (auto& [number, stream] : streams_) {
    stream.awaitsUnit = stream.isUnits;
    stream.isPlaced = false;
    stream.isBroken = true;
    stream.step = 0;
  }
  partPlace_.reset();
  isBegun_ = false;
  isTail_ = false;
  key_.reset();
  firstShown_.reset();
  latest_.clear();
  beforeLeap_.clear();
  isLeftOut_ = false;
  hasLostSound_ = false;
  hasWrongTimes_ = false;
  hasClockSteps_ = false;
  loss_ = {};
  addsSound_ = false;
  picturesMissing_ = 0;
  soundMissing_ = 0;
  plainGaps_ = 0;
  plainUnit_ = 0;
  isStampBroken_ = true;
}

void PartShifter::endsPart() {
  isTail_ = true;
  closePart();
}

void PartShifter::finish() {
  closePart();
}

}  // namespace tessarin::joining
