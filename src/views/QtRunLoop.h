// The run loop over Qt's event loop.
#pragma once

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/RunLoop.h"

namespace tessarin {

// Needs an application object, which has to outlive the loop. Tasks run in the order of their
// moments, those of the same moment in the order of asking, as with poll(2).
class QtRunLoop final : public RunLoop {
 public:
  QtRunLoop();
  ~QtRunLoop() override;
  QtRunLoop(const QtRunLoop&) = delete;
  QtRunLoop& operator=(const QtRunLoop&) = delete;

  Id watchReadable(int descriptor, Task task) override;
  Id runAfter(std::chrono::milliseconds delay, Task task) override;
  void cancel(Id id) override;
  int run() override;
  void stop(int status) override;

  bool isRunning() const { return loop_ != nullptr && loop_->isRunning(); }

 private:
  using Clock = std::chrono::steady_clock;
  using Moment = std::pair<Clock::time_point, Id>;

  void runDueTasks();
  void armTimer();

  std::unordered_map<Id, std::unique_ptr<QSocketNotifier>> watches_;
  std::map<Moment, Task> tasks_;
  std::unordered_map<Id, Clock::time_point> moments_;
  QTimer timer_;
  QEventLoop* loop_ = nullptr;  // while run() serves
  std::optional<int> status_;   // of a stop() that run() has not answered yet
  Id lastId_ = 0;
};

}  // namespace tessarin
