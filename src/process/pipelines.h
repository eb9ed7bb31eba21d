// Tools that are run to their end while the caller waits, for their whole output. Not for the
// program's main thread, which waits for nothing: there a tool is run by a ToolRun.
//
// The runners here and taskBloquante answer with the output as text, when it is UTF-8. They answer
// nothing when a tool is missing or cannot be started, when there is no output, or none that is
// UTF-8; how a tool ended is not asked. All of them block until the tools have ended and leave
// none running, and the tools read an empty standard input, never the user's terminal. They run in
// the tool environment. Tools that have not ended after longestBlockingRun, or say more than
// longestBlockingOutput, are ended, and nothing is answered.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/TextAdditions.h"

namespace tessarin {

inline constexpr std::chrono::seconds longestBlockingRun(60);
inline constexpr std::size_t longestBlockingOutput = 64u << 20;  // bytes

// Runs a chain of tools given by their full paths, "|" between them; the output is what the last
// one writes on standard output and standard error. Blank outputs ("", " ", "\n", " \n") count as
// none.
std::optional<std::string> taskArrayPipes(const Arguments& arguments);

// Runs one tool with at least one argument, or two with a "|" between them; a second "|" is shown
// to the user as a mistake. The standard error of the last tool is part of the output when wanted,
// else it goes to the log. The second tool runs in the application's own environment. Blank
// outputs as above.
std::optional<std::string> taskArray1PipeMax(const Arguments& arguments, bool captureStandardError);

// Runs a shell line, in the folder when there is such a folder. The bundle's tools folder in the
// line is replaced by the working folder's, whose path needs no quoting. The output is read after
// the shell has exited: a line that writes more than a pipe holds (64 KiB) cannot end. One line
// end at the end of the output is taken off.
std::optional<std::string> taskWithStrArgs(const std::string& commandLine,
                                           const std::string& currentFolder = {});

// Whether an output counts as none.
bool isBlankOutput(std::string_view text);

// The output of a tool as text: the bytes when they are UTF-8 (and so when they are 7-bit ASCII).
std::optional<std::string> decodedOutput(std::string bytes);

}  // namespace tessarin
