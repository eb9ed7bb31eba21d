// The one loop through which everything asynchronous comes back, on the main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tessarin {

class RunLoop {
 public:
  using Task = std::function<void()>;
  // Names a watch or a task that is still to run; never 0, never used twice.
  using Id = std::uint64_t;

  virtual ~RunLoop() = default;

  // Calls `task` whenever the descriptor has data, is at its end or has failed, until cancelled.
  // The descriptor is borrowed: cancel the watch before closing it.
  virtual Id watchReadable(int descriptor, Task task) = 0;

  // Calls `task` once, after the delay, never from inside this call.
  virtual Id runAfter(std::chrono::milliseconds delay, Task task) = 0;
  Id runSoon(Task task) { return runAfter(std::chrono::milliseconds(0), std::move(task)); }

  // Ends a watch or forgets a task. Allowed from inside any callback, its own too; an id that is
  // over is ignored. After this call the task is not called again.
  virtual void cancel(Id id) = 0;

  // Serves until stop() is called; the result is stop()'s status. A stop() before run() counts.
  virtual int run() = 0;
  virtual void stop(int status) = 0;
};

}  // namespace tessarin
