// How fast a job goes and how long it will still take.
#pragma once

#include <deque>
#include <optional>

namespace tessarin {

// Judges by what happened lately: a job that slows down says so soon. Times are seconds of a clock
// that only runs while the job does, so a pause does not count.
class TimeLeft {
 public:
  // Nothing is said in the first seconds: too little has been seen.
  static constexpr double silence = 3;
  // How far back the judgement looks.
  static constexpr double window = 20;

  // `total` is what has to be done, in the unit of `done`. Forgets what was seen.
  void start(double total);
  // `done` at the time `now`; neither goes backwards.
  void add(double now, double done);

  // What is done per second; nothing while too little has been seen.
  std::optional<double> rate() const;
  // Seconds; nothing while too little has been seen or nothing moves.
  std::optional<double> left() const;

 private:
  struct Sample {
    double time;
    double done;
  };
  double total_ = 0;
  std::optional<double> first_;  // time of the first sample
  std::deque<Sample> samples_;
};

}  // namespace tessarin
