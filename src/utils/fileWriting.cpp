#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "utils/fileCalls.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr mode_t filePermissions = 0666;    // less the user's mask
constexpr mode_t folderPermissions = 0777;  // less the user's mask
constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

// 0 or the error of writing, syncing or closing. Closes the descriptor in any case.
int writeSyncAndClose(int descriptor, std::string_view bytes) {
  int error = 0;
  if (!writeAll(descriptor, bytes) || ::fsync(descriptor) != 0)
    error = errno;
  if (::close(descriptor) != 0 && error == 0)
    error = errno;
  return error;
}

// 0 or the error. An existing folder counts as made, whatever the file system says about making it.
int createFolder(const std::string& path) {
  const int error = ::mkdir(path.c_str(), folderPermissions) == 0 ? 0 : errno;
  return isDirectory(path) ? 0 : error;
}

int createFolders(const std::string& path) {
  const int error = createFolder(path);
  const std::string parent = parentFolder(path);
  if (error != ENOENT || parent.empty() || parent == path)
    return error;
  const int above = createFolders(parent);
  return above == 0 ? createFolder(path) : above;
}

}  // namespace

bool mkdir(std::string_view path) {
  const std::string name = expandTilde(path);
  if (name.empty() || lacksHome(name)) {
    if (!name.empty())
      logFormat("mkdir               :-(( '{}': no home folder", name);
    errno = ENOENT;
    return false;
  }
  debugFormat("mkdir               :    '{}'", name);
  if (createFolders(name) != 0) {
    logFormat("mkdir               :-(  '{}'", name);
    if (const int error = createFolders(name); error != 0) {
      logFormat("mkdir               :-(( '{}'", name);
      errno = error;
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
  if (lacksHome(name)) {
    logFormat("Error writing file at {}\nno home folder", name);
    return false;
  }
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
    logFormat("Error writing file at {}\n{}", name, systemReason(error));
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
  if (lacksHome(name))
    return false;
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

Outcome<void> writeFileAtomically(std::string_view path, std::string_view bytes,
                                  FolderSync folderSync) {
  const std::string name = resolveAlias(expandTilde(path));
  const auto failure = [&name](int error) { return Failure{name + ": " + systemReason(error)}; };
  if (name.empty())
    return failure(ENOENT);
  if (lacksHome(name))
    return Failure{name + ": no home folder"};
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
  if (folderSync == FolderSync::now)
    syncFolder(parentFolder(name));
  return {};
}

void noteFileSystemChanged(std::string_view /*path*/) {}

}  // namespace tessarin
