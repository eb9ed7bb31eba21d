#include "cli/interruptedRuns.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/exitStatus.h"
#include "cli/runSettings.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

void tellInterrupted(std::size_t count) {
  if (count == 1)
    complain(localisationString("interrupted", textTable));
  else if (count > 1)
    complain(localisationString("interruptedSeveral", textTable, fmt::format("{}", count)));
}

}  // namespace

InterruptedBatches meetInterruptedRuns(const Options& options) {
  InterruptedBatches interrupted = findInterruptedBatches(batchesFolder());
  // Those are for the window's next start.
  std::erase_if(interrupted.stores, isAtRest);
  for (const PutAside& each : interrupted.putAside)
    complain(localisationString("putAside", textTable, each.output, each.aside));
  for (const StoreProblem& each : interrupted.problems)
    complain(fmt::format("{}: {}", each.path, each.reason));
  if (!options.recover && !options.forget)
    tellInterrupted(interrupted.stores.size());
  return interrupted;
}

int recoverRuns(const Options& options, InterruptedBatches interrupted, Reporter& reporter,
                const Runner& runner) {
  if (interrupted.stores.empty())
    reporter.note(localisationString("nothingToRecover", textTable));
  int status = allConverted;
  for (BatchStore& store : interrupted.stores) {
    std::vector<StoreProblem> problems;
    StoredBatch batch = readInterruptedBatch(store, problems);
    for (const StoreProblem& problem : problems)
      reporter.problem(problem.path, problem.reason);
    if (!problems.empty())
      status = someNot;
    const Dico* stored = batch.settings.dico(BatchSetting::front);
    const Options own = optionsOfStored(stored ? *stored : Dico(), options);
    const RunEnd end = runner(own, {std::move(store), std::move(batch)});
    status = std::max(status, end.status);
    if (end.isInterrupted)
      break;
  }
  return status;
}

int forgetRuns(InterruptedBatches interrupted, Reporter& reporter) {
  if (interrupted.stores.empty())
    reporter.note(localisationString("nothingToRecover", textTable));
  for (BatchStore& store : interrupted.stores)
    store.discard();
  return allConverted;
}

}  // namespace tessarin::cli
