// Signals from outside (interrupt, terminate, hang-up) as calls on the run loop.
#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/RunLoop.h"

namespace tessarin {

// Writing to a pipe that nobody reads any more, and beyond the limit of a file's size, then fails
// with a reason instead of ending the program. Programs that are started begin as usual.
void ignoreBrokenPipes();
void ignoreFileLimit();

// The signal that ends a program which does not ignore that limit.
bool isOfFileLimit(int signal);
// Of a crash, or of a kill.
bool isCrash(int signal);
// The system's words for it.
std::string signalText(int signal);

// Stops this process until it is told to go on.
void suspendProcess();

// Catches the signals while it lives and calls the function on the loop, once per kind of signal
// that has come since (the kernel merges repeated ones, too); what was done with the signals
// before is put back afterwards. A signal that was ignored when the program started stays ignored
// (nohup). One watch per signal at a time. Nothing is called while the main thread is blocked.
//
// Works through a handler and a pipe, not by blocking the signals: a blocked signal would stay
// blocked in every program that a library starts, and the handler is right for any thread.
class SignalWatch {
 public:
  SignalWatch(RunLoop& loop, const std::vector<int>& signals, std::function<void(int)> caught);
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;
  ~SignalWatch();

 private:
  struct Former {
    int signal;
    struct sigaction action;
  };

  void serve();

  RunLoop& loop_;
  std::function<void(int)> caught_;
  Pipe pipe_;
  std::vector<Former> formers_;
  RunLoop::Id watch_ = 0;
};

}  // namespace tessarin
