#include "process/logs.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/Bundle.h"
#include "platform/Descriptor.h"
#include "utils/files.h"
#include "utils/times.h"

namespace tessarin {

namespace {

Outcome<Descriptor> openLog(const std::string& path) {
  // Read as well as append, like the mode "a+" of the C library.
  Descriptor file(::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
  if (!file.isOpen())
    return Failure{"'" + path + "': " + systemReason(errno)};
  return file;
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
  redirected = ::dup2(file.value().number(), STDOUT_FILENO) >= 0 &&
               ::dup2(file.value().number(), STDERR_FILENO) >= 0;
  return redirected;
}

Outcome<bool> sendLogToFile(const std::string& path) {
  static Descriptor kept;
  Outcome<Descriptor> file = openLog(path);
  if (!file)
    return Failure{file.reason()};
  setLogDescriptor(file->number());
  kept = std::move(*file);
  return true;
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
