#include "platform/PollRunLoop.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "classShared/log.h"

namespace tessarin {

RunLoop::Id PollRunLoop::watchReadable(int descriptor, Task task) {
  const Id id = ++lastId_;
  watches_.emplace(id, Watch{descriptor, std::make_shared<const Task>(std::move(task))});
  polledIsCurrent_ = false;
  return id;
}

RunLoop::Id PollRunLoop::runAfter(std::chrono::milliseconds delay, Task task) {
  const Id id = ++lastId_;
  tasks_.add(id, delay, std::move(task));
  return id;
}

void PollRunLoop::cancel(Id id) {
  if (watches_.erase(id) > 0)
    polledIsCurrent_ = false;
  tasks_.cancel(id);
}

int PollRunLoop::run() {
  while (!status_) {
    runDueTasks();
    if (status_)
      break;
    waitForDescriptors();
    serveDescriptors();
  }
  return *std::exchange(status_, std::nullopt);
}

void PollRunLoop::runDueTasks() {
  const TimedTasks::Turn turn = tasks_.beginTurn();
  while (!status_) {
    const auto task = tasks_.takeDue(turn);
    if (!task)
      return;
    (*task)();
  }
}

void PollRunLoop::waitForDescriptors() {
  if (!polledIsCurrent_) {
    polled_.clear();
    polledIds_.clear();
    for (const auto& [id, watch] : watches_) {
      polled_.push_back({watch.descriptor, POLLIN, 0});
      polledIds_.push_back(id);
    }
    polledIsCurrent_ = true;
  }
  const int ready = ::poll(polled_.data(), polled_.size(), millisecondsToNextTask());
  if (ready > 0)
    return;
  // Nothing is ready, or a signal came: what the entries say is from an earlier turn.
  for (pollfd& entry : polled_)
    entry.revents = 0;
}

void PollRunLoop::serveDescriptors() {
  // A callback may set and end watches; the lists it leaves behind are rebuilt before the next
  // wait, so copies of this turn's are walked.
  const std::vector<pollfd> polled = polled_;
  const std::vector<Id> ids = polledIds_;
  for (std::size_t index = 0; index < polled.size() && !status_; ++index) {
    if (polled[index].revents == 0)
      continue;
    const auto watch = watches_.find(ids[index]);
    if (watch == watches_.end())
      continue;
    if ((polled[index].revents & POLLNVAL) != 0) {
      // Somebody closed it without ending the watch; served on, it would be ready for ever.
      logFormat("run loop            :-( descriptor {} is not open", polled[index].fd);
      cancel(ids[index]);
      continue;
    }
    const std::shared_ptr<const Task> task = watch->second.task;
    (*task)();
  }
}

int PollRunLoop::millisecondsToNextTask() const {
  const auto left = tasks_.untilNext();
  if (!left)
    return -1;
  return static_cast<int>(std::min<std::int64_t>(left->count(), std::numeric_limits<int>::max()));
}

}  // namespace tessarin
