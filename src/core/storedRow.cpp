#include "core/storedRow.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "platform/Bundle.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view keyOrder = "order";
constexpr std::string_view keyRow = "row";
constexpr std::string_view keyPicture = "picture";

constexpr std::size_t longestReason = 16384;  // a path and a sentence around it
const int lastSize = static_cast<int>(sizeRows().size()) - 1;

bool isInteger(const Value& value, std::int64_t least, std::int64_t most) {
  const auto number = value.isInteger() ? value.integer() : std::nullopt;
  return number && *number >= least && *number <= most;
}

bool isMark(const Value& value) {
  return value.textContent() &&
         std::find(markNames.begin(), markNames.end(), *value.textContent()) != markNames.end();
}

bool isPath(const Value& value) {
  return value.textContent() && isStoredPath(*value.textContent());
}

bool isMovie(const Value& value) {
  return isPath(value) && hasPathExtension(*value.textContent(), "mov");
}

bool isReason(const Value& value) {
  return value.textContent() && value.textContent()->size() <= longestReason &&
         !contains(*value.textContent(), std::string_view("\0", 1));
}

bool isFlag(const Value& value) {
  return isInteger(value, 0, 1);
}

bool isSize(const Value& value) {
  return isInteger(value, -1, lastSize);
}

struct Rule {
  std::string_view key;
  bool (*isGood)(const Value& value);
};

constexpr std::array rowRules = {
    Rule{BatchKey::resultat, isMark},
    Rule{BatchKey::out, [](const Value& value) { return isInteger(value, 0, outNone); }},
    Rule{BatchKey::fps, [](const Value& value) { return isInteger(value, speedKeep, speedSlow); }},
    Rule{BatchKey::sizeOut, isSize},
    Rule{BatchKey::dstPathStr, isMovie},
    Rule{BatchKey::kept, isFlag},
    Rule{BatchKey::reason, isReason}};

const Rule* ruleOf(std::string_view key) {
  const auto rule = std::find_if(rowRules.begin(), rowRules.end(),
                                 [key](const Rule& each) { return each.key == key; });
  return rule == rowRules.end() ? nullptr : &*rule;
}

// What the program writes as a thumbnail. A reader of pictures is given nothing else.
bool isPicture(const std::string& bytes) {
  return bytes.size() <= largestPicture && startsWith(bytes, "\xFF\xD8\xFF");
}

}  // namespace

Dico recordOfRow(const Row& row) {
  const auto text = [](std::string_view value) { return Value(std::string(value)); };
  Dico record{{std::string(BatchKey::resultat), text(markName(row.mark))},
              {std::string(BatchKey::out), row.choice.target},
              {std::string(BatchKey::fps), row.choice.speed},
              {std::string(BatchKey::sizeOut), row.choice.sizeOut},
              {std::string(BatchKey::dico), recordOfSource(row.source)},
              {std::string(BatchKey::src), row.caption},
              {std::string(BatchKey::fpsSrc),
               fmt::format("\n{}{}", shownRate(row.source), row.isProgressive ? "p" : "i")}};
  const auto setText = [&record](std::string_view key, const std::string& value) {
    if (!value.empty())
      record.set(key, value);
  };
  setText(BatchKey::img, row.thumbnail());
  setText(BatchKey::dstPathStr, row.movie);
  setText(BatchKey::reason, row.reason);
  if (row.isKept)
    record.set(BatchKey::kept, 1);
  return record;
}

Dico storedForm(const Row& row) {
  Dico stored{{std::string(BatchKey::dico), storedSource(row.source)}};
  for (const auto& [key, value] : recordOfRow(row))
    if (const Rule* rule = ruleOf(key); rule && rule->isGood(value))
      stored.set(key, value);
  return stored;
}

std::optional<Row> rowOfStored(const Dico& stored) {
  const Dico* storedInfo = stored.dico(BatchKey::dico);
  auto source = storedInfo ? sourceOfRecord(*storedInfo) : std::nullopt;
  const bool isWrong = std::any_of(stored.begin(), stored.end(), [](const auto& entry) {
    const Rule* rule = ruleOf(entry.first);
    return rule && !rule->isGood(entry.second);
  });
  if (isWrong || !source || source->path.empty())
    return std::nullopt;
  const auto number = [&stored](std::string_view key, int otherwise) {
    return static_cast<int>(stored.integer(key).value_or(otherwise));
  };
  const Choice choice{static_cast<Target>(number(BatchKey::out, outNone)),
                      number(BatchKey::sizeOut, Choice().sizeOut),
                      static_cast<Speed>(number(BatchKey::fps, speedKeep))};
  const std::string name = fileName(source->path);
  Row row = newRow(*std::move(source), choice, name);
  const std::string mark = stored.textOrEmpty(BatchKey::resultat);
  if (const auto known = std::find(markNames.begin(), markNames.end(), mark);
      known != markNames.end())
    row.mark = static_cast<RowMark>(known - markNames.begin());
  row.movie = stored.textOrEmpty(BatchKey::dstPathStr);
  row.isKept = number(BatchKey::kept, 0) != 0;
  row.reason = stored.textOrEmpty(BatchKey::reason);
  return row;
}

Dico contentOfRow(const StoredRow& row) {
  Dico content{{std::string(keyOrder), row.order}, {std::string(keyRow), storedForm(row.row)}};
  if (isPicture(row.picture))
    content.set(keyPicture, row.picture);
  return content;
}

std::optional<StoredRow> rowOfContent(const Dico& content, std::int64_t order) {
  const Dico* stored = content.dico(keyRow);
  auto row = stored ? rowOfStored(*stored) : std::nullopt;
  if (!row || content.integer(keyOrder) != order || order < 1 || order > highestOrder)
    return std::nullopt;
  StoredRow read{order, std::move(*row)};
  if (std::string picture = content.textOrEmpty(keyPicture); isPicture(picture))
    read.picture = std::move(picture);
  return read;
}

}  // namespace tessarin
