// Removes unfinished files when the program is interrupted.
#pragma once

#include <string>

namespace tessarin::quicktime {

// While it lives, an interrupt, a hang-up or a request to end removes the file and then ends the
// program by that signal, as if it had not been caught. A signal that is ignored stays ignored.
// One at a time. An empty path is no file.
class InterruptGuard {
 public:
  explicit InterruptGuard(const std::string& path);
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;
};

}  // namespace tessarin::quicktime
