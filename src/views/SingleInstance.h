// One running copy of the program for each user.
#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QLocalSocket;

namespace tessarin {

// The first copy holds a lock and listens on a socket; a later one finds the lock taken and may
// hand its files over. Both live in a folder that is this user's alone.
class SingleInstance {
 public:
  // The folder is runtimeFolder() but for tests.
  explicit SingleInstance(const std::string& folder);
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // Whether this is the only copy. When that cannot be found out it is taken to be.
  bool isFirst() const { return isFirst_; }

  // For the first copy: calls `opened` with the files that a later copy hands over; an empty list
  // is somebody who only wanted to see the window. Needs Qt's events to be served.
  void serve(std::function<void(const std::vector<std::string>&)> opened);

  // For a later copy: hands the files (absolute paths) to the first one, and waits for its answer.
  // False when that did not take them within a few seconds.
  bool handOver(const std::vector<std::string>& paths) const;

 private:
  void read(QLocalSocket& caller);

  QString socketPath_;
  std::optional<QLockFile> lock_;
  bool isFirst_ = true;
  QLocalServer server_;
  std::function<void(const std::vector<std::string>&)> opened_;
};

// $XDG_RUNTIME_DIR, else a folder that is made for this user alone; "" when there is neither.
std::string runtimeFolder();

}  // namespace tessarin
