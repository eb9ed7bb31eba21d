// The run loop of programs without a window, over poll(2).
#pragma once

#include <poll.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/RunLoop.h"
#include "platform/TimedTasks.h"

namespace tessarin {

// One turn runs the tasks that are due (TimedTasks), then serves every ready descriptor once, in
// the order in which the watches were set. Sleeps in the kernel when nothing is due. One thread
// only; run() may be called again after it has ended, but not from a callback.
class PollRunLoop : public RunLoop {
 public:
  PollRunLoop() = default;
  PollRunLoop(const PollRunLoop&) = delete;
  PollRunLoop& operator=(const PollRunLoop&) = delete;

  Id watchReadable(int descriptor, Task task) override;
  Id runAfter(std::chrono::milliseconds delay, Task task) override;
  void cancel(Id id) override;
  int run() override;
  void stop(int status) override { status_ = status; }

 private:
  struct Watch {
    int descriptor;
    std::shared_ptr<const Task> task;  // shared: a task may cancel its own watch while it runs
  };

  void runDueTasks();
  void waitForDescriptors();
  void serveDescriptors();
  int millisecondsToNextTask() const;

  Id lastId_ = 0;
  TimedTasks tasks_;
  std::map<Id, Watch> watches_;

  // What poll(2) is given, and the watches behind it; rebuilt when a watch came or went.
  std::vector<pollfd> polled_;
  std::vector<Id> polledIds_;
  bool polledIsCurrent_ = false;

  std::optional<int> status_;
};

}  // namespace tessarin
