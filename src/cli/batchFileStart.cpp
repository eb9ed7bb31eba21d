#include "cli/batchFileStart.h"

#include "cli/BatchTurn.h"
#include "cli/exitStatus.h"
#include "core/BatchFile.h"
#include "core/rowResults.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

// Why the file must not be written; nothing when it may, and then nobody works on it.
std::optional<std::string> refusalToWrite(const Options& options, BatchTurn& turn) {
  const BatchFile file = readBatchFile(*options.batchFile);
  if (file.state == BatchPart::State::missing)
    return std::nullopt;
  // Never a file of another kind, whatever is wished.
  if (file.state != BatchPart::State::good)
    return localisationString("why_fileThere");
  if (options.overwrite != Overwrite::replace)
    return localisationString("why_batchThere");
  auto claimed = claimBatchFile(*options.batchFile, BatchUse::whole);
  if (!claimed)
    return claimed.reason();
  turn.file = std::move(*claimed);
  return std::nullopt;
}

}  // namespace

std::variant<RunStart, Exit> startOfBatchFile(const Options& options, Reporter& reporter) {
  RunStart start;
  if (!options.batchFile)
    return start;
  if (options.report)
    return Exit{reportBatch(*options.batchFile, reporter)};
  if (options.command == Command::prepare) {
    const auto refusal = refusalToWrite(options, start.turn);
    if (!refusal)
      return start;
    reporter.problem(*options.batchFile, *refusal);
    return Exit{someNot};
  }
  auto turn = takeTurn(options, reporter, start.batch.emplace());
  if (const Exit* exit = std::get_if<Exit>(&turn))
    return *exit;
  start.turn = std::move(std::get<BatchTurn>(turn));
  return start;
}

}  // namespace tessarin::cli
