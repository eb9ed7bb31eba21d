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
  List files;
  for (const StoredJob::File& file : job.files) {
    Dico stored{{"path", file.path}, {"intermediate", file.isIntermediate}};
    if (file.before)
      stored.set("before", recordOfState(*file.before));
    files.emplace_back(std::move(stored));
  }
  return {{"source", job.source}, {"files", std::move(files)}, {"boot", job.boot}};
}

StoredJob jobOfRecord(const Dico& record) {
  StoredJob job;
  job.source = record.textOrEmpty("source");
  job.boot = record.textOrEmpty("boot");
  const List* files = record.list("files");
  for (const Value& stored : files ? *files : List()) {
    if (!stored.dico())
      continue;
    StoredJob::File file;
    file.path = stored.dico()->textOrEmpty("path");
    file.isIntermediate = stored.dico()->flag("intermediate");
    if (const Dico* before = stored.dico()->dico("before"))
      file.before = stateOfRecord(*before);
    job.files.push_back(std::move(file));
  }
  return job;
}

std::string runningSystem() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  std::getline(file, id);
  return std::string(trimmed(id));
}

}  // namespace tessarin
