// The half of starting a program that runs in the new process.
#pragma once

#include <sys/types.h>

#include <array>

namespace tessarin {

// Everything the new process needs, made ready before: until it has become the program only
// async-signal-safe calls are allowed, so nothing may be allocated there.
struct ChildStart {
  const char* program;
  char* const* arguments;       // ends with null
  char* const* environment;     // ends with null
  const char* workingFolder;    // null: stay
  std::array<int, 3> standard;  // becomes 0, 1 and 2; may be any open descriptors
  int report;                   // close-on-exec write end on which a StartFailure is written
  pid_t parent;
  bool ownSession;
};

struct StartFailure {
  enum class Step : int { folder, streams, program };
  Step step;
  int error;  // errno
};

// Turns the new process into the program; writes the failure and exits when that is not possible.
[[noreturn]] void becomeProgram(const ChildStart& start);

}  // namespace tessarin
