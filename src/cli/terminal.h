// The user's terminal and the standard streams, and names as they may be shown there.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace tessarin::cli {

// Whether the terminal behind the descriptor can write over a line.
bool canRewriteLine(int descriptor);

// Writes the text at once; 0 or the error. A stream that is gone (closed pipe, hung-up terminal)
// is no reason to give up the work.
int writeText(std::FILE* stream, std::string_view text);

// Writes to standard output at once; false if not all could be written. That is complained of,
// unless the reader had seen enough, as head(1) has.
bool writeOutput(std::string_view text);

// The line "tessarin: REASON" on standard error, whatever the reason holds: printable() is ours.
void complain(std::string_view reason);

// The text with control characters, those of the direction of writing, and bytes that are no UTF-8
// written as "\n", "\x1b" and the like: a file name must not be able to steer the terminal.
std::string printable(std::string_view text);

// One argument as a POSIX shell reads it back, in quotes where it needs them.
std::string shellQuoted(std::string_view argument);

}  // namespace tessarin::cli
