#include "platform/ExitWatch.h"

#include <utility>

namespace tessarin {

namespace {

// Without an exit descriptor: often enough that nobody notices, seldom enough to cost nothing.
constexpr std::chrono::milliseconds askingAgainAfter(50);

}  // namespace

ExitWatch::ExitWatch(RunLoop& loop, ChildProcess& child, RunLoop::Task exited)
    : loop_(loop), child_(child), exited_(std::move(exited)) {
  if (child_.exitDescriptor() >= 0)
    id_ = loop_.watchReadable(child_.exitDescriptor(), [this] { ask(); });
  else
    askLater();
}

void ExitWatch::askLater() {
  id_ = loop_.runAfter(askingAgainAfter, [this] { ask(); });
}

void ExitWatch::ask() {
  if (child_.isRunning()) {
    if (child_.exitDescriptor() < 0)
      askLater();
    return;
  }
  end();
  const RunLoop::Task exited = std::exchange(exited_, {});  // the call may destroy this watch
  exited();
}

void ExitWatch::end() {
  if (id_ != 0)
    loop_.cancel(std::exchange(id_, 0));
}

}  // namespace tessarin
