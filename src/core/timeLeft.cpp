#include "core/timeLeft.h"

#include <algorithm>

namespace tessarin {

void TimeLeft::start(double total) {
  total_ = total;
  first_.reset();
  samples_.clear();
}

void TimeLeft::add(double now, double done) {
  if (!first_)
    first_ = now;
  samples_.push_back({now, done});
  // One sample older than the window stays: it is where the window begins.
  while (samples_.size() > 2 && samples_[1].time <= now - window)
    samples_.pop_front();
}

std::optional<double> TimeLeft::rate() const {
  if (samples_.size() < 2 || samples_.back().time - *first_ < silence)
    return std::nullopt;
  const double time = samples_.back().time - samples_.front().time;
  if (time <= 0)
    return std::nullopt;
  return (samples_.back().done - samples_.front().done) / time;
}

std::optional<double> TimeLeft::left() const {
  const auto perSecond = rate();
  if (!perSecond || *perSecond <= 0)
    return std::nullopt;
  return std::max(0.0, total_ - samples_.back().done) / *perSecond;
}

}  // namespace tessarin
