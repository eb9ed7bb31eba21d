// One running copy of the program for each user.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/RunLoop.h"

namespace tessarin {

// The first copy holds a lock and listens on a socket; a later one finds the lock taken and may
// hand its files over. Both live in a folder that is this user's alone.
class SingleInstance {
 public:
  // The folder is runtimeFolder() but for tests. The loop is borrowed and outlives the object.
  SingleInstance(RunLoop& loop, std::string folder);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // Whether this is the only copy. When that cannot be found out it is taken to be.
  bool isFirst() const { return isFirst_; }

  // For the first copy: calls `opened` with the files that a later copy hands over; an empty list
  // is somebody who only wanted to see the window.
  void serve(std::function<void(const std::vector<std::string>&)> opened);

  // For a later copy: hands the files (absolute paths) to the first one. False when that did not
  // take them within a few seconds.
  bool handOver(const std::vector<std::string>& paths) const;

 private:
  struct Caller;

  std::string socketPath() const;
  void accept();
  void read(Caller& caller);

  RunLoop& loop_;
  std::string folder_;
  Descriptor lock_;
  Descriptor socket_;
  bool isFirst_ = true;
  std::function<void(const std::vector<std::string>&)> opened_;
  std::vector<std::unique_ptr<Caller>> callers_;
  RunLoop::Id watch_ = 0;
};

// $XDG_RUNTIME_DIR, else a folder below /tmp that is made for this user alone; "" when there is
// neither.
std::string runtimeFolder();

}  // namespace tessarin
