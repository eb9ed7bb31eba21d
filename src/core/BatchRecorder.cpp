#include "core/BatchRecorder.h"

#include <algorithm>
#include <utility>

#include "classShared/log.h"
#include "core/BatchFile.h"
#include "core/storedRow.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

using std::chrono::milliseconds;

// How long changes are gathered before they are written.
constexpr milliseconds gathering(50);
// How long rows are put together for one group: less than the time between two pictures.
constexpr milliseconds longestGathering(5);
// So many rows go into one group at most: a drop or a finished row may have to wait for it.
constexpr std::size_t mostRows = 16;
// After a failure, a full disk for example.
constexpr milliseconds retryInterval(5000);

// The stored list of waiting sources may name this many more than twice those that wait: so each
// source costs the same however many there are.
constexpr std::size_t waitingSlack = 16;

}  // namespace

BatchRecorder::BatchRecorder(appDelegate& app, CoreServices& services, std::string parent)
    : app_(app),
      services_(services),
      parent_(std::move(parent)),
      diskSync_(services.loop),
      disk_(services.loop) {
  app_.table().rowAppended.connect([this](int row) { rowAppended(row); });
  app_.table().rowsChanged.connect([this](const std::vector<int>& rows) { rowsChanged(rows); });
  app_.table().rowsRemoved.connect([this](const std::vector<int>& rows) { rowsRemoved(rows); });
  app_.table().rowsPutBack.connect([this](const std::vector<int>& rows) { rowsPutBack(rows); });
  app_.table().rowsMoved.connect([this](const std::vector<int>&) { rowsMoved(); });
  app_.queue().accepted.connect([this] {
    restoredWaiting_.clear();
    waitingChanged();
    flush();
  });
  // Whoever restored a batch meanwhile gives its sources to the queue now.
  app_.queue().finished.connect([this] {
    restoredWaiting_.clear();
    waitingChanged();
  });
  app_.driver().folderBegins.connect([this](const std::string& source, const std::string& folder) {
    folderBegins(source, folder);
  });
  app_.driver().movieFinished.connect([this](const FinishedMovie& movie) { movieFinished(movie); });
  app_.driver().jobEnded.connect([this](const JobEnd& end) { jobEnded(end); });
  app_.driver().batchEnded.connect([this] {
    if (app_.driver().wasStopped())
      diskSync_.clear();
    diskSync_.whenIdle([this] { batchEnded(); });
  });
}

BatchRecorder::~BatchRecorder() {
  if (timer_ != 0 || group_)
    flushAll();
  services_.loop.cancel(timer_);
}

// ---- What happens

void BatchRecorder::rowAppended(int row) {
  const std::int64_t order = restored_ != 0 ? restored_ : lastOrder_ + 1;
  lastOrder_ = std::max(lastOrder_, order);
  orders_.push_back(order);
  orderOfId_[app_.table().id(row)] = order;
  idOfOrder_[order] = app_.table().id(row);
  if (restored_ != 0)
    return;
  rowsChanged({row});
}

void BatchRecorder::rowsChanged(const std::vector<int>& rows) {
  if (stopped_)
    return;
  for (const int row : rows)
    changedRows_.insert(orders_.at(static_cast<std::size_t>(row)));
  schedule(gathering);
}

void BatchRecorder::rowsRemoved(const std::vector<int>& rows) {
  if (!stopped_)
    for (const int row : rows) {
      const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
      changedRows_.erase(order);
      removedRows_.insert(order);
    }
  readNumbers();
  // Their sources may still be named as ones without a row.
  waitingChanged();
}

// Under the numbers that they had.
void BatchRecorder::rowsPutBack(const std::vector<int>& rows) {
  readNumbers();
  if (stopped_)
    return;
  for (const int row : rows)
    removedRows_.erase(orders_.at(static_cast<std::size_t>(row)));
  orderChanged_ = true;
  rowsChanged(rows);
}

// Of all rows that are there.
void BatchRecorder::readNumbers() {
  orders_.clear();
  for (int row = 0; row < app_.table().count(); ++row)
    orders_.push_back(orderOfId_.at(app_.table().id(row)));
}

void BatchRecorder::rowsMoved() {
  readNumbers();
  orderChanged_ = true;
  schedule(gathering);
}

void BatchRecorder::waitingChanged() {
  if (stopped_)
    return;
  waitingChanged_ = true;
  schedule(gathering);
}

void BatchRecorder::folderBegins(const std::string& source, const std::string& folder) {
  const int row = app_.table().rowOfSource(source);
  if (stopped_ || row < 0 || !hasFolder())
    return;
  const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
  endedJobs_.erase(order);
  StoredJob& job = jobs_[order];
  job = {source, folder, runningSystem()};
  check(store_->writeJob(order, recordOfJob(job)));
}

void BatchRecorder::movieFinished(const FinishedMovie& movie) {
  const int row = app_.table().rowOfSource(movie.source);
  if (stopped_ || row < 0 || !store_)
    return;
  const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
  const auto job = jobs_.find(order);
  if (job == jobs_.end())
    return;
  job->second.output = movie.output;
  job->second.movie = fileState(movie.path);
  job->second.isUndamaged = movie.isUndamaged;
  check(store_->writeJob(order, recordOfJob(job->second)));
}

void BatchRecorder::jobEnded(const JobEnd& end) {
  const int row = app_.table().rowOfSource(end.source);
  if (stopped_ || row < 0)
    return;
  const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
  if (!store_ || !jobs_.contains(order)) {
    if (end.isWhole())
      bringToDisk(order, end);
    return;
  }
  // An older state of the row must not be written after this one.
  disk_.finish();
  BatchChanges finished;
  finished.rows.push_back(storedRow(row));
  endedJobs_[order] = end;
  if (check(store_->write(finished))) {
    changedRows_.erase(order);
    rowStored(order);
  } else {
    changedRows_.insert(order);
    schedule(retryInterval);
  }
}

// The next one may have begun before the last movie of this one was on the disk.
void BatchRecorder::batchEnded() {
  if (app_.driver().isBatchRunning())
    return;
  settled.emit();
  discard();
  cleared.emit();
  if (app_.queue().hasSourcesWithoutRow())
    schedule(gathering);
}

// The job of a row that is stored as finished is of no use any more.
void BatchRecorder::rowStored(std::int64_t order) {
  const auto ended = endedJobs_.extract(order);
  if (ended.empty())
    return;
  // A finished movie may still be on its way to the disk.
  if (ended.mapped().kind == JobEnd::Kind::converted)
    bringToDisk(order, ended.mapped());
  else
    forgetJob(order);
}

// The row may be in hand again when the disk has answered.
void BatchRecorder::bringToDisk(std::int64_t order, const JobEnd& end) {
  const auto job = jobs_.find(order);
  const std::string folder = job == jobs_.end() ? "" : job->second.folder;
  diskSync_.add(end.output, [this, order, end, folder](bool isOnDisk) {
    if (isOnDisk && end.isWhole())
      app_.known().converted(end.files);
    // One that its user has moved meanwhile could not be found.
    if (!isOnDisk && pathExists(end.output))
      movieNotTaken(order, end.output);
    if (const auto now = jobs_.find(order); now != jobs_.end() && now->second.folder == folder)
      forgetJob(order);
  });
}

void BatchRecorder::movieNotTaken(std::int64_t order, const std::string& movie) {
  logFormat("disk sync           :-( {}", movie);
  const int row = rowOf(order);
  if (row < 0 || app_.table().row(row).mark != RowMark::success ||
      app_.table().row(row).movie != movie)
    return;
  const std::string reason = localisationString("why_notOnDisk", "", movie);
  app_.table().set(row, &Row::reason, reason);
  app_.table().mark(row, RowMark::failure);
  movieRefused.emit(app_.table().sourcePath(row), reason);
}

void BatchRecorder::forgetJob(std::int64_t order) {
  if (jobs_.erase(order) > 0 && store_ && !stopped_)
    store_->removeJob(order);
}

// ---- Writing

void BatchRecorder::schedule(milliseconds delay) {
  if (timer_ == 0 && !stopped_)
    timer_ = services_.loop.runAfter(delay, [this] { flush(); });
}

void BatchRecorder::flush() {
  services_.loop.cancel(std::exchange(timer_, 0));
  if (stopped_ || group_)  // the group's end goes on
    return;
  if (isEmpty())
    discard();
  else
    writeGroup();
}

// Waits until everything is on the disk. False when it cannot be written.
bool BatchRecorder::flushAll() {
  do {
    flush();
    disk_.finish();
    if (isFailing_)
      return false;
  } while (timer_ != 0 || group_);
  return true;
}

void BatchRecorder::writeGroup() {
  const auto ended = [this](const Outcome<void>& result) { groupEnded(result); };
  if (store_) {
    group_ = std::make_shared<const BatchChanges>(gatheredChanges());
    disk_.add([store = &*store_, group = group_] { return store->write(*group); }, ended);
    return;
  }
  group_ = std::make_shared<const BatchChanges>(wholeBatch());
  made_ = std::make_shared<std::optional<BatchStore>>();
  disk_.add(
      [parent = parent_, group = group_, made = made_]() -> Outcome<void> {
        TESSARIN_TAKE(auto store, BatchStore::create(parent, *group));
        made->emplace(std::move(store));
        return {};
      },
      ended);
}

void BatchRecorder::groupEnded(const Outcome<void>& result) {
  const auto group = std::exchange(group_, nullptr);
  if (const auto made = std::exchange(made_, nullptr); made && *made)
    store_.emplace(std::move(**made));
  isFailing_ = !check(result);
  if (isFailing_) {
    for (const StoredRow& row : group->rows)
      if (rowOf(row.order) >= 0)
        changedRows_.insert(row.order);
    for (const std::int64_t order : group->removedRows)
      if (rowOf(order) < 0)
        removedRows_.insert(order);
    orderChanged_ = waitingChanged_ = true;
    storedSettings_ = {};
    schedule(retryInterval);
    return;
  }
  for (const StoredRow& row : group->rows)
    rowStored(row.order);
  if (waitingChanged_ || orderChanged_ || changedRows_.size() > mostRows) {
    schedule(milliseconds(0));
  } else if (!changedRows_.empty() || !removedRows_.empty()) {
    schedule(gathering);
  }
}

// Whether there is a folder; when there was none the batch is stored now.
bool BatchRecorder::hasFolder() {
  if (store_)
    return true;
  if (!group_)
    writeGroup();
  disk_.finish();
  return store_.has_value();
}

BatchChanges BatchRecorder::wholeBatch() {
  BatchChanges changes;
  changes.settings = settings();
  for (int row = 0; row < app_.table().count(); ++row)
    changes.rows.push_back(storedRow(row));
  orderChanged_ = true;
  changes.order = changedOrder();
  changes.waiting = sourcesWithoutRow();
  changedRows_.clear();
  removedRows_.clear();
  waitingChanged_ = false;
  storedSettings_ = *changes.settings;
  storedWaiting_ = changes.waiting->size();
  return changes;
}

BatchChanges BatchRecorder::gatheredChanges() {
  BatchChanges changes;
  if (Dico current = settings(); current != storedSettings_) {
    changes.settings = current;
    storedSettings_ = std::move(current);
  }
  const auto start = std::chrono::steady_clock::now();
  while (!changedRows_.empty() && changes.rows.size() < mostRows &&
         std::chrono::steady_clock::now() - start < longestGathering)
    changes.rows.push_back(storedRow(rowOf(changedRows_.extract(changedRows_.begin()).value())));
  changes.removedRows.assign(removedRows_.begin(), removedRows_.end());
  removedRows_.clear();
  changes.order = changedOrder();
  changes.waiting = changedWaiting();
  return changes;
}

std::optional<std::vector<std::int64_t>> BatchRecorder::changedOrder() {
  if (!std::exchange(orderChanged_, false))
    return std::nullopt;
  return std::is_sorted(orders_.begin(), orders_.end()) ? std::vector<std::int64_t>() : orders_;
}

std::vector<std::string> BatchRecorder::sourcesWithoutRow() const {
  std::vector<std::string> sources = app_.queue().sourcesWithoutRow();
  sources.insert(sources.end(), restoredWaiting_.begin(), restoredWaiting_.end());
  return sources;
}

// The sources that have no row in the folder; nothing when the stored list need not be changed.
std::optional<std::vector<std::string>> BatchRecorder::changedWaiting() {
  const std::size_t needed =
      app_.queue().waitingCount() + restoredWaiting_.size() + changedRows_.size();
  if (!std::exchange(waitingChanged_, false) && storedWaiting_ <= waitingSlack + 2 * needed)
    return std::nullopt;
  std::vector<std::string> sources = sourcesWithoutRow();
  for (const std::int64_t order : changedRows_)
    for (std::string& file : filesOf(app_.table().source(rowOf(order))))
      sources.push_back(std::move(file));
  storedWaiting_ = sources.size();
  return sources;
}

bool BatchRecorder::check(const Outcome<void>& written) {
  if (written)
    return true;
  logFormat("batch store         :-( {}", written.reason());
  if (!std::exchange(failureTold_, true))
    failed.emit(written.reason());
  return false;
}

// ---- Beginning and ending

void BatchRecorder::restore(std::optional<BatchStore> store, const StoredBatch& batch) {
  applyBatchSettings(app_, services_.preferences, batch.settings);
  disk_.finish();  // of a folder that is being made
  restoredWaiting_.insert(restoredWaiting_.end(), batch.waiting.begin(), batch.waiting.end());
  const bool isOurs = store && !store_ && orders_.empty();
  if (isOurs) {
    store_.swap(store);
    storedWaiting_ = batch.waiting.size();
  }
  for (const StoredRow& stored : batch.rows) {
    if (app_.table().rowOfSource(stored.row.path()) >= 0) {
      if (isOurs)
        removedRows_.insert(stored.order);
      continue;
    }
    restored_ = isOurs ? stored.order : 0;
    const int row = app_.table().append(stored.row);
    restored_ = 0;
    if (isOurs && stored.isChanged)
      rowsChanged({row});
  }
  if (!store)  // ours now, or none
    return;
  waitingChanged_ = true;
  if (flushAll() && store_)
    store->discard();
}

void BatchRecorder::discard() {
  if (stopped_)
    return;
  disk_.finish();
  services_.loop.cancel(std::exchange(timer_, 0));
  if (store_) {
    store_->hide();
    auto old = std::make_shared<BatchStore>(std::move(*store_));
    disk_.add(
        [old]() -> Outcome<void> {
          old->discard();
          return {};
        },
        [](const Outcome<void>&) {});
  }
  store_.reset();
  changedRows_.clear();
  removedRows_.clear();
  orderChanged_ = waitingChanged_ = false;
  storedSettings_ = {};
  storedWaiting_ = 0;
  jobs_.clear();
  endedJobs_.clear();
}

void BatchRecorder::forget() {
  discard();
  restoredWaiting_.clear();
  stopped_ = true;
}

void BatchRecorder::storeUnfinished() {
  if (!sourcesWithoutRow().empty())
    waitingChanged();
  else if (hasUnfinished())
    schedule(gathering);
}

void BatchRecorder::leave() {
  if (stopped_)
    return;
  if (hasUnfinished())
    keep();
  else
    forget();
}

bool BatchRecorder::keep() {
  const bool isStored = flushAll();
  services_.loop.cancel(std::exchange(timer_, 0));
  stopped_ = true;
  return isStored && store_.has_value();
}

// ---- Looking things up

// Nothing to recover. A job in hand has a row.
bool BatchRecorder::isEmpty() const {
  return orders_.empty() && restoredWaiting_.empty() && !app_.queue().hasSourcesWithoutRow();
}

bool BatchRecorder::hasUnfinished() const {
  const BatchTable& table = app_.table();
  for (int row = 0; row < table.count(); ++row)
    if (!table.isFinished(row))
      return true;
  return !sourcesWithoutRow().empty();
}

int BatchRecorder::rowOf(std::int64_t order) const {
  return app_.table().rowOfId(idOfOrder_.at(order));
}

StoredRow BatchRecorder::storedRow(int row) const {
  return {orders_.at(static_cast<std::size_t>(row)), app_.table().row(row)};
}

// The movies of a batch that runs have the names that it began with, whatever is being typed.
Dico BatchRecorder::settings() const {
  Dico settings = batchSettings(app_, services_.preferences, front_);
  if (const Dico* choices = settings.dico(BatchSetting::choices);
      choices && app_.driver().isBatchRunning()) {
    Dico changed = *choices;
    changed.set(PrefKey::names, app_.driver().namesOfBatch());
    settings.set(BatchSetting::choices, std::move(changed));
  }
  return settings;
}

}  // namespace tessarin
