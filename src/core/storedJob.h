// What is stored of a job while it writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "classShared/Value.h"

namespace tessarin {

// A file as it was at a moment. One that is still like that has not been written to.
struct FileMark {
  bool exists = false;
  std::int64_t device = 0;
  std::int64_t inode = 0;
  std::int64_t size = 0;         // bytes
  std::int64_t seconds = 0;      // of the last change of the content, since 1970
  std::int64_t nanoseconds = 0;  // of that second
  bool operator==(const FileMark&) const = default;
};

FileMark fileMark(const std::string& path);

struct StoredJob {
  struct File {
    std::string path;
    bool isIntermediate = false;  // of no use without the job; else the job's output
    FileMark before;              // just before the job began to write it
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
