// Chains of commands joined by pipes.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"
#include "platform/ChildProcess.h"

namespace tessarin {

// An argument as a program gets it: with a leading "~" expanded, unless it is a URL (holds "://").
std::string toolArgument(const std::string& argument);

// The commands of a list in which the element "|" stands between them, each one the program and
// its arguments as the programs get them. Nothing when a command is empty.
std::optional<std::vector<Arguments>> splitCommands(const Arguments& arguments);

// The arguments in one line for the log.
std::string argumentsDescription(const Arguments& arguments);

// Starts the commands first to last, the standard output of each connected to the standard input
// of the next. `output` and `error` belong to the last one; the errors of the others go to the
// log, and the first reads nothing. When one cannot be started, those before it are ended again.
Outcome<std::vector<ChildProcess>> startChain(std::vector<ChildSetup> commands, ChildStream output,
                                              ChildStream error);

// Reads to the end of the pipe, piece by piece, for callers that wait. False when the end has not
// come by then, or `take` wants no more.
bool readToEnd(const Descriptor& pipe, std::chrono::steady_clock::time_point until,
               const std::function<bool(std::string_view)>& take);

// Waits until all have exited, at most this long for all together.
void waitForAll(std::vector<ChildProcess>& children, std::chrono::milliseconds longest);

// The command without its streams; it runs in the tools' environment.
ChildSetup toolCommand(const std::string& program, const Arguments& arguments);

}  // namespace tessarin
