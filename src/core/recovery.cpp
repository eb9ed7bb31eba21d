#include "core/recovery.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <unordered_set>

#include "analysis/sourceRecord.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/storedRow.h"
#include "jobs/newRow.h"
#include "jobs/outputPlace.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// What a process wrote before the power went may have been lost on its way to the disk.
bool isOfThisSystem(const StoredJob& job) {
  return !job.boot.empty() && job.boot == runningSystem();
}

// Whether the row's movie is there and whole: its row says so, or it had just got its name.
bool isSurelyFinished(const Row& row, const StoredJob& job) {
  if (!isOfThisSystem(job))
    return false;
  return row.mark == RowMark::success ||
         (job.isUndamaged && job.movie && fileState(job.output) == job.movie);
}

// Removes the job's folder. False when that is not settled: the disk is not there, or it cannot be
// removed.
bool removeFolderOf(const StoredJob& job) {
  return job.folder.empty() ||
         (isDirectory(parentFolder(job.folder)) && removeLeftJobFolder(job.folder));
}

// Puts a movie aside that may not be whole. False when that is not settled.
bool putMovieAside(const StoredJob& job, std::vector<PutAside>& putAside) {
  if (!job.movie)
    return true;
  if (!isDirectory(parentFolder(job.output)))
    return false;
  if (fileState(job.output) != job.movie)
    return true;  // it never got its name, or something else has it by now
  const std::string aside = setAsideFailure(job.output, job.output);
  if (aside.empty())
    return false;
  logFormat("recovery            : '{}' put aside as '{}'", job.output, aside);
  putAside.push_back({job.source, job.output, aside});
  return true;
}

void cleanUpBehindJob(BatchStore& store, std::int64_t number, std::vector<PutAside>& putAside) {
  const StoredJob job = jobOfRecord(store.job(number).content);
  auto row = store.row(number);
  const bool isFinished = row && isSurelyFinished(row->row, job);
  bool isSettled = removeFolderOf(job);
  if (!isFinished)
    isSettled = putMovieAside(job, putAside) && isSettled;
  const RowMark mark = isFinished ? RowMark::success : RowMark::waiting;
  if (row && row->row.mark != mark) {
    row->row.mark = mark;
    if (isFinished)
      row->row.movie = job.output;
    BatchChanges changes;
    changes.rows.push_back(*row);
    if (const auto written = store.write(changes); !written) {
      logFormat("recovery            :-( {}", written.reason());
      return;
    }
  }
  // A finished row is none that waits, whatever has become of its folder.
  if (isSettled || isFinished)
    store.removeJob(number);
}

// The thumbnail's file went with the temporary folder of its process: the row gets another one, or
// has none.
void restoreThumbnail(StoredRow& stored) {
  const std::string path = thumbnailPath(temporaryFolder(), stored.row.path());
  if (!stored.picture.empty() && std::ofstream(path, std::ios::binary) << stored.picture)
    stored.row.source.thumbnail = path;
  stored.picture.clear();  // thousands of them would fill the memory
}

void reportDamagedRow(BatchStore& store, std::int64_t number, std::vector<StoreProblem>& problems) {
  const std::string aside = store.putRowAside(number);
  logFormat("recovery            :-( row {} of '{}' is damaged", number, store.folder());
  problems.push_back(
      {aside.empty() ? store.folder() : aside, localisationString("why_damagedRow")});
}

// The numbers of all rows in the order of the list.
std::vector<std::int64_t> rowsInOrder(const BatchStore& store) {
  std::vector<std::int64_t> numbers = store.rowNumbers();
  std::vector<std::int64_t> ordered;
  for (const std::int64_t number : store.order())
    if (std::binary_search(numbers.begin(), numbers.end(), number))
      ordered.push_back(number);
  const std::unordered_set<std::int64_t> named(ordered.begin(), ordered.end());
  std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(ordered),
               [&named](std::int64_t number) { return !named.contains(number); });
  return ordered;
}

void readRows(BatchStore& store, StoredBatch& batch, std::vector<StoreProblem>& problems) {
  const std::vector<std::int64_t> jobs = store.jobNumbers();
  for (const std::int64_t number : rowsInOrder(store)) {
    auto row = store.row(number);
    if (!row) {
      reportDamagedRow(store, number, problems);
      continue;
    }
    // A job that is left was not cleaned up behind, or its row could not be written.
    const bool hasJob = std::binary_search(jobs.begin(), jobs.end(), number);
    if (hasJob || row->row.mark == RowMark::current) {
      row->row.mark = RowMark::waiting;
      row->isChanged = true;
    }
    restoreThumbnail(*row);
    batch.rows.push_back(std::move(*row));
  }
}

}  // namespace

InterruptedBatches claimInterruptedBatches(const std::string& parent) {
  InterruptedBatches found;
  for (BatchStore& store : claimAbandonedFolders(parent)) {
    const BatchPart settings = store.settings();
    if (settings.state == BatchPart::State::newer)
      found.problems.push_back({store.folder(), settings.reason});
    else
      found.stores.push_back(std::move(store));
  }
  return found;
}

std::vector<std::string> foldersOfJobs(const InterruptedBatches& batches) {
  std::vector<std::string> folders;
  for (const BatchStore& store : batches.stores)
    for (const std::int64_t number : store.jobNumbers()) {
      const StoredJob job = jobOfRecord(store.job(number).content);
      for (const std::string& path : {job.folder, job.output})
        if (!path.empty())
          folders.push_back(parentFolder(path));
    }
  return folders;
}

void cleanUpBehindJobs(InterruptedBatches& batches) {
  for (BatchStore& store : batches.stores) {
    for (const std::int64_t number : store.jobNumbers())
      cleanUpBehindJob(store, number, batches.putAside);
    syncFolder(store.folder());
  }
}

InterruptedBatches findInterruptedBatches(const std::string& parent) {
  InterruptedBatches found = claimInterruptedBatches(parent);
  cleanUpBehindJobs(found);
  return found;
}

bool isAtRest(const BatchStore& store) {
  const BatchPart settings = store.settings();
  const Dico* front = settings.content.dico(BatchSetting::front);
  return front && front->integer(BatchSetting::atRest) == 1;
}

StoredBatch readInterruptedBatch(BatchStore& store, std::vector<StoreProblem>& problems) {
  StoredBatch batch;
  const BatchPart settings = store.settings();
  if (!settings.isGood())
    problems.push_back({store.folder(), localisationString("why_noSettings")});
  batch.settings = settings.content;
  readRows(store, batch, problems);

  std::unordered_set<std::string> known;
  for (const StoredRow& row : batch.rows)
    for (std::string& file : filesOf(row.row.source))
      known.insert(std::move(file));

  const BatchPart waiting = store.waiting();
  if (waiting.state == BatchPart::State::damaged)
    problems.push_back({store.folder(), localisationString("why_damagedWaiting")});
  const List* sources = waiting.content.list("sources");
  for (const Value& source : sources ? *sources : List())
    if (const std::string* path = source.textContent();
        path && isStoredPath(*path) && known.insert(*path).second)
      batch.waiting.push_back(*path);
  return batch;
}

}  // namespace tessarin
