// What a chain of steps does next, from the loop.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/DiskQuestion.h"
#include "platform/RunLoop.h"

namespace tessarin {

// One step waits at a time. Goes with its owner: what still waits then is not done.
class LaterStep {
 public:
  // `loop` is borrowed. A step is taken once the disks with the paths that `disks` names have
  // answered, so that it need not wait for one that hangs; at once where it names none.
  using Disks = std::function<std::vector<std::string>()>;
  explicit LaterStep(RunLoop& loop, Disks disks = {})
      : loop_(loop), disks_(std::move(disks)), answer_(loop) {}
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

  bool waitsForDisk() const { return answer_.isOpen(); }

 private:
  void schedule() {
    loop_.cancel(std::exchange(turn_, 0));
    answer_.cancel();
    if (isHeld_ || !step_)
      return;
    const auto act = [this] {
      turn_ = 0;
      std::exchange(step_, nullptr)();
    };
    if (std::vector<std::string> paths = disks_ ? disks_() : std::vector<std::string>();
        !paths.empty())
      answer_.askFor(std::move(paths), act);
    else
      turn_ = loop_.runSoon(act);
  }

  RunLoop& loop_;
  Disks disks_;
  std::function<void()> step_;
  RunLoop::Id turn_ = 0;
  DiskQuestion answer_;
  bool isHeld_ = false;
};

}  // namespace tessarin
