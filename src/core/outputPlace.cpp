#include "core/outputPlace.h"

#include <cerrno>

#include "classShared/TextAdditions.h"
#include "core/failureReason.h"
#include "encoding/naming.h"
#include "encoding/outputName.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view prefix = ".tessarin-";

// An output of this many kilobytes or less holds no movie.
constexpr double smallestOutput = 10;

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
  if (!mkdir(folder) || !isFolderWritable(folder))
    return FolderRefusal{folder, whyNothingIsWritten(folder, systemReason(errno))};
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

void removeLeftJobFolders(const std::string& folder) {
  PrivateFolder::removeAbandoned(folder, prefix);
}

bool removeLeftJobFolder(const std::string& path) {
  return PrivateFolder::removeOne(path, prefix);
}

}  // namespace tessarin
