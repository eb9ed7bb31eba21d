#include "core/batchSummary.h"

#include <fmt/format.h>

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// Names in a line that has to be read at a glance.
constexpr std::size_t mostNames = 3;

// The sources by name, behind a warning sign.
std::string namesText(std::string_view key, const std::vector<std::string>& sources) {
  if (sources.empty())
    return {};
  std::vector<std::string> names;
  for (std::size_t index = 0; index < std::min(sources.size(), mostNames); ++index)
    names.push_back(fileName(sources[index]));
  std::string list = joinTexts(names, ", ");
  if (sources.size() > mostNames)
    list +=
        " " + localisationString("D_refused_2", "", fmt::format("{}", sources.size() - mostNames));
  return localisationString(key, "", fmt::format("{}", sources.size()), list);
}

std::string joined(std::vector<std::string> texts, std::string_view separator) {
  std::erase(texts, "");
  return joinTexts(texts, separator);
}

}  // namespace

BatchCount countRows(const BatchTable& table) {
  BatchCount count;
  for (int row = 0; row < table.count(); ++row) {
    const Row& entry = table.row(row);
    ++(entry.mark == RowMark::failure   ? count.failed
       : entry.mark != RowMark::success ? count.waiting
       : entry.isKept                   ? count.kept
                                        : count.converted);
  }
  return count;
}

std::string summaryText(const BatchCount& count) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (count.converted > 0)
    add(localisationString("D_count_converted", "", std::to_string(count.converted)));
  if (count.kept > 0)
    add(localisationString("D_count_kept", "", std::to_string(count.kept)));
  if (count.failed > 0)
    add(localisationString("D_count_failed", "", std::to_string(count.failed)));
  if (count.waiting > 0)
    add(localisationString("D_count_waiting", "", std::to_string(count.waiting)));
  return text;
}

std::string missingText(const std::vector<std::string>& sources) {
  return namesText("D_missing", sources);
}

std::string troubleText(const BatchTroubles& troubles, std::string_view separator) {
  return joined({missingText(troubles.missing), namesText("D_damaged", troubles.damaged)},
                separator);
}

std::string endText(const BatchCount& count, const BatchTroubles& troubles) {
  return joined({summaryText(count), troubleText(troubles, "\n")}, "\n");
}

BatchSummary::BatchSummary(BatchTable& table, TextField& field, RunLoop& loop)
    : table_(table), field_(field), loop_(loop) {
  table_.rowAppended.connect([this](int) { changed(); });
  for (auto* change : {&table_.rowsChanged, &table_.rowsRemoved, &table_.rowsPutBack})
    change->connect([this](const std::vector<int>&) { changed(); });
}

BatchSummary::~BatchSummary() {
  loop_.cancel(update_);
}

void BatchSummary::changed() {
  if (update_ != 0)
    return;
  update_ = loop_.runSoon([this] {
    update_ = 0;
    field_.setText(summaryText(countRows(table_)));
  });
}

}  // namespace tessarin
