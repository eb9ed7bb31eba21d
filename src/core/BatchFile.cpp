#include "core/BatchFile.h"

#include <fmt/format.h>

#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "core/appDelegate.h"
#include "core/stepState.h"
#include "core/storedRow.h"
#include "ffmpeg/proresFlavours.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view keyVersion = "formatVersion";

Value storable(const Value& value) {
  if (const Dico* record = value.dico())
    return storableRecord(*record);
  if (const List* list = value.list()) {
    List stored;
    for (const Value& item : *list)
      stored.push_back(storable(item));
    return stored;
  }
  const std::string* text = value.textContent();
  if (text && (!isUtf8(*text) || contains(*text, std::string_view("\0", 1))))
    return Bytes(text->begin(), text->end());
  return value;
}

Value ofStorable(const Value& value) {
  if (const Dico* record = value.dico())
    return recordOfStorable(*record);
  if (const List* stored = value.list()) {
    List list;
    for (const Value& item : *stored)
      list.push_back(ofStorable(item));
    return list;
  }
  if (const Bytes* bytes = value.bytes())
    return std::string(bytes->begin(), bytes->end());
  return value;
}

BatchFile damagedFile(std::string reason) {
  return {BatchPart::State::damaged, std::move(reason), {}};
}

}  // namespace

Dico storableRecord(const Dico& record) {
  Dico stored;
  for (const auto& [key, value] : record)
    stored.set(key, storable(value));
  return stored;
}

Dico recordOfStorable(const Dico& stored) {
  Dico record;
  for (const auto& [key, value] : stored)
    record.set(key, ofStorable(value));
  return record;
}

Outcome<std::string> batchPartBytes(const Dico& content) {
  Dico file = storableRecord(content);
  file.set(keyVersion, static_cast<std::int64_t>(batchFormatSteps().size()) + 1);
  return serializedPropertyList(file);
}

Outcome<void> writeBatchPart(const std::string& path, const Dico& content, FolderSync folderSync) {
  TESSARIN_TAKE(const std::string bytes, batchPartBytes(content));
  return writeFileAtomically(path, bytes, folderSync);
}

std::span<const FormatStep> batchFormatSteps() {
  return {};  // there has been one version so far
}

BatchPart upgradedPart(Dico content, std::span<const FormatStep> steps) {
  BatchPart part;
  const std::int64_t newest = static_cast<std::int64_t>(steps.size()) + 1;
  const std::int64_t version = content.integer(keyVersion).value_or(0);
  if (version < 1) {
    part.state = BatchPart::State::damaged;
    part.reason = localisationString("why_noBatch");
    return part;
  }
  if (version > newest) {
    part.state = BatchPart::State::newer;
    part.reason = localisationString("why_newerBatch");
    return part;
  }
  content.remove(keyVersion);
  for (const FormatStep step : steps.subspan(static_cast<std::size_t>(version - 1)))
    content = step(std::move(content));
  part.state = BatchPart::State::good;
  part.content = std::move(content);
  return part;
}

BatchPart readBatchPart(const std::string& path) {
  BatchPart part;
  if (!pathExists(path))
    return part;
  const auto read = readPropertyList(path);
  const Dico* file = read ? read.value().dico() : nullptr;
  if (file)
    return upgradedPart(recordOfStorable(*file), batchFormatSteps());
  part.state = BatchPart::State::damaged;
  part.reason = localisationString("why_noBatch");
  return part;
}

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

Dico batchSettings(appDelegate& app, const PreferenceStore& preferences, const Dico& front) {
  Dico choices = app.prefs2GuiApp();
  choices.set(PrefKey::prores, preferences.text(PrefKey::prores));
  Dico settings{{std::string(BatchSetting::choices), std::move(choices)},
                {std::string(BatchSetting::front), front}};
  if (const Value* answer = preferences.prefRead(StateKey::replaceFiles))
    settings.set(BatchSetting::replaceFiles, *answer);
  return settings;
}

void applyBatchSettings(appDelegate& app, PreferenceStore& preferences, const Dico& settings) {
  if (const Dico* choices = settings.dico(BatchSetting::choices)) {
    app.prefs2GuiApp(*choices, DestinationFolder::leftAlone);
    if (const auto destination = choices->text(PrefKey::destination);
        destination && isStoredPath(expandTilde(*destination)))
      app.interface.destination.setText(*destination);
    if (const auto flavour = choices->text(PrefKey::prores); flavour && proresFlavour(*flavour))
      preferences.prefWrite(PrefKey::prores, *flavour);
  }
  const std::string answer = settings.textOrEmpty(BatchSetting::replaceFiles);
  if (answer == answerKeep || answer == answerReplace)
    preferences.prefWrite(StateKey::replaceFiles, answer);
}

}  // namespace tessarin
