#include "core/BatchFile.h"

#include "encoding/BatchEntry.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

Dico withoutThumbnail(Dico row) {
  row.remove(BatchKey::img);
  if (const Dico* info = row.dico(BatchKey::dico); info && info->contains(RowInfoKey::imgPathStr)) {
    Dico own = *info;
    own.remove(RowInfoKey::imgPathStr);
    row.set(BatchKey::dico, std::move(own));
  }
  return row;
}

BatchFile damagedFile() {
  return {BatchPart::State::damaged, localisationString("why_noBatch"), {}};
}

}  // namespace

Outcome<bool> writeBatchFile(const std::string& path, const StoredBatch& batch) {
  List rows;
  for (const StoredRow& stored : batch.rows)
    rows.emplace_back(rowWithKeys(withoutThumbnail(stored.row)));
  const auto bytes = batchPartBytes({{"settings", batch.settings}, {"rows", std::move(rows)}});
  if (!bytes)
    return Failure{bytes.reason()};
  if (bytes.value().size() > propertyListMaxBytes)
    return Failure{localisationString("why_batchTooLarge")};
  return writeFileAtomically(path, bytes.value());
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
    return damagedFile();
  BatchFile file;
  file.state = BatchPart::State::good;
  file.batch.settings = *settings;
  for (const Value& value : *rows) {
    const Dico* row = value.dico();
    // The file is written again later, and a row that was left out would be lost with that.
    if (!row || !row->dico(BatchKey::dico))
      return damagedFile();
    StoredRow stored{static_cast<std::int64_t>(file.batch.rows.size()) + 1, rowWithTexts(*row)};
    if (stored.row.textOrEmpty(BatchKey::resultat) == ResultMark::current)
      stored.row.set(BatchKey::resultat, ResultMark::waiting);
    file.batch.rows.push_back(std::move(stored));
  }
  return file;
}

}  // namespace tessarin
