#include "core/outputPlace.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/Descriptor.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Whether there is an entry of this name; a link counts, wherever it leads.
bool hasEntry(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0;
}

bool isFolder(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string replacedName(const std::string& output) {
  return partialName(output) + "-replaced";
}

Place takePlace(const std::string& output, bool replace) {
  if (replace && hasEntry(output) &&
      (isFolder(output) || !moveFile(output, replacedName(output), "y")))
    return Place::unreachable;
  constexpr mode_t permissions = 0666;  // less what the user's mask takes
  const Descriptor file(
      ::open(output.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
  if (file.isOpen())
    return Place::taken;
  const int error = errno;
  logFormat("takePlace           :-( {}: {}", output, systemReason(error));
  giveBackPlace(output);
  return error == EEXIST ? Place::occupied : Place::unreachable;
}

void giveBackPlace(const std::string& output) {
  if (hasEntry(replacedName(output)) && !hasEntry(output) &&
      !moveFile(replacedName(output), output, ""))
    logFormat("giveBackPlace       :-( {} stays at {}", output, replacedName(output));
}

void dropReplaced(const std::string& output) {
  if (hasEntry(replacedName(output)))
    removeFile(replacedName(output));
}

}  // namespace tessarin
