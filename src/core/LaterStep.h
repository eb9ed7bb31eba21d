// What a chain of steps does next, from the loop.
#pragma once

#include <functional>
#include <utility>

#include "platform/RunLoop.h"

namespace tessarin {

// One step waits at a time. Goes with its owner: what still waits then is not done.
class LaterStep {
 public:
  // Borrowed.
  explicit LaterStep(RunLoop& loop) : loop_(loop) {}
  ~LaterStep() { loop_.cancel(turn_); }
  LaterStep(const LaterStep&) = delete;
  LaterStep& operator=(const LaterStep&) = delete;

  // Does this in a turn of its own, instead of what waits.
  void set(std::function<void()> step) {
    step_ = std::move(step);
    schedule();
  }
  void clear() { set(nullptr); }

  // Between these two nothing is done.
  void hold() {
    isHeld_ = true;
    schedule();
  }
  void release() {
    isHeld_ = false;
    schedule();
  }

 private:
  void schedule() {
    loop_.cancel(std::exchange(turn_, 0));
    if (!isHeld_ && step_)
      turn_ = loop_.runSoon([this] {
        turn_ = 0;
        std::exchange(step_, nullptr)();
      });
  }

  RunLoop& loop_;
  std::function<void()> step_;
  RunLoop::Id turn_ = 0;
  bool isHeld_ = false;
};

}  // namespace tessarin
