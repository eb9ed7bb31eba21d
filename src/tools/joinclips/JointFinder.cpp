#include "tools/joinclips/JointFinder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "tools/joinclips/unitContent.h"

namespace tessarin::joining {

namespace {

// From one picture to the next; beyond it something is missing.
constexpr Time longestStep = second / 2;
// Where nothing tells apart when pictures are decoded and when they are shown, they go back by so
// much in their order.
constexpr Time mostReordering = second / 2;
constexpr int enoughInOrder = 16;  // pictures: no reordering, then
// Of the sound: there may be none for a while.
constexpr Time longestPause = 3 * second;
// 24 MB, more than the largest picture: nothing is kept back for ever.
constexpr std::size_t mostKept = 128U << 10;
// Not every program writes times of arrival that mean something.
constexpr int enoughSteady = 1000;

// Pictures that follow a time that is off, until something else has to have come.
constexpr int enoughAgreeing = 12;
// No jump of the pictures by less is told from a pause of the sound, or from how far the
// programme's clock is ahead.
constexpr Time leastJump = second;
constexpr Time leastJumpOfSound = 2 * longestPause;
// Footage that is missing in the middle of a recording is not longer.
constexpr Time longestHole = 60 * second;

// Whether so much is a whole number of pictures that come so far behind each other, at one of the
// rates that there are.
bool keepsPace(Time step, Time pace) {
  constexpr std::array<double, 8> paces{3753.75, 3750, 3600, 3003, 3000, 1800, 1501.5, 1500};
  constexpr double rounding = 1;
  const auto found = std::find_if(paces.begin(), paces.end(), [pace](double each) {
    return std::abs(each - static_cast<double>(pace)) <= rounding;
  });
  return found != paces.end() &&
         std::abs(std::remainder(static_cast<double>(step), *found)) <= 2 * rounding;
}

bool comesSoon(const TransportPacket& packet, std::uint32_t stamp) {
  constexpr std::uint32_t longest = 27'000'000 / 2;
  return ((packet.stamp - stamp) & stampMask) < longest;
}

}  // namespace

void JointFinder::add(const TransportPacket& packet) {
  kept_.push_back(packet);
  if (packet.changesCodec)
    split(withTables(kept_.size() - 1));
  const auto head = unitHead(packet);
  if (head && head->isOfPictures() && pictures_ < 0)
    pictures_ = packet.stream();
  if (head && packet.stream() == pictures_ && head->order())
    addPicture(*head->order(), head->decoded.has_value());
  else if (kept_.size() >= mostKept)
    handOn();
}

bool JointFinder::follows(Time order, bool isExact, Time before) const {
  const Time step = difference(order, before);
  if (isBackAgain(step))
    return false;
  const bool isInOrder = isExact || isExact_ || inOrder_ >= enoughInOrder;
  return step <= longestStep && step >= (isInOrder ? 0 : -mostReordering);
}

void JointFinder::addPicture(Time order, bool isExact) {
  if (candidate_ && follows(order, isExact, agreed_)) {
    agreed_ = order;
    ++agreeing_;
    if (!isDecidable())
      return;
    settle();
    last_.reset();
  } else {
    const bool isBack = last_ && follows(order, isExact, *last_);
    if (candidate_ && agreeing_ > 0 && !isBack) {
      const TransportPacket packet = kept_.back();
      kept_.pop_back();
      settle();
      last_ = agreed_;
      kept_.push_back(packet);
    }
    if (last_ && !isBack && kept_.size() < mostKept) {
      candidate_ = agreed_ = order;
      candidatePlace_ = kept_.size() - 1;
      agreeing_ = 0;
      return;
    }
    handOn();
  }
  isExact_ = isExact_ || isExact;
  if (last_) {
    noteLeap(difference(order, *last_));
    pace_ = difference(order, *last_);
  }
  inOrder_ = last_ && pace_ < 0 ? 0 : inOrder_ + 1;
  last_ = order;
}

bool JointFinder::isDecidable() const {
  return agreeing_ >= enoughAgreeing || kept_.size() >= mostKept ||
         (counting() == Counting::broken && othersGoOn(firstOddity()).has_value());
}

// What is kept back belongs to one recording, or to two.
void JointFinder::settle() {
  if (const auto step = clockStep())
    stepClock(*step);
  else if (isJoint())
    split(firstOddity());
  else
    noteLeap(difference(*candidate_, *last_));
  handOn();
}

void JointFinder::noteLeap(Time step) {
  if (pace_ > 0 && pace_ <= longestStep && step > pace_ + pace_ / 2)
    leapt_ += step - pace_;
}

JointFinder::Counting JointFinder::counting() const {
  std::set<int> counted;
  State state = state_;
  const std::size_t place = firstOddity();
  for (std::size_t at = 0; at < kept_.size(); ++at) {
    const TransportPacket& packet = kept_[at];
    const int counter = state.counters[static_cast<std::size_t>(packet.stream())] - 1;
    if (packet.beginsFile || packet.changesStreams || packet.isNewlyCounted())
      return Counting::broken;
    if (counter >= 0 && packet.hasPayload()) {
      if (packet.counter() != ((counter + 1) & 0xF) && packet.counter() != counter)
        return Counting::broken;
      if (at >= place)
        counted.insert(packet.stream());
    }
    pass(packet, state);
  }
  return counted.contains(pictures_) && counted.size() > 1 ? Counting::goesOn : Counting::unknown;
}

bool JointFinder::beginsWithKey() const {
  std::vector<std::uint8_t> picture;
  for (std::size_t at = candidatePlace_; at < kept_.size(); ++at) {
    const TransportPacket& packet = kept_[at];
    if (packet.stream() != pictures_)
      continue;
    if (at > candidatePlace_ && packet.beginsUnit())
      break;
    const auto payload = packet.payload();
    const auto head = unitHead(packet);
    const auto content = head ? payload.subspan(std::min(head->length, payload.size())) : payload;
    picture.insert(picture.end(), content.begin(), content.end());
  }
  return pictureStart(picture).isKey;
}

// Whether a clock that was corrected leaps to where it would be without that.
bool JointFinder::isBackAgain(Time step) const {
  return mended_ != 0 && pace_ > 0 && std::abs(step - pace_ - mended_) <= pace_ / 2;
}

// How much the clock is late from the candidate on, where it was set there.
std::optional<Time> JointFinder::clockStep() const {
  const Time step = difference(*candidate_, *last_);
  const bool isKnown = (isExact_ || inOrder_ >= enoughInOrder) && pace_ > 0 && pace_ <= longestStep;
  const bool isLasting = agreeing_ >= enoughAgreeing || isOver_;
  // Back to where it was before it leapt.
  if (leapt_ != 0 && std::abs(pace_ - step - leapt_) <= pace_)
    return std::nullopt;
  if (!isKnown || !isLasting || (step >= 0 && !isBackAgain(step)) || counting() != Counting::goesOn)
    return std::nullopt;
  return pace_ - step;
}

void JointFinder::stepClock(Time by) {
  const std::size_t place = firstOddity();
  const bool isOfAll = !othersGoOn(place).value_or(false);
  for (std::size_t at = 0; at < place; ++at) {
    pass(kept_[at], state_);
    target_.take(kept_[at]);
  }
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(place));
  target_.stepsClock(by, isOfAll);
  mended_ += by;
}

// Pictures' times that go back may be damaged ones: at a joint something else is out of order, too,
// or a file begins. Where they go back a little it has to be so before them, for not every program
// writes the times of decoding in order.
bool JointFinder::isJoint() const {
  const Time step = difference(*candidate_, *last_);
  const std::size_t place = firstOddity();
  if (othersGoOn(place).value_or(false))
    return false;
  if (step > longestStep)
    return beginsLikeAFile(place) && !isHole(place);
  // What is counted on and cannot be decoded by itself belongs to what is before it.
  if (counting() == Counting::goesOn && !beginsWithKey())
    return false;
  return (step < -mostReordering || place < candidatePlace_) &&
         (hasOddity() || beginsLikeAFile(place));
}

JointFinder::State JointFinder::stateAt(std::size_t place) const {
  State state = state_;
  for (std::size_t at = 0; at < place; ++at)
    pass(kept_[at], state);
  return state;
}

// Whether the programme's clock, or the sound where there is none, goes on as if nothing had
// happened; nothing while neither has come.
std::optional<bool> JointFinder::othersGoOn(std::size_t place) const {
  const Time jump = difference(*candidate_, *last_);
  const State state = stateAt(place);
  const bool hasClock = !state.clocks.empty();
  if (std::abs(jump) < (hasClock ? leastJump : leastJumpOfSound) ||
      (!hasClock && state.orders.empty()))
    return false;
  const auto goesOn = [jump](const std::map<int, Time>& times, int stream,
                             Time time) -> std::optional<bool> {
    const auto before = times.find(stream);
    if (before == times.end())
      return std::nullopt;
    const Time step = difference(time, before->second);
    return std::abs(step) < std::abs(step - jump);
  };
  for (std::size_t at = place; at < kept_.size(); ++at) {
    const TransportPacket& packet = kept_[at];
    if (packet.stream() == TransportPacket::emptyStream || packet.isUnreadable())
      continue;
    std::optional<bool> answer;
    if (const auto clock = packet.clock())
      answer = goesOn(state.clocks, packet.stream(), *clock);
    else if (const auto head = unitHead(packet);
             !hasClock && head && !head->isOfPictures() && head->order())
      answer = goesOn(state.orders, packet.stream(), *head->order());
    if (answer)
      return answer;
  }
  return std::nullopt;
}

// Behind one the pictures keep their pace, and each stream's packets are counted on from somewhere:
// where a file begins they are counted from the same number, and the pace is its own.
bool JointFinder::isHole(std::size_t place) const {
  const Time step = difference(*candidate_, *last_);
  if (step > longestHole || !keepsPace(step, pace_))
    return false;
  std::map<int, int> counters;
  for (std::size_t at = place; at < kept_.size(); ++at) {
    const TransportPacket& packet = kept_[at];
    if (packet.beginsFile || packet.changesStreams)
      return false;
    if (packet.stream() != TransportPacket::emptyStream && packet.hasPayload())
      counters.try_emplace(packet.stream(), packet.counter());
  }
  return std::any_of(counters.begin(), counters.end(), [&counters](const auto& each) {
    return each.second != counters.begin()->second;
  });
}

bool JointFinder::hasOddity() const {
  State state = state_;
  return std::any_of(kept_.begin(), kept_.end(), [&state](const TransportPacket& packet) {
    const bool isFound = isOdd(packet, state);
    pass(packet, state);
    return isFound;
  });
}

bool JointFinder::isOdd(const TransportPacket& packet, const State& state) {
  if (packet.beginsFile || packet.changesStreams)
    return true;
  if (state.steady >= enoughSteady && !comesSoon(packet, state.stamp))
    return true;
  const int stream = packet.stream();
  if (stream == TransportPacket::emptyStream || packet.isUnreadable())
    return false;
  if (const int counter = state.counters[static_cast<std::size_t>(stream)] - 1;
      counter >= 0 && packet.hasPayload() && packet.counter() != ((counter + 1) & 0xF) &&
      packet.counter() != counter)
    return true;
  const auto isOff = [stream](const std::map<int, Time>& times, Time time, Time longest) {
    const auto before = times.find(stream);
    if (before == times.end())
      return false;
    const Time step = difference(time, before->second);
    return step < 0 || step > longest;
  };
  if (const auto clock = packet.clock(); clock && isOff(state.clocks, *clock, longestStep))
    return true;
  const auto head = unitHead(packet);
  return head && head->order() && !head->isOfPictures() &&
         isOff(state.orders, *head->order(), longestPause);
}

void JointFinder::pass(const TransportPacket& packet, State& state) {
  state.steady = comesSoon(packet, state.stamp) ? std::min(state.steady + 1, enoughSteady) : 0;
  state.stamp = packet.stamp;
  const int stream = packet.stream();
  if (stream == TransportPacket::emptyStream || packet.isUnreadable())
    return;
  state.counters[static_cast<std::size_t>(stream)] = static_cast<std::int8_t>(packet.counter() + 1);
  if (const auto clock = packet.clock())
    state.clocks[stream] = *clock;
  if (const auto head = unitHead(packet); head && head->order())
    state.orders[stream] = *head->order();
}

// Among those up to the candidate.
std::size_t JointFinder::firstOddity() const {
  State state = state_;
  std::size_t place = 0;
  while (place < candidatePlace_ && !isOdd(kept_[place], state))
    pass(kept_[place++], state);
  return withTables(place);
}

// Tables before it, which have no times and whose counters may fit by chance, belong to what comes
// behind them.
std::size_t JointFinder::withTables(std::size_t place) const {
  const auto isTable = [](const TransportPacket& packet) {
    return packet.beginsUnit() && packet.hasPayload() && !packet.isUnreadable() &&
           !unitHead(packet);
  };
  while (place > 0 && !kept_[place].beginsFile && isTable(kept_[place - 1]))
    --place;
  return place;
}

bool JointFinder::beginsLikeAFile(std::size_t place) const {
  for (std::size_t at = place; at <= candidatePlace_; ++at)
    if (kept_[at].changesStreams)
      return true;
  if (kept_[place].beginsFile)
    return true;
  constexpr int lastTable = 0x1F;
  if (kept_[place].stream() > lastTable || !kept_[place].beginsUnit())
    return false;
  std::set<int> begun;
  bool hasProgrammes = false;
  std::vector<std::uint8_t> picture;
  for (std::size_t at = place; at < kept_.size(); ++at) {
    const TransportPacket& packet = kept_[at];
    if (packet.stream() == TransportPacket::emptyStream || !packet.hasPayload())
      continue;
    hasProgrammes = hasProgrammes || packet.stream() == 0;
    if (begun.insert(packet.stream()).second && !packet.beginsUnit())
      return false;
    if (packet.stream() != pictures_ || (at > candidatePlace_ && packet.beginsUnit()))
      continue;
    const auto payload = packet.payload();
    const auto head = unitHead(packet);
    const auto content = head ? payload.subspan(std::min(head->length, payload.size())) : payload;
    picture.insert(picture.end(), content.begin(), content.end());
  }
  return hasProgrammes && pictureStart(picture).isKey;
}

void JointFinder::handOn() {
  for (const TransportPacket& packet : kept_) {
    pass(packet, state_);
    target_.take(packet);
  }
  kept_.clear();
  candidate_.reset();
}

void JointFinder::split(std::size_t place) {
  target_.picturesAreOver();
  for (std::size_t at = 0; at < place; ++at)
    target_.take(kept_[at]);
  target_.endsPart();
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(place));
  state_ = State();
  mended_ = 0;
  leapt_ = 0;
  isExact_ = false;
  inOrder_ = 0;
  last_.reset();
  candidate_.reset();
}

void JointFinder::finish() {
  isOver_ = true;
  // A part of a few pictures, or of one.
  if (candidate_ && last_ && (agreeing_ > 0 || difference(*candidate_, *last_) < longestStep))
    settle();
  handOn();
}

}  // namespace tessarin::joining
