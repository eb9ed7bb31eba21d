#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/fileCalls.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Gives the copy the times of the original and brings it to the disk; 0 or the error.
int finishCopy(const std::string& path, const struct stat& original) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0)
    return errno;
  const timespec times[2] = {original.st_atim, original.st_mtim};
  ::futimens(descriptor, times);  // a file system without times still holds the copy
  const int error = ::fsync(descriptor) == 0 ? 0 : errno;
  ::close(descriptor);
  return error;
}

// A move across file systems: a whole copy first, then the names change.
int copyTo(const std::string& source, const struct stat& sourceStatus,
           const std::string& destination, bool replace) {
  if (S_ISDIR(sourceStatus.st_mode))
    return EXDEV;
  const std::string copy = temporaryNameBeside(destination);
  std::error_code failed;
  if (S_ISLNK(sourceStatus.st_mode))
    std::filesystem::copy_symlink(source, copy, failed);
  else
    std::filesystem::copy_file(source, copy, failed);
  int error = failed.value();
  if (error == 0 && !S_ISLNK(sourceStatus.st_mode))
    error = finishCopy(copy, sourceStatus);
  if (error == 0)
    error = renameTo(copy, destination, replace);
  if (error != 0) {
    ::unlink(copy.c_str());
    return error;
  }
  syncFolder(parentFolder(destination));
  if (::unlink(source.c_str()) != 0)
    logFormat("moveFile            :-/ copied, but the source stays: {}: {}", source,
              systemReason(errno));
  return 0;
}

// Both paths are names of one file. 0 when only the destination's name is left.
int dropOtherName(const std::string& source, const struct stat& status,
                  const std::string& destination) {
  std::error_code failed;
  const auto place = [&failed](const std::string& path) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(parentFolder(path), failed),
                                             failed) /
           fileName(path);
  };
  // With a single link it is the same entry, perhaps spelled otherwise.
  if (place(source) == place(destination) || status.st_nlink < 2)
    return renameTo(source, destination, true);
  return ::unlink(source.c_str()) == 0 ? 0 : errno;
}

}  // namespace

bool moveFile(std::string_view source, std::string_view destination,
              std::optional<std::string_view> overwriteOption) {
  const std::string from = expandTilde(source);
  const std::string to = expandTilde(destination);
  if (from.empty() || to.empty())
    return false;
  if (lacksHome(to)) {
    logFormat("moveFile            :-( no home folder: {}", to);
    return false;
  }
  struct stat fromStatus = {};
  if (!isThere(from, fromStatus)) {
    logFormat("moveFile            :-( the source does not exist: {}", from);
    return false;
  }
  const bool replace = overwriteOption == "y";
  struct stat toStatus = {};
  const bool taken = isThere(to, toStatus);
  if (taken && !replace) {
    logFormat("moveFile            :-( the destination exists and stays: {}", to);
    return false;
  }
  int error = 0;
  if (taken && fromStatus.st_dev == toStatus.st_dev && fromStatus.st_ino == toStatus.st_ino) {
    error = dropOtherName(from, fromStatus, to);
  } else {
    // A file replaces a file in one step; only what cannot be renamed over is removed first.
    if (taken && S_ISDIR(fromStatus.st_mode) != S_ISDIR(toStatus.st_mode) && !removeFile(to))
      return false;
    error = renameTo(from, to, replace);
    if (error == EXDEV)
      error = copyTo(from, fromStatus, to, replace);
  }
  if (error != 0) {
    logFormat("moveFile            :-( {} > {}: {}", from, to, systemReason(error));
    return false;
  }
  noteFileSystemChanged(to);
  return true;
}

int renameTo(const std::string& source, const std::string& destination, bool replace) {
  if (!replace) {
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0)
      return 0;
    if (errno != EINVAL && errno != ENOSYS)  // neither: the file system knows the flag
      return errno;
    // A second name is not made over an existing one either, where names of that kind are known.
    if (::link(source.c_str(), destination.c_str()) == 0)
      return ::unlink(source.c_str()) == 0 ? 0 : errno;
    struct stat status = {};
    if (errno == EEXIST || isThere(destination, status))
      return EEXIST;
  }
  return ::rename(source.c_str(), destination.c_str()) == 0 ? 0 : errno;
}

bool removeFile(std::string_view path) {
  const std::string name = expandTilde(path);
  struct stat status = {};
  if (!isThere(name, status))
    return false;
  if (name == "/" || name == expandTilde("~")) {
    logFormat("removeFile          :-( refused: {}", name);
    return false;
  }
  const int result = S_ISDIR(status.st_mode) ? ::rmdir(name.c_str()) : ::unlink(name.c_str());
  if (result != 0) {
    logFormat("removeFile          :-( {}: {}", name, systemReason(errno));
    return false;
  }
  return true;
}

}  // namespace tessarin
