// The run loop over Qt's event loop.
#pragma once

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <optional>
#include <unordered_map>

#include "platform/RunLoop.h"
#include "platform/TimedTasks.h"

namespace tessarin {

// Needs an application object, which has to outlive the loop. Tasks run as with poll(2).
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
  void runDueTasks();
  void armTimer();

  std::unordered_map<Id, std::unique_ptr<QSocketNotifier>> watches_;
  TimedTasks tasks_;
  QTimer timer_;
  QEventLoop* loop_ = nullptr;  // while run() serves
  std::optional<int> status_;   // of a stop() that run() has not answered yet
  Id lastId_ = 0;
};

}  // namespace tessarin
