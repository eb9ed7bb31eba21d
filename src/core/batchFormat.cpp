#include "core/batchFormat.h"

#include "classShared/TextAdditions.h"
#include "platform/propertyList.h"
#include "prefs/utilsAlert.h"

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

}  // namespace tessarin
