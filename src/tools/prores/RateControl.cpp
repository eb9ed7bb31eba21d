#include "tools/prores/RateControl.h"

#include <algorithm>
#include <cmath>

#include "tools/prores/quantiser.h"

namespace tessarin::prores {

namespace {

constexpr double firstScale = 8;
// Nothing but the mean of each block is left.
constexpr double coarsestScale = 8.0 * largestScale;
// Half of it takes more than twice the bytes, of pictures whose errors are a tenth of a step of
// eight bits already.
constexpr double finestScale = 2;
constexpr double usualPower = 0.8;
constexpr double largestFrame = 1.1;
// Frames are aimed so far below what they may have that their differences find room in it.
constexpr double margin = 0.985;
// What was saved is spent over this many frames, and of no more than as many.
constexpr double frameWindow = 12;
// A frame that takes less than this part of what it may is tried again, but not often.
constexpr double worthAnotherTry = 0.8;
constexpr int mostTriesForMore = 5;
// A try that has to be smaller is coarser by so much at least.
constexpr double leastStep = 1.02;

// The part of the way from a to b, on a scale of powers.
double partOfWay(double a, double b, double there) {
  return std::log(there / a) / std::log(b / a);
}

}  // namespace

RateControl::RateControl(std::size_t bytesPerFrame)
    : target_(static_cast<double>(bytesPerFrame)), scale_(firstScale), power_(usualPower) {}

double RateControl::aim() const {
  return std::min(margin * target_ + saved_ / frameWindow, (1 + largestFrame) / 2 * target_);
}

double RateControl::scaleFor(double bytes) const {
  double wanted = last_.scale * std::pow(last_.bytes / bytes, 1 / power_);
  if (tooLarge_ && fitting_) {
    const double part = std::clamp(partOfWay(tooLarge_->bytes, fitting_->bytes, bytes), 0.1, 0.9);
    wanted = tooLarge_->scale * std::pow(fitting_->scale / tooLarge_->scale, part);
  }
  return std::clamp(wanted, finestScale, coarsestScale);
}

bool RateControl::tryAgain(std::size_t bytes) {
  const Try current = {scale_, static_cast<double>(bytes)};
  if (tries_ > 0 && std::abs(std::log(current.scale / last_.scale)) > 0.01)
    power_ = std::clamp(
        std::log(last_.bytes / current.bytes) / std::log(current.scale / last_.scale), 0.25, 4.0);
  last_ = current;
  ++tries_;

  if (current.bytes > std::min(largestFrame * target_, target_ + saved_) &&
      scale_ < coarsestScale) {
    tooLarge_ = current;
    scale_ = std::min(std::max(scaleFor(aim()), scale_ * leastStep), coarsestScale);
    return true;
  }
  fitting_ = current;
  if (current.bytes < worthAnotherTry * aim() && scale_ > finestScale &&
      tries_ < mostTriesForMore) {
    scale_ = scaleFor(aim());
    return true;
  }
  tries_ = 0;
  tooLarge_.reset();
  fitting_.reset();
  saved_ = std::clamp(saved_ + target_ - current.bytes, 0.0, frameWindow * target_);
  scale_ = scaleFor(aim());
  return false;
}

}  // namespace tessarin::prores
