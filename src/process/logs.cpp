#include "process/logs.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "utils/files.h"
#include "utils/times.h"

namespace tessarin {

namespace {

// How often the size is looked at, in bytes of lines.
constexpr std::size_t lookEvery = 256u << 10;

// The log of this process and the descriptors through which it is written.
struct OwnLog {
  std::mutex mutex;
  std::string path;
  Descriptor kept;  // for a log that is not standard error
  std::vector<int> standard;
  std::function<void()> begin;
};

OwnLog& ownLog() {
  static OwnLog log;
  return log;
}

// Read as well as append, like the mode "a+" of the C library.
Outcome<Descriptor> openToAppend(const std::string& path) {
  Descriptor file = openFile(path, OpenFor::appending);
  if (!file.isOpen())
    return Failure{"'" + path + "': " + systemReason(errno)};
  return file;
}

// Sets a file aside that is too long. True when the path has to be opened again: this process or
// another one has begun a new log there. The lock keeps two processes from setting aside each
// other's new one.
bool makeRoom(const std::string& path, int descriptor) {
  const auto facts = fileFacts(descriptor);
  if (!facts || facts->kind != FileFacts::Kind::file ||
      facts->state.size <= static_cast<std::int64_t>(longestLog) ||
      !lockFile(descriptor, Lock::aloneAtOnce))
    return false;
  const std::string previous = joinPath(parentFolder(path), "Previous-" + fileName(path));
  const bool isGone = !isAt(path, *facts) || renameTo(path, previous, true) == 0;
  unlockFile(descriptor);
  return isGone;
}

Outcome<Descriptor> openLog(const std::string& path) {
  Outcome<Descriptor> file = openToAppend(path);
  return file && makeRoom(path, file->number()) ? openToAppend(path) : std::move(file);
}

// Puts a new file behind the numbers of the old one, so that all that write there go on.
bool beginAnew(OwnLog& log) {
  const int first = log.standard.empty() ? log.kept.number() : log.standard.front();
  if (first < 0 || !makeRoom(log.path, first))
    return false;
  const Outcome<Descriptor> file = openToAppend(log.path);
  if (!file)
    return false;
  if (log.kept.isOpen())
    putInPlaceOf(log.kept.number(), file.value());
  for (const int descriptor : log.standard)
    putInPlaceOf(descriptor, file.value());
  return true;
}

void keepToSize() {
  OwnLog& log = ownLog();
  std::function<void()> begin;
  {
    const std::lock_guard lock(log.mutex);
    if (beginAnew(log))
      begin = log.begin;
  }
  if (begin)
    begin();
}

}  // namespace

std::string detailLogPath() {
  return expandTilde("~/Library/Logs/" + Bundle::main().name() + "/Details.log");
}

std::string resumeLogPath() {
  return joinPath(parentFolder(detailLogPath()), "Resume.log");
}

bool redirectStdoutToFile(const std::string& path) {
  static bool redirected = false;
  logLine("redirectStdoutToFile…");
  if (redirected) {
    logLine("if (newStdout || newStderr)");
    return false;
  }
  const Outcome<Descriptor> file = openLog(path);
  if (!file) {
    logFormat("redirectStdoutToFile:-( {}", file.reason());
    return false;
  }
  std::fflush(stdout);
  std::fflush(stderr);
  redirected =
      putInPlaceOf(standardOutput, file.value()) && putInPlaceOf(standardError, file.value());
  ownLog().path = path;
  ownLog().standard = {standardOutput, standardError};
  setLogGrowth(lookEvery, keepToSize);
  return redirected;
}

Outcome<void> sendLogToFile(const std::string& path) {
  TESSARIN_TAKE(Descriptor file, openLog(path));
  setLogDescriptor(file.number());
  ownLog().kept = std::move(file);
  ownLog().path = path;
  setLogGrowth(lookEvery, keepToSize);
  return {};
}

void setLogBeginning(std::function<void()> begin) {
  ownLog().begin = std::move(begin);
}

void resumeLogAppend(std::optional<std::string_view> text) {
  const std::string path = resumeLogPath();
  if (!pathExists(path))
    appendTextToFile(path, "start date    : " + dateDescription(currentDate()), true);
  if (text)
    appendTextToFile(path, *text, true);
}

DebugMenuItem iba_menuDebugToggle(const DebugMenuItem& item) {
  logLine("a_menuDebugToggle   …");
  logFormat("a_menuDebugToggle   : {}", item.title);
  DebugMenuItem flipped;
  flipped.on = !item.on;
  flipped.title =
      Bundle::main().localizedString(flipped.on ? "menuDebug0" : "menuDebug1", "Localized");
  setDebugMode(flipped.on);
  logFormat("menuDebug           : {}", flipped.on ? 1 : 0);
  return flipped;
}

}  // namespace tessarin
