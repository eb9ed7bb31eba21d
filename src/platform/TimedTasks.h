// The tasks of a run loop that wait for their moment.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/RunLoop.h"

namespace tessarin {

// Tasks run in the order of their moments, those of the same moment in the order in which they
// were added. A task that is added during a turn runs in a later one, so that tasks which add the
// next one never keep the rest of the loop waiting.
class TimedTasks {
 public:
  // What one turn of the loop may run.
  struct Turn {
    std::chrono::steady_clock::time_point now;
    RunLoop::Id newest;
  };

  // Ids have to ascend.
  void add(RunLoop::Id id, std::chrono::milliseconds delay, RunLoop::Task task);
  // Ignores ids that are over or none of a task's.
  void cancel(RunLoop::Id id);

  Turn beginTurn() const { return {std::chrono::steady_clock::now(), newest_}; }
  // Takes the next task that is due off the queue, one at a time because each may add and cancel
  // others. Nothing when none is left for this turn.
  std::optional<RunLoop::Task> takeDue(const Turn& turn);

  // Until the next task is due, 0 when it is over-due; nothing without tasks. Rounded up: a wait
  // that ends just before the moment would be repeated with 0 until it comes.
  std::optional<std::chrono::milliseconds> untilNext() const;

 private:
  using Moment = std::pair<std::chrono::steady_clock::time_point, RunLoop::Id>;

  std::map<Moment, RunLoop::Task> tasks_;
  std::unordered_map<RunLoop::Id, std::chrono::steady_clock::time_point> moments_;
  RunLoop::Id newest_ = 0;
};

}  // namespace tessarin
