#include "core/BatchRecorder.h"

#include <algorithm>
#include <utility>

#include "classShared/log.h"
#include "core/batchSettings.h"
#include "utils/files.h"

namespace tessarin {

namespace {

using std::chrono::milliseconds;

// How long changes are gathered before they are written.
constexpr milliseconds gathering(50);
// How long rows are written in one go; each waits for the disk.
constexpr milliseconds longestFlush(25);
constexpr milliseconds untilAllIsWritten = std::chrono::hours(24);
// After a failure, a full disk for example.
constexpr milliseconds retryInterval(5000);

// The stored list of waiting sources may name this many more than twice those that wait: so each
// source costs the same however many there are.
constexpr std::size_t waitingSlack = 16;

// Kilobytes. Thumbnails are 160 pixels wide.
constexpr std::size_t largestImage = 64;

}  // namespace

BatchRecorder::BatchRecorder(appDelegate& app, CoreServices& services, std::string parent)
    : app_(app), services_(services), parent_(std::move(parent)), diskSync_(services.loop) {
  app_.table().rowAppended.connect([this](int row) { rowAppended(row); });
  app_.table().rowChanged.connect([this](int row) { rowChanged(row); });
  app_.table().rowRemoved.connect([this](int row) { rowRemoved(row); });
  app_.queue().accepted.connect([this] {
    waitingChanged();
    flush(longestFlush);
  });
  app_.queue().finished.connect([this] { waitingChanged(); });
  app_.driver().fileBegins.connect([this](const JobFile& file) { fileBegins(file); });
  app_.driver().jobEnded.connect([this](const JobEnd& end) { jobEnded(end); });
  app_.driver().batchEnded.connect([this] {
    discard();
    if (app_.queue().hasSourcesWithoutRow())
      schedule(gathering);
  });
}

BatchRecorder::~BatchRecorder() {
  if (timer_ != 0)
    flush(untilAllIsWritten);
  services_.loop.cancel(timer_);
}

// ---- What happens

void BatchRecorder::rowAppended(int row) {
  const std::int64_t order = restored_ != 0 ? restored_ : lastOrder_ + 1;
  lastOrder_ = order;
  orders_.push_back(order);
  if (restored_ != 0)
    return;
  if (storedWaiting_ > waitingSlack + 2 * app_.queue().waitingCount())
    waitingChanged_ = true;
  rowChanged(row);
}

void BatchRecorder::rowChanged(int row) {
  if (stopped_)
    return;
  changedRows_.insert(orders_.at(static_cast<std::size_t>(row)));
  schedule(gathering);
}

void BatchRecorder::rowRemoved(int row) {
  const auto place = orders_.begin() + row;
  const std::int64_t order = *place;
  orders_.erase(place);
  if (stopped_)
    return;
  changedRows_.erase(order);
  removedRows_.insert(order);
  // Its source may still be named as one without a row.
  waitingChanged();
}

void BatchRecorder::waitingChanged() {
  if (stopped_)
    return;
  waitingChanged_ = true;
  schedule(gathering);
}

void BatchRecorder::fileBegins(const JobFile& file) {
  const int row = app_.table().rowOfSource(file.source);
  if (stopped_ || row < 0 || !makeFolder())
    return;
  const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
  StoredJob& job = jobs_[order];
  job.source = file.source;
  job.boot = runningSystem();
  job.files.push_back({file.path, file.isIntermediate, fileState(file.path)});
  if (check(store_->writeJob(order, recordOfJob(job))))
    store_->sync();
}

void BatchRecorder::jobEnded(const JobEnd& end) {
  const int row = app_.table().rowOfSource(end.source);
  if (stopped_ || row < 0 || !store_)
    return;
  const std::int64_t order = orders_.at(static_cast<std::size_t>(row));
  if (!jobs_.contains(order) || !writeRow(order))
    return;
  store_->sync();
  // A finished movie may still be on its way to the disk.
  if (end.kind == JobEnd::Kind::converted)
    diskSync_.add(end.output, [this, order] { forgetJob(order); });
  else
    forgetJob(order);
}

void BatchRecorder::forgetJob(std::int64_t order) {
  if (jobs_.erase(order) > 0 && store_ && !stopped_)
    store_->removeJob(order);
}

// ---- Writing

void BatchRecorder::schedule(milliseconds delay) {
  if (timer_ == 0 && !stopped_)
    timer_ = services_.loop.runAfter(delay, [this] { flush(longestFlush); });
}

void BatchRecorder::flush(milliseconds longest) {
  services_.loop.cancel(std::exchange(timer_, 0));
  if (stopped_)
    return;
  if (isEmpty())
    discard();
  else if (!writeAll(longest))
    schedule(retryInterval);
  else if (!changedRows_.empty() || !removedRows_.empty())
    schedule(gathering);
}

// Rows before the list of sources without a row: each source is in one of them at every moment.
bool BatchRecorder::writeAll(milliseconds longest) {
  if (!makeFolder() || !writeSettings())
    return false;
  const auto start = std::chrono::steady_clock::now();
  const auto isTimeUp = [start, longest] {
    return std::chrono::steady_clock::now() - start > longest;
  };
  while (!changedRows_.empty()) {
    if (!writeRow(*changedRows_.begin()))
      return false;
    if (isTimeUp())
      break;
  }
  // On a busy disk each costs milliseconds.
  while (!removedRows_.empty() && !isTimeUp())
    store_->removeRow(removedRows_.extract(removedRows_.begin()).value());
  if (waitingChanged_ && !writeWaiting())
    return false;
  store_->sync();
  return true;
}

bool BatchRecorder::makeFolder() {
  if (store_)
    return true;
  StoredBatch content;
  content.settings = settings();
  for (int row = 0; row < app_.table().count(); ++row)
    content.rows.push_back(storedRow(row));
  content.waiting = app_.queue().sourcesWithoutRow();
  auto made = BatchStore::create(parent_, content);
  if (!made)
    return check(Failure{made.reason()});
  store_ = std::move(*made);
  changedRows_.clear();
  removedRows_.clear();
  waitingChanged_ = false;
  storedSettings_ = std::move(content.settings);
  storedWaiting_ = content.waiting.size();
  return true;
}

bool BatchRecorder::writeSettings() {
  Dico current = settings();
  if (current == storedSettings_)
    return true;
  if (!check(store_->writeSettings(current)))
    return false;
  storedSettings_ = std::move(current);
  return true;
}

bool BatchRecorder::writeRow(std::int64_t order) {
  if (!check(store_->writeRow(storedRow(rowOf(order)))))
    return false;
  changedRows_.erase(order);
  return true;
}

bool BatchRecorder::writeWaiting() {
  std::vector<std::string> sources = app_.queue().sourcesWithoutRow();
  for (const std::int64_t order : changedRows_)
    sources.push_back(app_.table().sourcePath(rowOf(order)));
  if (!check(store_->writeWaiting(sources)))
    return false;
  storedWaiting_ = sources.size();
  waitingChanged_ = !changedRows_.empty();
  return true;
}

bool BatchRecorder::check(const Outcome<bool>& written) {
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
  const bool isOurs = store && !store_ && orders_.empty();
  if (isOurs) {
    store_.swap(store);
    storedWaiting_ = batch.waiting.size();
  }
  for (const StoredRow& stored : batch.rows) {
    const Dico* info = stored.row.dico(BatchKey::dico);
    if (info && app_.table().rowOfSource(info->textOrEmpty(RowInfoKey::srcPathStr)) >= 0) {
      if (isOurs)
        removedRows_.insert(stored.order);
      continue;
    }
    restored_ = isOurs ? stored.order : 0;
    const int row = app_.table().append(stored.row);
    restored_ = 0;
    if (isOurs && stored.isChanged)
      rowChanged(row);
  }
  if (!store)  // ours now, or none
    return;
  flush(untilAllIsWritten);
  if (store_ && changedRows_.empty())
    store->discard();
}

void BatchRecorder::discard() {
  if (stopped_)
    return;
  services_.loop.cancel(std::exchange(timer_, 0));
  diskSync_.clear();
  if (store_)
    store_->discard();
  store_.reset();
  changedRows_.clear();
  removedRows_.clear();
  waitingChanged_ = false;
  storedSettings_ = {};
  storedWaiting_ = 0;
  jobs_.clear();
}

void BatchRecorder::forget() {
  discard();
  stopped_ = true;
}

void BatchRecorder::storeUnfinished() {
  for (int row = 0; row < app_.table().count(); ++row)
    if (!app_.table().isFinished(row))
      return schedule(gathering);
}

void BatchRecorder::keep() {
  flush(untilAllIsWritten);
  services_.loop.cancel(std::exchange(timer_, 0));
  stopped_ = true;
}

// ---- Looking things up

// Nothing to recover. A job in hand has a row.
bool BatchRecorder::isEmpty() const {
  return orders_.empty() && !app_.queue().hasSourcesWithoutRow();
}

int BatchRecorder::rowOf(std::int64_t order) const {
  const auto place = std::lower_bound(orders_.begin(), orders_.end(), order);
  return static_cast<int>(place - orders_.begin());
}

StoredRow BatchRecorder::storedRow(int row) const {
  const Dico& entry = app_.table().row(row);
  StoredRow stored{orders_.at(static_cast<std::size_t>(row)), entry};
  if (const auto image = entry.text(BatchKey::img); image && poidsFile(*image, "k") <= largestImage)
    stored.picture = readFileStart(*image, largestImage * 1024).value_or("");
  return stored;
}

Dico BatchRecorder::settings() const {
  return batchSettings(app_, services_.preferences, front_);
}

}  // namespace tessarin
