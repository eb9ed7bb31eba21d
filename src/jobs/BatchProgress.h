// How far a batch is, how fast it goes and how long it will still take.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "jobs/jobPlan.h"

namespace tessarin {

struct BatchProgress {
  struct Clip {
    std::string source;
    int number = 0;       // that it was begun as, from 1
    double fraction = 0;  // 0 to 1, over all tools that work on it one after the other
  };
  std::vector<Clip> inHand;     // in the order in which they were begun
  int ended = 0;                // rows of the batch that are over, well or not
  int rows = 0;                 // all of the batch: those, those in hand and those that wait
  double fraction = 0;          // 0 to 1; a row counts by how long it is likely to take
  std::optional<double> speed;  // seconds of movies made per second; nothing until it is known
  std::optional<double> left;   // seconds; likewise
};

// How long the conversion of a row is likely to take beside others. The unit is about a second of
// 1080i50 that is decoded and encoded. Measured: a copy takes a twentieth; the rest goes with the
// number of pixels.
double workOf(const Row& row);

// How far one clip is. The tools are weighed by what is known of them before: a stream copy takes
// a small part of the time of an export. The fraction never falls.
class ClipProgress {
 public:
  // Without a plan nothing is known, and a clip is one tool.
  ClipProgress() = default;
  explicit ClipProgress(const JobPlan& plan);

  // The next tool begins.
  void begin();
  // It is that far, 0 to 1.
  void add(double ofTool);

  double fraction() const { return fraction_; }

 private:
  std::vector<double> weights_ = {1};
  std::size_t begun_ = 0;  // how many tools
  double fraction_ = 0;
};

// A clock that can be stopped.
class StopWatch {
 public:
  using Time = std::chrono::steady_clock::time_point;
  void start(Time now) { before_ = {}, since_ = now; }
  void pause(Time now) { before_ = elapsed(now), since_.reset(); }
  void resume(Time now) { since_ = since_.value_or(now); }
  std::chrono::duration<double> elapsed(Time now) const {
    if (!since_)
      return before_;
    return before_ + std::chrono::duration<double>(now - *since_);
  }

 private:
  std::chrono::duration<double> before_{};
  std::optional<Time> since_;  // nothing: it stands still
};

// Judges by what happened lately: a batch that slows down says so soon. Times are seconds of a
// clock that only runs while the batch does, so that a pause does not count.
class Pace {
 public:
  // Nothing is said in the first seconds: too little has been seen.
  static constexpr double silence = 3;
  // How far back the judgement looks.
  static constexpr double window = 20;

  // So much is done at the time `now`; neither goes backwards.
  void add(double now, double done);
  // What is done per second; nothing while too little has been seen.
  std::optional<double> rate() const;
  // Seconds that this much will take; nothing while too little has been seen or nothing moves.
  std::optional<double> secondsFor(double toDo) const;

 private:
  struct Sample {
    double time;
    double done;
  };
  std::optional<double> first_;  // time of the first sample
  std::deque<Sample> samples_;
};

// Reckons the progress of a batch from what is over, in hand, and still waits.
class BatchMeter {
 public:
  struct InHand {
    BatchProgress::Clip clip;
    double work = 0;     // workOf() its row
    double seconds = 0;  // of its movie; 0: not known
  };

  void start();  // anew
  void pause();
  void resume();
  // One is over, of which so much was done, 0 to 1.
  void end(const InHand& clip, double done);
  // To be told whenever one of them is further.
  void measure(const std::vector<InHand>& inHand);

  BatchProgress progress(const std::vector<InHand>& inHand, int waitingRows,
                         double waitingWork) const;

 private:
  int ended_ = 0;
  double work_ = 0;     // of what is over
  double seconds_ = 0;  // likewise
  StopWatch clock_;
  Pace workPace_;
  Pace moviePace_;
};

// "1:05" or "2:03:09".
std::string clockText(double seconds);

}  // namespace tessarin
