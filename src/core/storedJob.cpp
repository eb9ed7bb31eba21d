#include "core/storedJob.h"

#include <fstream>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

Dico recordOfState(const FileState& state) {
  return {{"device", static_cast<std::int64_t>(state.device)},
          {"inode", static_cast<std::int64_t>(state.inode)},
          {"size", state.size},
          {"changed", state.changedNanoseconds}};
}

FileState stateOfRecord(const Dico& record) {
  return {static_cast<std::uint64_t>(record.integer("device").value_or(0)),
          static_cast<std::uint64_t>(record.integer("inode").value_or(0)),
          record.integer("size").value_or(0), record.integer("changed").value_or(0)};
}

}  // namespace

Dico recordOfJob(const StoredJob& job) {
  Dico record{{"source", job.source}, {"folder", job.folder}, {"boot", job.boot}};
  if (job.movie) {
    record.set("output", job.output);
    record.set("movie", recordOfState(*job.movie));
    record.set("undamaged", job.isUndamaged);
  }
  return record;
}

StoredJob jobOfRecord(const Dico& record) {
  StoredJob job;
  job.source = record.textOrEmpty("source");
  job.folder = record.textOrEmpty("folder");
  job.boot = record.textOrEmpty("boot");
  job.output = record.textOrEmpty("output");
  if (const Dico* movie = record.dico("movie"))
    job.movie = stateOfRecord(*movie);
  job.isUndamaged = record.flag("undamaged");
  return job;
}

std::string runningSystem() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  std::getline(file, id);
  return std::string(trimmed(id));
}

}  // namespace tessarin
