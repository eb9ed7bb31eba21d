// The two logs of a user, and what start-up writes into them.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"

namespace tessarin {

// "~/Library/Logs/NAME/Details.log" with the bundle's name: all that the application and its tools
// write. The folder is made at start-up, by the caller.
std::string detailLogPath();
// "Resume.log" beside it: a summary of a few lines.
std::string resumeLogPath();

// A log that has grown beyond this is set aside as "Previous-NAME" in its folder, in the place of
// an older one, and a new one is begun: when it is opened, and as lines are written. Several
// processes may write to the same log at the same time.
inline constexpr std::size_t longestLog = 10u << 20;  // bytes

// Called after a log was begun anew in the course of the run, to write what every log begins with;
// in whichever thread wrote the line that was too many.
void setLogBeginning(std::function<void()> begin);

// Sends the process's standard output and standard error, and with them the log lines and the
// errors of tools, to the end of the file, which is made when missing. For programs with a window.
// Works once: later calls change nothing and say so in the log. False when nothing was redirected.
bool redirectStdoutToFile(const std::string& path);

// Sends only the log lines and the errors of tools there, for programs that keep their terminal.
// The file stays open; a later call puts another in its place.
Outcome<void> sendLogToFile(const std::string& path);

// Appends the text to the summary log as it stands. A missing log is begun first, with the UTF-8
// mark and "start date    : " and the date, without a line end; with no text that is all.
void resumeLogAppend(std::optional<std::string_view> text);

// The menu entry that switches the debug flag.
struct DebugMenuItem {
  bool on = false;
  std::string title;
};
// Flips the item and the debug flag; the item's new state and title.
DebugMenuItem iba_menuDebugToggle(const DebugMenuItem& item);

// ---- Facts about the machine. Each call writes the fact to the log.

// The kernel's version as a decimal number (6.0100 for 6.1.0), else the distribution's; -1 when
// neither is known.
double operatingSystemVersion();
// 0: there is no such framework on this platform.
double mediaFrameworkVersion();
int processorsAndCores();
// Always true: how a display is drawn makes no difference to this program.
bool displayIsAccelerated();
// Always false: the family that was too slow is not of this platform.
bool isOldProcessor();

}  // namespace tessarin
