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
// waiting, so that the main thread goes on.
class DiskSync {
 public:
  using Done = std::function<void()>;

  explicit DiskSync(RunLoop& loop) : loop_(loop) {}
  DiskSync(const DiskSync&) = delete;
  DiskSync& operator=(const DiskSync&) = delete;

  // Calls `done` from the loop once the file's content has been brought to the disk or cannot be.
  // It is never called where the system has no such tool.
  void add(const std::string& path, Done done);
  // Forgets all files; none of them is called back.
  void clear();

 private:
  struct Entry {
    std::string path;
    Done done;
  };

  void start();
  void ended();

  RunLoop& loop_;
  std::vector<Entry> waiting_;
  std::vector<Entry> running_;
  std::unique_ptr<ChildProcess> child_;
  std::unique_ptr<ExitWatch> watch_;
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
