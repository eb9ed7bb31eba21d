#include "core/storedJob.h"

#include <sys/stat.h>

#include <fstream>

#include "classShared/TextAdditions.h"

namespace tessarin {

FileMark fileMark(const std::string& path) {
  struct stat status {};
  FileMark mark;
  if (::stat(path.c_str(), &status) != 0)
    return mark;
  mark.exists = true;
  mark.device = static_cast<std::int64_t>(status.st_dev);
  mark.inode = static_cast<std::int64_t>(status.st_ino);
  mark.size = status.st_size;
  mark.seconds = status.st_mtim.tv_sec;
  mark.nanoseconds = status.st_mtim.tv_nsec;
  return mark;
}

Dico recordOfJob(const StoredJob& job) {
  List files;
  for (const StoredJob::File& file : job.files) {
    Dico stored{{"path", file.path}, {"intermediate", file.isIntermediate}};
    if (const FileMark& before = file.before; before.exists)
      stored.set("before", Dico{{"device", before.device},
                                {"inode", before.inode},
                                {"size", before.size},
                                {"seconds", before.seconds},
                                {"nanoseconds", before.nanoseconds}});
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
      file.before = {true,
                     before->integer("device").value_or(0),
                     before->integer("inode").value_or(0),
                     before->integer("size").value_or(0),
                     before->integer("seconds").value_or(0),
                     before->integer("nanoseconds").value_or(0)};
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
