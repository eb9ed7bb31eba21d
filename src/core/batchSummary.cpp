#include "core/batchSummary.h"

#include "classShared/TextAdditions.h"
#include "core/missingSources.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

BatchCount countRows(const BatchTable& table) {
  BatchCount count;
  for (int row = 0; row < table.count(); ++row) {
    const std::string mark = table.row(row).textOrEmpty(BatchKey::resultat);
    ++(mark == ResultMark::success   ? count.converted
       : mark == ResultMark::failure ? count.failed
                                     : count.waiting);
  }
  return count;
}

std::string summaryText(const BatchCount& count) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (count.converted > 0)
    add(localisationString("D_count_converted", "", std::to_string(count.converted)));
  if (count.failed > 0)
    add(localisationString("D_count_failed", "", std::to_string(count.failed)));
  if (count.waiting > 0)
    add(localisationString("D_count_waiting", "", std::to_string(count.waiting)));
  return text;
}

std::string endText(const BatchCount& count, const std::vector<std::string>& missing) {
  std::vector<std::string> lines = {summaryText(count), missingText(missing)};
  std::erase(lines, "");
  return joinTexts(lines, "\n");
}

BatchSummary::BatchSummary(BatchTable& table, TextField& field, RunLoop& loop)
    : table_(table), field_(field), loop_(loop) {
  table_.rowAppended.connect([this](int) { changed(); });
  table_.rowChanged.connect([this](int) { changed(); });
  table_.rowRemoved.connect([this](int) { changed(); });
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
