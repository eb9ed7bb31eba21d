#include "tools/joinclips/PictureLoss.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tessarin::joining {

namespace {

constexpr Time longestCounted = 60 * second;
// From picture to picture; longer ones than the second are told as holes, or are wrong times.
constexpr Time longestPace = second / 5;
constexpr Time longestGap = second / 2;

}  // namespace

// Packets may be sent twice.
bool PictureLoss::isCountedOn(const TransportPacket& packet) const {
  if (!packet_ || packet.beginsFile || packet.isNewlyCounted())
    return true;
  const int counter = packet_->counter();
  return packet.counter() == ((counter + 1) & 0xF) ||
         (packet.counter() == counter && std::ranges::equal(packet.payload(), packet_->payload()));
}

// Their counter comes round. Fewer ones show in it, or were of other streams.
void PictureLoss::passesOver(std::size_t packets) {
  constexpr std::size_t round = 16;
  isPassedOver_ = isPassedOver_ || packets >= round;
}

void PictureLoss::add(const TransportPacket& packet) {
  if (packet.isUnreadable() || !packet.hasPayload())
    return;
  if (std::exchange(isPassedOver_, false) || !isCountedOn(packet)) {
    isBroken_ = true;
    isTorn_ = isTorn_ || !packet.beginsUnit();
  }
  packet_ = packet;
  const auto head = unitHead(packet);
  if (head && head->order())
    addPicture(*head->order());
  else if (head)
    ++uneven_;
}

void PictureLoss::addPicture(Time order) {
  const Time step = last_ ? difference(order, *last_) : 0;
  const bool isGap = step_ > 0 && step > longestPace && step <= longestGap;
  if (isBroken_ || isGap) {
    const bool isKnown = step_ > 0 && step > 0 && step <= longestCounted;
    const Time missing = isKnown ? (step + step_ / 2) / step_ - 1 : 0;
    lost_ += std::max(missing, Time{isTorn_ ? 1 : 0}) * step_;
  } else if (step > 0 && step <= longestPace) {
    noteStep(step);
  }
  isBroken_ = false;
  isTorn_ = false;
  if (!last_ || step > 0 || step < -longestGap)
    last_ = order;
}

// Times are rounded, those of 60000/1001 pictures a second to halves.
void PictureLoss::noteStep(Time step) {
  const Time count = step_ > 0 ? (step + step_ / 2) / step_ : 0;
  if (count > 1 && std::abs(step - count * step_) <= count) {
    ++pauses_;
    paused_ += step - step_;
    return;
  }
  ++(count == 1 && std::abs(step - step_) <= 1 ? steady_ : uneven_);
  step_ = step;
}

// Recorders leave pictures out as well, but hardly once in a while alone.
Time PictureLoss::lost() const {
  constexpr std::size_t rare = 100;
  const bool isSteady = pauses_ <= 1 + steady_ / rare && uneven_ <= 1 + steady_ / rare;
  return lost_ + (isSteady ? paused_ : 0);
}

}  // namespace tessarin::joining
