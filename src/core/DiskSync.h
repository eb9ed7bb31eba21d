// Waiting until files are on the disk, without stopping for it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"
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

}  // namespace tessarin
