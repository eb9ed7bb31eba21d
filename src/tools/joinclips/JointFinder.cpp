#include "tools/joinclips/JointFinder.h"

#include <algorithm>
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

bool comesSoon(const TransportPacket& packet, std::uint32_t stamp) {
  constexpr std::uint32_t longest = 27'000'000 / 2;
  return ((packet.stamp - stamp) & stampMask) < longest;
}

}  // namespace

void JointFinder::add(const TransportPacket& packet) {
  kept_.push_back(packet);
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
  const bool isInOrder = isExact || isExact_ || inOrder_ >= enoughInOrder;
  return step <= longestStep && step >= (isInOrder ? 0 : -mostReordering);
}

void JointFinder::addPicture(Time order, bool isExact) {
  if (candidate_ && follows(order, isExact, *candidate_)) {
    if (isJoint())
      split();
  } else if (last_ && !follows(order, isExact, *last_) && kept_.size() < mostKept) {
    candidate_ = order;
    candidatePlace_ = kept_.size() - 1;
    return;
  }
  handOn();
  isExact_ = isExact_ || isExact;
  inOrder_ = last_ && difference(order, *last_) < 0 ? 0 : inOrder_ + 1;
  last_ = order;
}

// Pictures' times that go back may be damaged ones: at a joint something else is out of order, too,
// or a file begins. Where they go back a little it has to be so before them, for not every program
// writes the times of decoding in order.
bool JointFinder::isJoint() const {
  const Time step = difference(*candidate_, *last_);
  const std::size_t place = firstOddity();
  if (step > longestStep)
    return beginsLikeAFile(place);
  return (step < -mostReordering || place < candidatePlace_) &&
         (hasOddity() || beginsLikeAFile(place));
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
  if (packet.beginsFile)
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

// Among those up to the candidate. Tables before it, which have no times and whose counters may fit
// by chance, belong to what comes behind them.
std::size_t JointFinder::firstOddity() const {
  State state = state_;
  std::size_t place = 0;
  while (place < candidatePlace_ && !isOdd(kept_[place], state))
    pass(kept_[place++], state);
  const auto isTable = [](const TransportPacket& packet) {
    return packet.beginsUnit() && packet.hasPayload() && !packet.isUnreadable() &&
           !unitHead(packet);
  };
  while (place > 0 && !kept_[place].beginsFile && isTable(kept_[place - 1]))
    --place;
  return place;
}

bool JointFinder::beginsLikeAFile(std::size_t place) const {
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

// The clock tells that there is a joint: at the latest where the picture begins that told so.
void JointFinder::split() {
  const std::size_t place = firstOddity();
  target_.picturesAreOver();
  for (std::size_t at = 0; at < place; ++at)
    target_.take(kept_[at]);
  target_.endsPart();
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(place));
  state_ = State();
  isExact_ = false;
  inOrder_ = 0;
  last_.reset();
}

void JointFinder::finish() {
  // A part of a single picture.
  if (candidate_ && last_ && difference(*candidate_, *last_) < longestStep && isJoint())
    split();
  handOn();
}

}  // namespace tessarin::joining
