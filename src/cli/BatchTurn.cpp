#include "cli/BatchTurn.h"

#include <fmt/format.h>

#include <utility>

#include "cli/exitStatus.h"
#include "cli/texts.h"
#include "core/rowResults.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

bool isWhole(const RowResult& result) {
  return result.isConverted() && result.damage.empty();
}

}  // namespace

std::variant<BatchTurn, Exit> takeTurn(const Options& options, Reporter& reporter,
                                       StoredBatch& batch) {
  const std::string& path = *options.batchFile;
  const auto refused = [&](const std::string& reason) {
    reporter.problem(path, reason);
    return Exit{someNot};
  };
  BatchTurn turn;
  auto file = claimBatchFile(path, options.row ? BatchUse::rows : BatchUse::whole);
  if (!file)
    return refused(file.reason());
  turn.file = std::move(*file);

  BatchFile read = readBatchFile(path);
  if (read.state != BatchPart::State::good)
    return refused(read.reason);
  batch = std::move(read.batch);
  const RowResults results(path);
  if (!options.row) {
    for (StoredRow& row : batch.rows)
      row.row = resultOf(row, results).row;
    return turn;
  }

  const auto number = static_cast<std::size_t>(*options.row);
  if (number > batch.rows.size())
    return refused(localisationString("noSuchRow", textTable, fmt::format("{}", number),
                                      fmt::format("{}", batch.rows.size())));
  auto row = results.claim(*options.row);
  if (!row)
    return refused(row.reason());
  turn.row = std::move(*row);
  StoredRow own = std::move(batch.rows[number - 1]);
  const RowResult result = resultOf(own, results);
  if (result.isConverted() && options.overwrite != Overwrite::replace) {
    reporter.rowState(own.order, result, false);
    return Exit{isWhole(result) ? allConverted : someNot};
  }
  own.row.mark = RowMark::waiting;
  batch.rows.resize(number - 1);
  for (const StoredRow& before : std::exchange(batch.rows, {}))
    turn.before.push_back(resultOf(before, results).row);
  batch.rows.push_back(std::move(own));
  return turn;
}

int reportBatch(const std::string& path, Reporter& reporter) {
  const BatchFile file = readBatchFile(path);
  if (file.state != BatchPart::State::good) {
    reporter.problem(path, file.reason);
    return someNot;
  }
  const RowResults results(path);
  bool isAllWhole = true;
  RowStateCount count;
  for (const StoredRow& stored : file.batch.rows) {
    const RowResult result = resultOf(stored, results);
    const bool isInHand = !result.isConverted() && results.isInHand(stored.order);
    isAllWhole = isAllWhole && isWhole(result);
    ++count[rowStateOf(result, isInHand)];
    reporter.rowState(stored.order, result, isInHand);
  }
  reporter.batchState(path, file.batch.rows.size(), count);
  return isAllWhole ? allConverted : someNot;
}

}  // namespace tessarin::cli
