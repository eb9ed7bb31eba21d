// What is stored of a job while it writes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classShared/Value.h"
#include "core/fileState.h"

namespace tessarin {

struct StoredJob {
  struct File {
    std::string path;
    bool isIntermediate = false;  // of no use without the job; else the job's output
    // Just before the job began to write it; one that is still the same was not begun.
    std::optional<FileState> before = {};
  };
  std::string source;
  std::vector<File> files;
  std::string boot;  // runningSystem() of the job
};

Dico recordOfJob(const StoredJob& job);
StoredJob jobOfRecord(const Dico& record);

// A name for the time from one start of the system to the next: what was written in the same one
// cannot have been lost with the power. "" when the system does not tell.
std::string runningSystem();

}  // namespace tessarin
