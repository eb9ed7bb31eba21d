// The exit of a child as a call on the run loop.
#pragma once

#include "platform/ChildProcess.h"
#include "platform/RunLoop.h"

namespace tessarin {

// Calls the function once, from the loop, after the child has exited; the child is reaped by then.
// Costs no processor time while the child runs. Loop and child are borrowed and have to outlive
// the watch; destroying it ends it.
class ExitWatch {
 public:
  ExitWatch(RunLoop& loop, ChildProcess& child, RunLoop::Task exited);
  ExitWatch(const ExitWatch&) = delete;
  ExitWatch& operator=(const ExitWatch&) = delete;
  ~ExitWatch() { end(); }

 private:
  void ask();
  void askLater();
  void end();

  RunLoop& loop_;
  ChildProcess& child_;
  RunLoop::Task exited_;
  RunLoop::Id id_ = 0;
};

}  // namespace tessarin
