// The log lines of a test, instead of on the terminal.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/log.h"

namespace tessarin::test {

// Collects every log line (without its date) while it lives; lines may come from any thread. The
// debug flag may be switched for that time and is put back afterwards. One at a time.
class LogCapture {
 public:
  explicit LogCapture(bool debug = debugMode()) : debugBefore_(debugMode()) {
    setDebugMode(debug);
    setLogHandler([this](std::string_view line) {
      const std::lock_guard<std::mutex> lock(mutex_);
      lines_.emplace_back(line);
    });
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() {
    setLogHandler({});
    setDebugMode(debugBefore_);
  }

  std::vector<std::string> lines() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }
  // A whole line.
  bool has(std::string_view line) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
  }
  // A part of a line.
  bool mentions(std::string_view part) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(), [part](const std::string& line) {
      return line.find(part) != std::string::npos;
    });
  }
  void clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  bool debugBefore_;
};

}  // namespace tessarin::test
