// Waiting for the disk without stopping for it: a thread that writes, and a child that waits until
// files are there.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/ChildProcess.h"
#include "platform/Descriptor.h"
#include "platform/ExitWatch.h"
#include "platform/RunLoop.h"

namespace tessarin {

// A movie can take a slow disk many seconds; a child process ("sync" of the system) does the
// waiting, so that the main thread goes on. It is given one file after the other: of several it
// would not say which one the disk did not take.
class DiskSync {
 public:
  using Done = std::function<void(bool isOnDisk)>;

  explicit DiskSync(RunLoop& loop) : loop_(loop) {}
  ~DiskSync() { forget(); }
  DiskSync(const DiskSync&) = delete;
  DiskSync& operator=(const DiskSync&) = delete;

  // Calls `done` from the loop once the file's content has been brought to the disk or cannot be.
  void add(const std::string& path, Done done);
  // Calls `idle` once no file is waited for: at once when that is so already.
  void whenIdle(RunLoop::Task idle);
  // Forgets all files; none of them is called back. Who waits for the last one is.
  void clear();

 private:
  struct Entry {
    std::string path;
    Done done;
  };

  void start();
  void ended(bool isOnDisk);
  void forget();
  void tellIdle();

  RunLoop& loop_;
  std::deque<Entry> files_;  // the first one is being brought there
  std::unique_ptr<ChildProcess> child_;
  std::unique_ptr<ExitWatch> watch_;
  RunLoop::Id soon_ = 0;
  RunLoop::Task idle_;
};

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
