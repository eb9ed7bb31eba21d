// Shows how long the movie in hand will still take.
#pragma once

#include <chrono>

#include "core/Interface.h"
#include "core/timeLeft.h"

namespace tessarin {

class RemainingTime {
 public:
  // The controls are borrowed and outlive the object.
  explicit RemainingTime(TaskControls& controls);
  RemainingTime(const RemainingTime&) = delete;
  RemainingTime& operator=(const RemainingTime&) = delete;

  // Takes the bar's value at this moment, counted from any one; done by itself at every change of
  // the bar. More than longestStep between two values is a pause and does not count.
  void add(std::chrono::duration<double> now);

  static constexpr double longestStep = 2;  // seconds

 private:
  TaskControls& controls_;
  TimeLeft left_;
  double clock_ = 0;  // seconds that the job has run
  double last_ = 0;
  bool runs_ = false;
};

// "1:05" or "2:03:09".
std::string clockText(double seconds);

}  // namespace tessarin
