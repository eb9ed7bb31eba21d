#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <system_error>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr mode_t filePermissions = 0666;    // less the user's mask
constexpr mode_t folderPermissions = 0777;  // less the user's mask
constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

std::string reasonOf(int error) {
  return std::strerror(error);
}

// False with errno set.
bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0)
      return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// 0 or the error of writing, syncing or closing. Closes the descriptor in any case.
int writeSyncAndClose(int descriptor, std::string_view bytes) {
  int error = 0;
  if (!writeAll(descriptor, bytes) || ::fsync(descriptor) != 0)
    error = errno;
  if (::close(descriptor) != 0 && error == 0)
    error = errno;
  return error;
}

// Makes a rename in this folder survive a power cut. A file system that cannot is left alone.
void syncFolder(const std::string& folder) {
  const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0)
    return;
  ::fsync(descriptor);
  ::close(descriptor);
}

// A hidden name in the folder of the path, short enough for every file system.
std::string temporaryNameBeside(const std::string& path) {
  std::random_device random;
  return joinPath(parentFolder(path), fmt::format(".Tessarin-{:08x}{:08x}", random(), random()));
}

bool createFolders(const std::string& path) {
  if (::mkdir(path.c_str(), folderPermissions) == 0)
    return true;
  if (errno == EEXIST)
    return isDirectory(path);
  const std::string parent = parentFolder(path);
  if (errno != ENOENT || parent.empty() || parent == path)
    return false;
  return createFolders(parent) &&
         (::mkdir(path.c_str(), folderPermissions) == 0 || (errno == EEXIST && isDirectory(path)));
}

// ---- Moving

bool isThere(const std::string& path, struct stat& status) {
  return !path.empty() && ::lstat(path.c_str(), &status) == 0;
}

// 0 or the error. Without `replace` an existing destination is an error, also one that appears
// only now.
int renameTo(const std::string& source, const std::string& destination, bool replace) {
  if (!replace) {
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0)
      return 0;
    if (errno != EINVAL)  // the file system does not know the flag
      return errno;
    struct stat status = {};
    if (isThere(destination, status))
      return EEXIST;
  }
  return ::rename(source.c_str(), destination.c_str()) == 0 ? 0 : errno;
}

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
              reasonOf(errno));
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

bool mkdir(std::string_view path) {
  const std::string name = expandTilde(path);
  if (name.empty())
    return false;
  debugFormat("mkdir               :    '{}'", name);
  if (!createFolders(name)) {
    logFormat("mkdir               :-(  '{}'", name);
    // A second try helps where a mounted volume has only just woken up.
    if (!createFolders(name)) {
      logFormat("mkdir               :-(( '{}'", name);
      return false;
    }
  }
  debugFormat("mkdir               :-)  '{}'", name);
  noteFileSystemChanged(name);
  return true;
}

bool ecritureFichier(std::string_view path, std::optional<std::string_view> text, int number) {
  if (path.empty() || !text)
    return false;
  const std::string name = expandTilde(path);
  logFormat("{}", number);
  debugFormat("utils > ecritureFichier > pathStr : {}", name);
  debugFormat("nomFichier : {}", fileName(name));
  const std::string lines = replaceAll(replaceAll(*text, "\r\n", "\n"), "\r", "\n");
  const int descriptor =
      ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, filePermissions);
  bool written = descriptor >= 0 && writeAll(descriptor, lines);
  int error = written ? 0 : errno;
  if (descriptor >= 0 && ::close(descriptor) != 0 && written) {
    written = false;
    error = errno;
  }
  if (!written) {
    logFormat("Error writing file at {}\n{}", name, reasonOf(error));
    return false;
  }
  if (debugMode())
    logLine("ecritureFichier     :-)");
  return true;
}

bool appendTextToFile(std::string_view path, std::optional<std::string_view> text, bool addMark) {
  if (path.empty() || !text || text->empty())
    return false;
  const std::string name = expandTilde(path);
  std::string bytes;
  if (!pathExists(name)) {
    if (debugMode())
      logLine("a creer…");
    const int created =
        ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, filePermissions);
    if (created < 0) {
      std::fputs("Impossible to create destination file !\n", stderr);
      return false;
    }
    ::close(created);
    if (addMark) {
      bytes = utf8Mark;
      debugFormat("Fixed BOM           :-) {}", name);
    }
  }
  bytes += *text;
  const int descriptor = ::open(name.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (descriptor < 0)
    return false;
  const bool written = writeAll(descriptor, bytes);
  if (::close(descriptor) != 0 || !written)
    return false;
  debugFormat("ecrit               :-) {}", name);
  return true;
}

Outcome<bool> writeFileAtomically(std::string_view path, std::string_view bytes) {
  const std::string name = resolveAlias(expandTilde(path));
  const auto failure = [&name](int error) { return Failure{name + ": " + reasonOf(error)}; };
  if (name.empty())
    return failure(ENOENT);
  const std::string temporary = temporaryNameBeside(name);
  const int descriptor =
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, filePermissions);
  if (descriptor < 0)
    return failure(errno);
  struct stat before = {};
  if (::stat(name.c_str(), &before) == 0)
    ::fchmod(descriptor, before.st_mode & 07777U);
  int error = writeSyncAndClose(descriptor, bytes);
  if (error == 0)
    error = renameTo(temporary, name, true);
  if (error != 0) {
    ::unlink(temporary.c_str());
    return failure(error);
  }
  syncFolder(parentFolder(name));
  return true;
}

bool moveFile(std::string_view source, std::string_view destination,
              std::optional<std::string_view> overwriteOption) {
  const std::string from = expandTilde(source);
  const std::string to = expandTilde(destination);
  if (from.empty() || to.empty())
    return false;
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
    logFormat("moveFile            :-( {} > {}: {}", from, to, reasonOf(error));
    return false;
  }
  noteFileSystemChanged(to);
  return true;
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
    logFormat("removeFile          :-( {}: {}", name, reasonOf(errno));
    return false;
  }
  return true;
}

void noteFileSystemChanged(std::string_view /*path*/) {}

}  // namespace tessarin
