// The log: lines for the detail log, the debug flag and the verbose level.
//
// A line is a label padded with blanks to 20 characters, then ": ", "- ", "= " or "? " and the
// value; ":-)" marks success, ":-(" failure, ":-/" doubt. Main thread only, except logLine.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace tessarin {

// Writes one line: the date, the program's name and process id, then the text, of which a mebibyte
// at the most. A line end is added. Goes to standard error unless setLogDescriptor or setLogHandler
// said otherwise.
void logLine(std::string_view text);

// Sends later lines to this descriptor (borrowed; it has to stay open). -1: standard error.
void setLogDescriptor(int descriptor);
// Has lines that would go to standard error go nowhere.
void keepLogFromTerminal();
// The descriptor that log lines go to: also the standard error of child processes whose messages
// nobody collects.
int logDescriptor();

// Calls the function, in the thread whose line it was, whenever lines have added so many bytes
// more; none ends that. It may write lines itself.
void setLogGrowth(std::size_t bytes, std::function<void()> grown);

// Hands later lines, without date, to this function instead of writing them; an empty function
// ends that. For tests.
using LogHandler = std::function<void(std::string_view)>;
void setLogHandler(LogHandler handler);

// The process-wide debug flag, off at start. Guards most of the detail lines.
bool debugMode();
void setDebugMode(bool on);

// Whether the verbose level 1 or 2 is on. In this build it never is; the calls stay so that a
// build may turn levels on.
bool verboseLevel(int level);

template <class... Arguments>
void logFormat(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  logLine(fmt::format(format, std::forward<Arguments>(arguments)...));
}

// The same, only with the debug flag. The arguments are computed in any case, only not formatted:
// where that costs something (the text of a record), ask debugMode() first and use logFormat.
template <class... Arguments>
void debugFormat(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  if (debugMode())
    logLine(fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace tessarin
