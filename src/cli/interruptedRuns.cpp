#include "cli/interruptedRuns.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/BatchTurn.h"
#include "cli/exitStatus.h"
#include "cli/runSettings.h"
#include "cli/terminal.h"
#include "cli/texts.h"
#include "core/rowResults.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

void tellInterrupted(std::size_t count) {
  if (count == 1)
    complain(localisationString("interrupted", textTable));
  else if (count > 1)
    complain(localisationString("interruptedSeveral", textTable, fmt::format("{}", count)));
}

Options optionsOf(const Dico& settings, const Options& given) {
  const Dico* stored = settings.dico(BatchSetting::front);
  return optionsOfStored(stored ? *stored : Dico(), given);
}

// The file of a whole batch is written anew at the end, whatever became of it.
std::variant<BatchTurn, Exit> turnOfInterrupted(const Options& options, Reporter& reporter,
                                                StoredBatch& batch) {
  if (options.row) {
    StoredBatch rows;
    return takeTurn(options, reporter, rows);
  }
  auto file = claimBatchFile(*options.batchFile, BatchUse::whole);
  if (file) {
    const RowResults results(*options.batchFile);
    for (StoredRow& row : batch.rows)
      row.row = resultOf(row, results).row;
    return BatchTurn{std::move(*file), {}, {}};
  }
  reporter.problem(*options.batchFile, file.reason());
  return Exit{someNot};
}

// An earlier try of the row that this run is about to convert.
bool isSameRow(const Options& options, const BatchStore& store) {
  const Options own = optionsOf(store.settings().content, {});
  return options.row && own.row == options.row && own.batchFile == options.batchFile;
}

}  // namespace

InterruptedBatches meetInterruptedRuns(const Options& options) {
  InterruptedBatches interrupted = findInterruptedBatches(batchesFolder());
  // Those are for the window's next start.
  std::erase_if(interrupted.stores, isAtRest);
  std::erase_if(interrupted.stores, [&options](BatchStore& store) {
    const bool isSame = isSameRow(options, store);
    if (isSame)
      store.discard();
    return isSame;
  });
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
    const Options own = optionsOf(batch.settings, options);
    BatchTurn turn;
    if (own.batchFile && own.command == Command::convert) {
      auto taken = turnOfInterrupted(own, reporter, batch);
      if (const Exit* exit = std::get_if<Exit>(&taken)) {
        if (exit->status == allConverted)
          store.discard();
        status = std::max(status, exit->status);
        continue;
      }
      turn = std::move(std::get<BatchTurn>(taken));
    }
    const RunEnd end = runner(own, {std::move(store), std::move(batch), std::move(turn)});
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
