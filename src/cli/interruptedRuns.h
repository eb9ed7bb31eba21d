// Runs that were interrupted, as the user of a later run meets them.
#pragma once

#include <functional>

#include "cli/Reporter.h"
#include "cli/Session.h"
#include "cli/options.h"
#include "core/recovery.h"

namespace tessarin::cli {

// What one run came to.
struct RunEnd {
  int status = 0;
  bool isInterrupted = false;  // by a signal
};

// Does one run to its end.
using Runner = std::function<RunEnd(const Options&, RunStart)>;

// Cleans up behind interrupted runs and says on standard error what was done and, unless this run
// is there for them, how they can be finished; one that was interrupted in the row of a batch file
// that this run is about to convert is given up for it. The result holds them.
InterruptedBatches meetInterruptedRuns(const Options& options);

// Finishes them one after the other; the result is the exit status.
int recoverRuns(const Options& options, InterruptedBatches interrupted, Reporter& reporter,
                const Runner& runner);

// Gives them up; the result is the exit status.
int forgetRuns(InterruptedBatches interrupted, Reporter& reporter);

}  // namespace tessarin::cli
