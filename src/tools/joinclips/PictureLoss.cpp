#include "tools/joinclips/PictureLoss.h"

#include <algorithm>

namespace tessarin::joining {

namespace {

constexpr Time longestCounted = 60 * second;
// From picture to picture; longer ones than the second are told as holes, or are wrong times.
constexpr Time longestPace = second / 5;
constexpr Time longestGap = second / 2;

}  // namespace

bool PictureLoss::isCountedOn(const TransportPacket& packet) const {
  return counter_ < 0 || packet.beginsFile || packet.isNewlyCounted() ||
         packet.counter() == ((counter_ + 1) & 0xF) || packet.counter() == counter_;
}

void PictureLoss::add(const TransportPacket& packet) {
  if (packet.isUnreadable() || !packet.hasPayload())
    return;
  if (!isCountedOn(packet)) {
    isBroken_ = true;
    isTorn_ = isTorn_ || !packet.beginsUnit();
  }
  counter_ = packet.counter();
  if (const auto head = unitHead(packet); head && head->order())
    addPicture(*head->order());
}

void PictureLoss::addPicture(Time order) {
  const Time step = last_ ? difference(order, *last_) : 0;
  const bool isGap = step_ > 0 && step > longestPace && step <= longestGap;
  if (isBroken_ || isGap) {
    const bool isKnown = step_ > 0 && step > 0 && step <= longestCounted;
    const Time missing = isKnown ? (step + step_ / 2) / step_ - 1 : 0;
    lost_ += std::max(missing, Time{isTorn_ ? 1 : 0}) * step_;
  } else if (step > 0 && step <= longestPace) {
    step_ = step;
  }
  isBroken_ = false;
  isTorn_ = false;
  if (!last_ || step > 0 || step < -longestGap)
    last_ = order;
}

}  // namespace tessarin::joining
