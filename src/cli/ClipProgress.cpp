#include "cli/ClipProgress.h"

#include <algorithm>
#include <numeric>

namespace tessarin::cli {

namespace {

// Of a conversion that takes a minute a copy takes some seconds.
constexpr double copying = 0.05;
constexpr double converting = 1;

double weightOf(const Arguments& command) {
  return std::find(command.begin(), command.end(), "copy") != command.end() ? copying : converting;
}

// What a shell has for looking at and moving files is named without a folder.
bool isTool(const Arguments& command) {
  return contains(command.front(), "/");
}

}  // namespace

void ClipProgress::start(const std::vector<Arguments>& commands) {
  weights_.clear();
  for (const Arguments& command : commands)
    if (isTool(command))
      weights_.push_back(weightOf(command));
  if (weights_.empty())
    weights_ = {converting};
  step_ = 0;
  isStepBegun_ = false;
  fraction_ = 0;
}

void ClipProgress::add(double ofStep, bool isLast) {
  const std::size_t last = weights_.size() - 1;
  if (ofStep <= 0 && isStepBegun_)
    step_ = std::min(step_ + 1, last);
  if (isLast)
    step_ = last;
  isStepBegun_ = ofStep > 0;
  const auto step = weights_.begin() + static_cast<std::ptrdiff_t>(step_);
  const double done = std::accumulate(weights_.begin(), step, 0.0) + std::min(ofStep, 1.0) * *step;
  const double all = std::accumulate(weights_.begin(), weights_.end(), 0.0);
  fraction_ = std::max(fraction_, std::min(1.0, done / all));
}

}  // namespace tessarin::cli
