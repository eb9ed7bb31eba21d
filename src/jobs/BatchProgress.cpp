#include "jobs/BatchProgress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace tessarin {

namespace {

// Of a conversion that takes a minute a copy takes some seconds.
constexpr double copying = 0.05;
constexpr double converting = 1;

// Starting tools, looking at the movie, moving it.
constexpr double overhead = 0.3;

}  // namespace

double workOf(const Row& row) {
  const double seconds = row.source.duration.value_or(1);
  if (isQuickTimeCopy(row))
    return overhead + copying * seconds;
  constexpr double unit = 1920.0 * 1080 * 25;  // pixels a second
  const double pixels = static_cast<double>(row.source.pictures.width.value_or(1920)) *
                        static_cast<double>(row.source.pictures.height.value_or(1080)) *
                        row.source.pictures.rate.value_or(25);
  return overhead + converting * seconds * std::max(copying, pixels / unit);
}

ClipProgress::ClipProgress(const JobPlan& plan) {
  weights_ = {plan.isCopy || plan.needsSlowing || plan.needsExport ? copying : converting};
  if (plan.needsSlowing)
    weights_.push_back(copying);
  if (plan.needsExport)
    weights_.push_back(converting);
}

void ClipProgress::begin() {
  begun_ = std::min(begun_ + 1, weights_.size());
}

void ClipProgress::add(double ofTool) {
  if (begun_ == 0)
    return;
  const auto tool = weights_.begin() + static_cast<std::ptrdiff_t>(begun_ - 1);
  const double done =
      std::accumulate(weights_.begin(), tool, 0.0) + std::clamp(ofTool, 0.0, 1.0) * *tool;
  const double all = std::accumulate(weights_.begin(), weights_.end(), 0.0);
  fraction_ = std::max(fraction_, done / all);
}

void Pace::add(double now, double done) {
  if (!first_)
    first_ = now;
  samples_.push_back({now, done});
  // One sample older than the window stays: it is where the window begins.
  while (samples_.size() > 2 && samples_[1].time <= now - window)
    samples_.pop_front();
}

std::optional<double> Pace::rate() const {
  if (samples_.size() < 2 || samples_.back().time - *first_ < silence)
    return std::nullopt;
  const double time = samples_.back().time - samples_.front().time;
  if (time <= 0)
    return std::nullopt;
  return (samples_.back().done - samples_.front().done) / time;
}

std::optional<double> Pace::secondsFor(double toDo) const {
  const auto perSecond = rate();
  if (!perSecond || *perSecond <= 0)
    return std::nullopt;
  return std::max(0.0, toDo) / *perSecond;
}

void BatchMeter::start() {
  *this = {};
  clock_.start(std::chrono::steady_clock::now());
}

void BatchMeter::pause() {
  clock_.pause(std::chrono::steady_clock::now());
}

void BatchMeter::resume() {
  clock_.resume(std::chrono::steady_clock::now());
}

void BatchMeter::end(const InHand& clip, double done) {
  ++ended_;
  work_ += clip.work * done;
  seconds_ += clip.seconds * done;
}

void BatchMeter::measure(const std::vector<InHand>& inHand) {
  double work = work_;
  double seconds = seconds_;
  for (const InHand& each : inHand) {
    work += each.work * each.clip.fraction;
    seconds += each.seconds * each.clip.fraction;
  }
  const double now = clock_.elapsed(std::chrono::steady_clock::now()).count();
  workPace_.add(now, work);
  moviePace_.add(now, seconds);
}

BatchProgress BatchMeter::progress(const std::vector<InHand>& inHand, int waitingRows,
                                   double waitingWork) const {
  BatchProgress progress;
  progress.ended = ended_;
  progress.rows = ended_ + waitingRows + static_cast<int>(inHand.size());
  double done = work_;
  double all = work_ + waitingWork;
  for (const InHand& each : inHand) {
    progress.inHand.push_back(each.clip);
    done += each.work * each.clip.fraction;
    all += each.work;
  }
  progress.fraction = all > 0 ? done / all : 0;
  progress.speed = moviePace_.rate();
  progress.left = workPace_.secondsFor(all - done);
  return progress;
}

std::string clockText(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::llround(std::max(0.0, seconds)));
  const auto hours = whole / 3600;
  const auto minutes = whole / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, whole % 60)
                   : fmt::format("{}:{:02}", minutes, whole % 60);
}

}  // namespace tessarin
