#include "platform/TimedTasks.h"

#include <algorithm>

namespace tessarin {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

void TimedTasks::add(RunLoop::Id id, milliseconds delay, RunLoop::Task task) {
  const Clock::time_point moment = Clock::now() + delay;
  tasks_.emplace(Moment(moment, id), std::move(task));
  moments_.emplace(id, moment);
  newest_ = id;
}

void TimedTasks::cancel(RunLoop::Id id) {
  const auto moment = moments_.find(id);
  if (moment == moments_.end())
    return;
  tasks_.erase(Moment(moment->second, id));
  moments_.erase(moment);
}

std::optional<RunLoop::Task> TimedTasks::takeDue(const Turn& turn) {
  for (auto next = tasks_.begin(); next != tasks_.end() && next->first.first <= turn.now; ++next) {
    if (next->first.second > turn.newest)
      continue;
    RunLoop::Task task = std::move(next->second);
    moments_.erase(next->first.second);
    tasks_.erase(next);
    return task;
  }
  return std::nullopt;
}

std::optional<milliseconds> TimedTasks::untilNext() const {
  if (tasks_.empty())
    return std::nullopt;
  const auto left = tasks_.begin()->first.first - Clock::now();
  return std::max(std::chrono::ceil<milliseconds>(left), milliseconds(0));
}

}  // namespace tessarin
