// What is stored of a job while it writes.
#pragma once

#include <optional>
#include <string>

#include "classShared/Value.h"
#include "core/fileState.h"

namespace tessarin {

struct StoredJob {
  std::string source;
  std::string folder;  // into which it writes everything (outputPlace.h)
  std::string boot;    // runningSystem() of the job
  // Of a movie that was whole when this was stored, and then moved to its name.
  std::string output = {};
  std::optional<FileState> movie = {};
  bool isUndamaged = false;
};

Dico recordOfJob(const StoredJob& job);
StoredJob jobOfRecord(const Dico& record);

// A name for the time from one start of the system to the next: what was written in the same one
// cannot have been lost with the power. "" when the system does not tell.
std::string runningSystem();

}  // namespace tessarin
