// A thread for writing that waits for the disk.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "classShared/Outcome.h"
#include "platform/Descriptor.h"
#include "platform/RunLoop.h"

namespace tessarin {

// Does pieces of work one after the other, in the order in which they were added, so that the main
// thread need not wait for an fsync. What a piece works on is its own or const until its result is
// there; it decides nothing and calls nothing of the interface.
class DiskThread {
 public:
  using Work = std::function<Outcome<void>()>;
  using Done = std::function<void(const Outcome<void>& result)>;

  // The loop is borrowed. The thread starts with the first piece.
  explicit DiskThread(RunLoop& loop) : loop_(loop) {}
  // Waits for the work; the results are not told any more.
  ~DiskThread();
  DiskThread(const DiskThread&) = delete;
  DiskThread& operator=(const DiskThread&) = delete;

  // Calls `done` with the result from the loop, never from inside this call.
  void add(Work work, Done done);
  // Waits until all that was added is done, and tells the results before it returns.
  void finish();

 private:
  struct Piece {
    Work work;
    Done done;
    Outcome<void> result = {};
  };

  bool start();
  void serve();
  void tellResults();

  RunLoop& loop_;
  Descriptor wake_;  // counts results for the loop
  RunLoop::Id watch_ = 0;
  std::thread thread_;

  std::mutex mutex_;  // of all that follows
  std::condition_variable changed_;
  std::deque<Piece> waiting_;
  std::deque<Piece> finished_;
  bool isWorking_ = false;
  bool ends_ = false;
};

}  // namespace tessarin
