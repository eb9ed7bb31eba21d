#include "core/BatchFile.h"

#include <fmt/format.h>

#include "core/storedRow.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

BatchFile damagedFile(std::string reason) {
  return {BatchPart::State::damaged, std::move(reason), {}};
}

}  // namespace

Outcome<void> writeBatchFile(const std::string& path, const StoredBatch& batch) {
  List rows;
  for (const StoredRow& stored : batch.rows)
    rows.emplace_back(storedForm(stored.row));
  TESSARIN_TAKE(const std::string bytes,
                batchPartBytes({{"settings", batch.settings}, {"rows", std::move(rows)}}));
  if (bytes.size() > propertyListMaxBytes)
    return Failure{localisationString("why_batchTooLarge")};
  // Whoever named the path, a file of another kind stays.
  if (const BatchPart there = readBatchPart(path);
      !there.isGood() && there.state != BatchPart::State::missing)
    return Failure{localisationString("why_fileThere")};
  return writeFileAtomically(path, bytes);
}

BatchFile readBatchFile(const std::string& path) {
  const BatchPart part = readBatchPart(path);
  if (!part.isGood())
    return {
        part.state,
        part.state == BatchPart::State::missing ? localisationString("why_missing") : part.reason,
        {}};
  const Dico* settings = part.content.dico("settings");
  const List* rows = part.content.list("rows");
  if (!settings || !rows)
    return damagedFile(localisationString("why_noBatch"));
  BatchFile file;
  file.state = BatchPart::State::good;
  // What to do with movies that are there is said anew each time, and never by the file.
  if (const Dico* choices = settings->dico(BatchSetting::choices))
    file.batch.settings.set(BatchSetting::choices, *choices);
  for (const Value& value : *rows) {
    const std::int64_t number = static_cast<std::int64_t>(file.batch.rows.size()) + 1;
    auto row = value.dico() ? rowOfStored(*value.dico()) : std::nullopt;
    // The file is written again later, and a row that was left out would be lost with that.
    if (!row)
      return damagedFile(localisationString("why_batchRow", "", fmt::format("{}", number)));
    StoredRow stored{number, std::move(*row)};
    if (stored.row.mark == RowMark::current)
      stored.row.mark = RowMark::waiting;
    file.batch.rows.push_back(std::move(stored));
  }
  return file;
}

}  // namespace tessarin
