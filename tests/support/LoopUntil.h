// Serving a run loop until something has happened.
#pragma once

#include <chrono>
#include <functional>

#include "platform/RunLoop.h"

namespace tessarin::test {

// Runs the loop until the condition holds, looking every other millisecond; true when it came to
// hold. The time is the limit of a test that hangs, not a measure of anything.
inline bool loopUntil(RunLoop& loop, const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  RunLoop::Id id = 0;
  const std::function<void()> look = [&] {
    if (condition() || std::chrono::steady_clock::now() >= deadline)
      loop.stop(0);
    else
      id = loop.runAfter(std::chrono::milliseconds(2), look);
  };
  id = loop.runSoon(look);
  loop.run();
  loop.cancel(id);
  return condition();
}

// Serves the loop for this long.
inline void loopFor(RunLoop& loop, std::chrono::milliseconds time) {
  loop.runAfter(time, [&loop] { loop.stop(0); });
  loop.run();
}

}  // namespace tessarin::test
