// The user's terminal, and names as they may be shown on it.
#pragma once

#include <string>
#include <string_view>

namespace tessarin::cli {

// Whether a person reads this descriptor.
bool isTerminal(int descriptor);

// Columns of the terminal behind the descriptor; 80 when it does not say.
std::size_t terminalWidth(int descriptor);

// The text with control characters and bytes that are no UTF-8 written as "\n", "\x1b" and the
// like: a file name must not be able to steer the terminal.
std::string printable(std::string_view text);

// One argument as a POSIX shell reads it back, in quotes where it needs them.
std::string shellQuoted(std::string_view argument);

}  // namespace tessarin::cli
