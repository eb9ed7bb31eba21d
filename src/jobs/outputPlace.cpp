#include "jobs/outputPlace.h"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/naming.h"
#include "encoding/outputName.h"
#include "jobs/failureReason.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view prefix = ".tessarin-";

// An output of this many kilobytes or less holds no movie.
constexpr double smallestOutput = 10;

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

std::string whyInTheWay(const std::string& path) {
  return localisationString("why_inTheWay", "", path);
}

std::string whyNothingIsWritten(const std::string& folder, const std::string& cause) {
  for (std::string path = folder; !path.empty() && !isDirectory(path); path = parentFolder(path))
    if (isNameTaken(path))
      return whyInTheWay(path);
  return withCause(localisationString("why_destination", "", folder), cause);
}

std::optional<FolderRefusal> refusalOfDestination(const std::string& destination) {
  const std::string folder = outputFolder(destination);
  const auto foreign = [](const std::string& path) {
    return FolderRefusal{path, localisationString("why_foreignFolder", "", path), true};
  };
  if (const std::string above = expandTilde(destination); isOfAnotherUser(above))
    return foreign(above);
  if (!mkdir(folder))
    return FolderRefusal{folder, whyNothingIsWritten(folder, systemReason(errno))};
  if (const auto writable = isFolderWritable(folder); !writable)
    return FolderRefusal{folder, whyNothingIsWritten(folder, writable.reason())};
  if (isOfAnotherUser(folder))
    return foreign(folder);
  return std::nullopt;
}

std::string newJobFolder(const std::string& output) {
  return PrivateFolder::newPath(parentFolder(output), prefix);
}

Outcome<PrivateFolder> makeJobFolder(const std::string& path) {
  return PrivateFolder::create(path);
}

std::string workPath(const std::string& jobFolder, const std::string& output) {
  return joinPath(jobFolder, fileName(output));
}

bool mayHoldMovie(const std::string& path) {
  return pathExists(path) && poidsFile(path, "k") > smallestOutput;
}

void removeLeftFolders(const std::string& folder) {
  PrivateFolder::removeAbandoned(folder, prefix);
  PrivateFolder::removeAbandoned(folder, trialPrefix);
  // The folder above was tried, too.
  PrivateFolder::removeAbandoned(parentFolder(folder), trialPrefix);
}

bool removeLeftJobFolder(const std::string& path) {
  return PrivateFolder::removeOne(path, prefix);
}

std::string setAsideFailure(const std::string& file, const std::string& output) {
  if (!isNameTaken(file))
    return "";
  const std::string name = withoutExtension(output) + "-failure";
  std::string aside = withExtension(name, pathExtension(output));
  int error = renameTo(file, aside, false);
  for (int number = 2; error == EEXIST; ++number) {
    aside = withExtension(fmt::format("{}-{}", name, number), pathExtension(output));
    error = renameTo(file, aside, false);
  }
  if (error == 0)
    return aside;
  logFormat("setAsideFailure     :-( {}: {}", aside, systemReason(error));
  return "";
}

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
