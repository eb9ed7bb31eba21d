#include "tools/aic/RateControl.h"

#include <algorithm>
#include <cmath>

#include "tools/aic/aicEncoder.h"

namespace tessarin::aic {

namespace {

constexpr int mostTries = 4;
// A surplus is worked off over this many frames, about half a second.
constexpr double frameWindow = 12;
// Measured on natural material between quantisers 2 and 8; a second try tells better.
constexpr double usualPower = 0.6;

}  // namespace

RateControl::RateControl(std::size_t bytesPerFrame, int quantiser)
    : target_(static_cast<double>(bytesPerFrame)), quantiser_(quantiser), power_(usualPower) {}

double RateControl::expected(int quantiser) const {
  return lastBytes_ * std::pow(static_cast<double>(lastQuantiser_) / quantiser, power_);
}

int RateControl::closest(double bytes) const {
  const double wanted = lastQuantiser_ * std::pow(lastBytes_ / bytes, 1 / power_);
  const double inRange = std::clamp<double>(wanted, smallestQuantiser, largestQuantiser);
  const int lower = static_cast<int>(inRange);
  const int upper = std::min(lower + 1, largestQuantiser);
  return std::abs(expected(lower) - bytes) <= std::abs(expected(upper) - bytes) ? lower : upper;
}

bool RateControl::tryAgain(std::size_t bytes) {
  if (target_ <= 0)
    return false;
  const double size = std::max(static_cast<double>(bytes), 1.0);
  if (tries_ > 0 && lastQuantiser_ != quantiser_) {
    const double measured =
        std::log(lastBytes_ / size) / std::log(static_cast<double>(quantiser_) / lastQuantiser_);
    power_ = std::clamp(measured, 0.25, 1.5);
  }
  lastBytes_ = size;
  lastQuantiser_ = quantiser_;

  const double wanted = std::max(target_ - surplus_ / frameWindow, target_ / 4);
  ++tries_;
  if (tries_ < mostTries && (size > 1.2 * wanted || size < 0.75 * wanted)) {
    const int better = closest(wanted);
    if (better != quantiser_) {
      quantiser_ = better;
      return true;
    }
  }
  tries_ = 0;
  // A scene that the coarsest or finest quantiser cannot bring to the target leaves no debt that
  // later scenes would have to pay for long.
  surplus_ = std::clamp(surplus_ + size - target_, -frameWindow * target_, frameWindow * target_);
  quantiser_ = closest(std::max(target_ - surplus_ / frameWindow, target_ / 4));
  return false;
}

}  // namespace tessarin::aic
