#include "core/BatchTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <utility>

#include "classShared/log.h"
#include "encoding/outputPreset.h"
#include "jobs/rowChoices.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

namespace {

const char* smile(bool good) {
  return good ? ")" : "(";
}

}  // namespace

void removeThumbnails(const BatchTable::TakenRows& rows) {
  for (const BatchTable::TakenRow& taken : rows)
    if (const std::string& file = taken.row.thumbnail(); !file.empty())
      removeFile(file);
}

BatchTable::BatchTable(CoreServices& services, Interface& interface)
    : services_(services), interface_(interface) {}

std::optional<Forecast> BatchTable::forecast(int row) const {
  return forecastOf(this->row(row), services_.preferences.text(PrefKey::prores));
}

int BatchTable::rowOfSource(const std::string& path) const {
  const auto known = idOfPath_.find(path);
  if (known == idOfPath_.end())
    return -1;
  return rowOfId(known->second);
}

int BatchTable::rowOfId(std::uint64_t id) const {
  if (id >= nextId_)
    return -1;
  lastRowOfId_.resize(nextId_, -1);
  const auto isThere = [this, id](int row) { return has(row) && this->id(row) == id; };
  int& last = lastRowOfId_[id];
  if (!isThere(last))
    for (int row = 0; row < count(); ++row)
      lastRowOfId_[this->id(row)] = row;
  return isThere(last) ? last : -1;
}

bool BatchTable::isSourceFile(const std::string& path) const {
  // What is not there is no source; a batch of many rows is looked through for the others alone.
  if (!pathExists(path))
    return false;
  for (int row = 0; row < count(); ++row)
    for (const std::string& file : filesOf(source(row))) {
      std::error_code failed;
      if (std::filesystem::equivalent(fileOfSource(file), path, failed) && !failed)
        return true;
    }
  return false;
}

// A further part may be a row of its own besides.
void BatchTable::noteFiles(const Row& entry, std::uint64_t id) {
  for (const std::string& file : filesOf(entry.source))
    idOfPath_.emplace(file, id);
}

void BatchTable::forgetFiles(const Row& entry, std::uint64_t id) {
  for (const std::string& file : filesOf(entry.source))
    if (const auto known = idOfPath_.find(file); known != idOfPath_.end() && known->second == id)
      idOfPath_.erase(known);
}

int BatchTable::append(Row entry) {
  const std::string path = entry.path();
  if (const int known = rowOfSource(path); known >= 0)
    return known;
  const int row = count();
  noteFiles(entry, nextId_);
  rows_.push_back(std::move(entry));
  ids_.push_back(nextId_++);
  rowAppended.emit(row);
  return row;
}

BatchTable::TakenRows BatchTable::take(std::vector<int> rows, bool isAlertToDisplay) {
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  const std::size_t wanted = rows.size();
  if (!inProgress_.empty())
    std::erase_if(rows, [this](int row) { return isInProgress(row); });
  if (rows.size() < wanted) {
    logLine("batchRemoval… single: removal not available for the currently source in progress ;-)");
    if (isAlertToDisplay)
      services_.alerts.show({localisationString("D_batch_1"), ""});
  }
  if (rows.empty())
    return {};
  TakenRows taken;
  taken.reserve(rows.size());
  std::vector<Row> left;
  std::vector<std::uint64_t> leftIds;
  left.reserve(rows_.size() - rows.size());
  leftIds.reserve(left.capacity());
  int selected = -1;
  for (int row = 0; row < count(); ++row) {
    Row& entry = rows_[static_cast<std::size_t>(row)];
    if (taken.size() < rows.size() && rows[taken.size()] == row) {
      forgetFiles(entry, id(row));
      taken.push_back({id(row), row, std::move(entry)});
      continue;
    }
    if (row == selectedRow_)
      selected = static_cast<int>(left.size());
    left.push_back(std::move(entry));
    leftIds.push_back(id(row));
  }
  rows_ = std::move(left);
  ids_ = std::move(leftIds);
  selectedRow_ = selected;
  debugFormat("removed             # {}", taken.size());
  rowsRemoved.emit(rows);
  return taken;
}

BatchTable::TakenRows BatchTable::putBack(TakenRows taken) {
  TakenRows refused;
  std::vector<Row> rows;
  std::vector<std::uint64_t> ids;
  std::vector<int> places;
  rows.reserve(rows_.size() + taken.size());
  ids.reserve(rows.capacity());
  int selected = -1;
  std::size_t old = 0;
  const auto addOld = [&] {
    if (static_cast<int>(old) == selectedRow_)
      selected = static_cast<int>(rows.size());
    ids.push_back(ids_[old]);
    rows.push_back(std::move(rows_[old++]));
  };
  for (TakenRow& each : taken) {
    if (idOfPath_.contains(each.row.path())) {
      refused.push_back(std::move(each));
      continue;
    }
    while (old < rows_.size() && static_cast<int>(rows.size()) < each.place)
      addOld();
    places.push_back(static_cast<int>(rows.size()));
    noteFiles(each.row, each.id);
    ids.push_back(each.id);
    rows.push_back(std::move(each.row));
  }
  while (old < rows_.size())
    addOld();
  rows_ = std::move(rows);
  ids_ = std::move(ids);
  selectedRow_ = selected;
  if (!places.empty())
    rowsPutBack.emit(places);
  return refused;
}

void BatchTable::remove(std::vector<int> rows) {
  removeThumbnails(take(std::move(rows), false));
}

void BatchTable::noteChanged(int row) {
  if (isGathering_)
    gathered_.push_back(row);
  else
    rowsChanged.emit({row});
}

void BatchTable::changeTogether(const std::function<void()>& change) {
  isGathering_ = true;
  change();
  isGathering_ = false;
  std::vector<int> changed = std::exchange(gathered_, {});
  std::sort(changed.begin(), changed.end());
  changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
  if (!changed.empty())
    rowsChanged.emit(changed);
}

bool BatchTable::arrange(const std::vector<int>& order) {
  std::vector<int> sorted = order;
  std::sort(sorted.begin(), sorted.end());
  std::vector<int> now(rows_.size());
  std::iota(now.begin(), now.end(), 0);
  if (sorted != now || order == now)
    return false;
  std::vector<Row> rows;
  std::vector<std::uint64_t> ids;
  rows.reserve(rows_.size());
  ids.reserve(ids_.size());
  int selected = -1;
  for (const int row : order) {
    if (row == selectedRow_)
      selected = static_cast<int>(rows.size());
    rows.push_back(std::move(rows_[static_cast<std::size_t>(row)]));
    ids.push_back(id(row));
  }
  rows_ = std::move(rows);
  ids_ = std::move(ids);
  selectedRow_ = selected;
  rowsMoved.emit(order);
  return true;
}

bool BatchTable::computeSize(Row& entry, int row) const {
  const int asked = entry.choice.sizeOut;
  debugFormat("APPTOR sizeOut pre   = row#{} sizeOut#{}", row, asked);
  // The separator and the heading are no sizes.
  if (asked >= firstConcreteRow && sizeRow(asked))
    return true;
  entry.choice.speed = speedKeep;
  const Application application =
      asked == rowSameAsSource ? Application::any : interface_.application();
  const PresetChoice choice = choosePreset(entry, application);
  if (!choice.alertTitle.empty() && (choice.row < 0 || debugMode()))
    services_.alerts.show({choice.alertTitle, choice.alertText});
  if (choice.row < firstConcreteRow) {
    services_.alerts.show({":-( !!!!",
                           "preset 'keep from src'? -> no preset computed :-(\n\nFatal failure: to "
                           "correct!!!",
                           {},
                           "",
                           Alert::Style::critical});
    return false;
  }
  entry.choice.sizeOut = choice.row;
  debugFormat("APPTOR sizeOut post  = row#{} sizeOut#{}", row, choice.row);
  return true;
}

bool BatchTable::iba_outSpeedCell(int row) {
  if (!has(row))
    return false;
  debugFormat("row (outSpeedCell)  # {}", row);
  Row entry = this->row(row);
  if (!computeSize(entry, row))
    return false;
  const int asked = entry.choice.sizeOut;
  debugFormat("sizeOutCurrentInt   : {} ({})", asked, presetShortLabel(asked));

  debugFormat("iba_out… speed pre  : {}", static_cast<int>(entry.choice.speed));
  const SizeAndSpeed valid = validSizeAndSpeed(entry);
  debugFormat("iba_outSpeedCell fps= {:f}", source(row).pictures.rate.value_or(0));
  if (valid.sizeOut != asked)
    debugFormat("sizeOutCurrentInt zap: {} ({})", valid.sizeOut, presetShortLabel(valid.sizeOut));
  entry.choice.sizeOut = valid.sizeOut;
  entry.choice.speed = valid.speed;
  debugFormat("iba_out… speed post = {}", valid.speed);
  const Permissions speeds = speedPermissions(entry);
  debugFormat("Keep | Half | Slow  = {:d} | {:d} | {:d} (speedInt={})", speeds[speedKeep],
              speeds[speedHalf], speeds[speedSlow], valid.speed);
  debugFormat("(valid) speedInt    = {} (row#{})", valid.speed, row);

  const int soft = interface_.editingSoft.selected();
  const auto& sizePrevious = source(row).sizeOutPrevious;
  const auto& softPrevious = source(row).softPrevious;
  debugFormat("soft previous|curren: {}|{} && sizeOutPreviousInt vs sizeOutCurrentInt : {}|{}",
              softPrevious.value_or(-1), soft, sizePrevious.value_or(-1), valid.sizeOut);
  if (sizePrevious != valid.sizeOut || softPrevious != soft) {
    debugFormat("from popup :-) …and some change(s)");
    entry.source.sizeOutPrevious = valid.sizeOut;
    entry.source.softPrevious = soft;
  }

  const Permissions targets = targetPermissions(entry);
  debugFormat("allow Qt|Aic|Prores = {:d} | {:d} | {:d}", targets[outQuickTime], targets[outAic],
              targets[outProres]);
  const Target target = validTarget(entry);
  if (target != entry.choice.target && verboseLevel(2))
    logLine("zapping codec…");
  debugFormat(
      "outInt              = {} (allowed: qt?={:d} | aic?={:d} | prores?={:d} - speedInt={})",
      target, targets[outQuickTime], targets[outAic], targets[outProres], valid.speed);
  entry.choice.target = target;
  if (!(entry == this->row(row))) {
    rows_[static_cast<std::size_t>(row)] = std::move(entry);
    noteChanged(row);
  }
  debugFormat("iba_outSpeedCell    : end");
  return true;
}

ChoiceCell BatchTable::outCell(int row) const {
  debugFormat("tableView       row # {}", row);
  debugFormat("tableView           : cell from out (#{})", row);
  const Row& entry = this->row(row);
  const Permissions allowed = targetPermissions(entry);
  debugFormat("isQtAllowed         :-{}", smile(allowed[outQuickTime]));
  debugFormat("isAicAllowed        :-{}", smile(allowed[outAic]));
  debugFormat("isProresAllowed     :-{}", smile(allowed[outProres]));
  ChoiceCell cell;
  for (const Target target : allTargets) {
    const auto place = static_cast<std::size_t>(target);
    const bool isAllowed = allowed[place];
    cell.segments.push_back(
        {fmt::format("{}{}_min", targetTable[place].icon, isAllowed ? "" : "No"), isAllowed});
  }
  cell.selected = validTarget(entry);
  return cell;
}

ChoiceCell BatchTable::speedCell(int row) const {
  debugFormat("tableView           : cell from fps");
  const Row& entry = this->row(row);
  const Permissions allowed = speedPermissions(entry);
  const bool isP = entry.isProgressive;
  debugFormat("tableView       isP = {:d}", isP);
  debugFormat("isKeepAllowed       :-{}", smile(allowed[speedKeep]));
  debugFormat("isHalfAllowed       :-{}", smile(allowed[speedHalf]));
  debugFormat("isSlowAllowed       :-{}", smile(allowed[speedSlow]));
  ChoiceCell cell;
  for (const Speed speed : allSpeeds) {
    const auto place = static_cast<std::size_t>(speed);
    const bool isAllowed = allowed[place];
    cell.segments.push_back(
        {fmt::format("{}{}{}_min", speedTable[place].icon, isP ? "" : "i", isAllowed ? "" : "No"),
         isAllowed});
  }
  cell.selected = entry.choice.speed;
  return cell;
}

std::string BatchTable::possibleWith(int row, const std::optional<Choice>& choice) const {
  if (!choice)
    return localisationString("D_notPossible");
  const double fps = source(row).pictures.rate.value_or(0);
  std::string words = presetSizeName(choice->sizeOut, fps);
  if (choice->speed != this->row(row).choice.speed)
    words += ", " + localisationString(speedTable[static_cast<std::size_t>(choice->speed)].title,
                                       "Localizable");
  return localisationString("D_possibleWith", "", words);
}

std::string BatchTable::whyNotOut(int row, Target target) const {
  const Row& entry = this->row(row);
  const std::string reason = whyNotTarget(entry, target);
  if (reason.empty())
    return {};
  const Wish wish{target, entry.choice.sizeOut, entry.choice.speed};
  std::optional<Choice> possible;
  for (const Alternative& each : alternatives(entry, wish, interface_.application()))
    if (each.choice.target == target)
      possible = each.choice;
  return reason + "\n" + possibleWith(row, possible);
}

std::string BatchTable::whyNotSpeed(int row, Speed speed) const {
  const Row& entry = this->row(row);
  if (speedPermissions(entry).at(static_cast<std::size_t>(speed)))
    return {};
  return possibleWith(row, choiceWithSpeed(entry, speed, interface_.application()));
}

std::vector<PopUpButton::Item> BatchTable::sizeItems(int row) const {
  const Row& entry = this->row(row);
  debugFormat("tableView           : cell from sizeOut, value : {}", entry.choice.sizeOut);
  const Application application = interface_.application();
  const int best = presetAutoComputedFromSrc(entry, application);
  std::vector<PopUpButton::Item> items;
  for (const SizeRow& size : sizeRows()) {
    const int index = static_cast<int>(items.size());
    const char* colour = index == best                           ? "green"
                         : presetIsCompliant(index, application) ? "black"
                                                                 : "red";
    items.push_back({size.label, size.image, colour, "silver"});
  }
  return items;
}

void BatchTable::select(int row) {
  const int valid = has(row) ? row : -1;
  if (valid == selectedRow_)
    return;
  debugFormat("tableSel…IsChanging : row={}", valid);
  selectedRow_ = valid;
  rowSelected.emit();
}

void BatchTable::batchRemoval(bool single, bool isAlertToDisplay,
                              std::function<void(bool)> finished) {
  debugFormat("batchRemoval…       : {} -  deb", single ? "single" : "all");
  const auto answer = [finished = std::move(finished)](bool done) {
    if (finished)
      finished(done);
  };
  if (rows_.empty())
    return answer(true);
  if (single)
    return answer(removeSelected(isAlertToDisplay));
  const auto act = [this, answer](bool isWanted) {
    if (isWanted)
      remove(allRows());
    answer(isWanted);
  };
  if (isAlertToDisplay)
    askToRemoveAll(act);
  else
    act(true);
}

void BatchTable::askToRemoveAll(std::function<void(bool isWanted)> answered) {
  services_.alerts.show(
      {localisationString("D_batch_4"),
       localisationString("D_batch_5"),
       {localisationString("D_Annuler"), localisationString("D_oui")},
       "",
       Alert::Style::warning},
      [answered = std::move(answered)](AlertAnswer reply) { answered(reply.button == 1); });
}

std::vector<int> BatchTable::allRows() const {
  std::vector<int> rows(rows_.size());
  std::iota(rows.begin(), rows.end(), 0);
  return rows;
}

void BatchTable::encBatchRemove(bool isAlertToDisplay) {
  batchRemoval(true, isAlertToDisplay,
               [](bool done) { debugFormat("…BatchRemove        ? {:d}", done); });
}

void BatchTable::encBatchRemoveAll(bool isAlertToDisplay) {
  batchRemoval(false, isAlertToDisplay,
               [](bool done) { debugFormat("…BatchRemoveAll     ? {:d}", done); });
}

bool BatchTable::removeSelected(bool isAlertToDisplay) {
  if (!has(selectedRow_))
    return true;
  debugFormat("remove single index # {}", selectedRow_);
  const TakenRows taken = take({selectedRow_}, isAlertToDisplay);
  removeThumbnails(taken);
  return !taken.empty();
}

int BatchTable::encBatchInprogressRowIdentification() const {
  return inProgress_.empty() ? -1 : rowOfSource(inProgress_.front());
}

bool BatchTable::isInProgress(int row) const {
  return std::find(inProgress_.begin(), inProgress_.end(), sourcePath(row)) != inProgress_.end();
}

}  // namespace tessarin
