#include "core/RemainingTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "prefs/utilsAlert.h"

namespace tessarin {

RemainingTime::RemainingTime(TaskControls& controls) : controls_(controls) {
  controls_.bar.changed.connect(
      [this] { add(std::chrono::steady_clock::now().time_since_epoch()); });
}

void RemainingTime::add(std::chrono::duration<double> now) {
  const ProgressBar& bar = controls_.bar;
  if (bar.value() <= 0 || bar.maximum() <= 0) {
    left_.start(bar.maximum());
    clock_ = 0;
    runs_ = false;
    controls_.left.setText("");
    return;
  }
  if (runs_)
    clock_ += std::clamp(now.count() - last_, 0.0, longestStep);
  runs_ = true;
  last_ = now.count();
  left_.add(clock_, bar.value());
  const auto seconds = left_.left();
  controls_.left.setText(seconds ? localisationString("D_left", "", clockText(*seconds)) : "");
}

std::string clockText(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::llround(std::max(0.0, seconds)));
  const auto hours = whole / 3600;
  const auto minutes = whole / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, whole % 60)
                   : fmt::format("{}:{:02}", minutes, whole % 60);
}

}  // namespace tessarin
