// The batch file of --batch at the start of a run.
#pragma once

#include <optional>

#include "cli/Reporter.h"
#include "cli/Session.h"
#include "cli/options.h"

namespace tessarin::cli {

// What the run begins with: the batch in the file, or nothing special for a run that writes the
// file or has none. No result when the file is no batch, or is one that would be replaced without
// the user's wish; the user has been told.
std::optional<RunStart> startOfBatchFile(const Options& options, Reporter& reporter);

}  // namespace tessarin::cli
