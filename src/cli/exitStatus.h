// The exit statuses of the command line.
#pragma once

namespace tessarin::cli {

enum ExitStatus { allConverted = 0, someNot = 1, wrongUse = 2 };

}  // namespace tessarin::cli
