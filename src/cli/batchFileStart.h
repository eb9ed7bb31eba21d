// The batch file of --batch at the start of a run.
#pragma once

#include <variant>

#include "cli/Reporter.h"
#include "cli/Session.h"
#include "cli/options.h"

namespace tessarin::cli {

// What the run begins with: the batch in the file or a row of it, or nothing special for a run that
// writes the file or has none. The exit status where nothing is to be converted: when the file is
// no batch, is one that would be replaced without the user's wish, or is worked on by others, and
// when only its state is asked for; the user has been told.
std::variant<RunStart, Exit> startOfBatchFile(const Options& options, Reporter& reporter);

}  // namespace tessarin::cli
