#include "core/recovery.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <unordered_set>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/newRow.h"
#include "core/setAside.h"
#include "core/storedJob.h"
#include "encoding/BatchEntry.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// A finished movie counts when it cannot have been lost: its data may still have been on the way
// to the disk when the power went.
bool isSurelyFinished(const Dico& row, const StoredJob& job) {
  return row.textOrEmpty(BatchKey::resultat) == ResultMark::success && !job.boot.empty() &&
         job.boot == runningSystem();
}

// Puts aside what the job has written of its output and removes the rest. False when that is not
// settled: the disk is not there, or a file cannot be renamed.
bool cleanUpFiles(const StoredJob& job, std::vector<PutAside>& putAside) {
  bool isSettled = true;
  for (const StoredJob::File& file : job.files) {
    if (!isDirectory(parentFolder(file.path))) {
      isSettled = false;
      continue;
    }
    if (!pathExists(file.path) || fileMark(file.path) == file.before)
      continue;
    if (file.isIntermediate) {
      isSettled = removeFile(file.path) && isSettled;
      continue;
    }
    const std::string aside = setAsideFailure(file.path);
    logFormat("recovery            : '{}' put aside as '{}'", file.path, aside);
    if (aside == file.path)
      isSettled = false;
    else
      putAside.push_back({job.source, file.path, aside});
  }
  return isSettled;
}

void cleanUpBehindJob(BatchStore& store, std::int64_t number, std::vector<PutAside>& putAside) {
  const BatchPart stored = store.job(number);
  const BatchPart part = store.row(number);
  const StoredJob job = jobOfRecord(stored.content);
  const Dico* row = part.content.dico("row");
  if (row && isSurelyFinished(*row, job)) {
    store.removeJob(number);
    return;
  }
  const bool isSettled = cleanUpFiles(job, putAside);
  if (row && row->textOrEmpty(BatchKey::resultat) != ResultMark::waiting) {
    Dico waiting = *row;
    waiting.set(BatchKey::resultat, ResultMark::waiting);
    const auto written = store.writeRow(part.content.integer("order").value_or(number), waiting);
    if (!written) {
      logFormat("recovery            :-( {}", written.reason());
      return;
    }
  }
  if (isSettled)
    store.removeJob(number);
}

// Whether this is the temporary folder of a process that is gone, and so nobody's.
bool isLeftFolder(const std::string& folder) {
  struct stat status {};
  return startsWith(fileName(folder), "Tessarin-") && ::lstat(folder.c_str(), &status) == 0 &&
         S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && folder != temporaryFolder();
}

// Brings the row's thumbnail into our own temporary folder; where that cannot be, the row has none.
void takeThumbnail(StoredRow& stored, bool mayMove) {
  Dico& row = stored.row;
  const Dico* info = row.dico(BatchKey::dico);
  const std::string image = info ? info->textOrEmpty(RowInfoKey::imgPathStr) : "";
  if (image.empty())
    return;
  Dico own = *info;
  const std::string moved =
      thumbnailPath(temporaryFolder(), info->textOrEmpty(RowInfoKey::srcPathStr));
  if (mayMove && moveFile(image, moved, "")) {
    own.set(RowInfoKey::imgPathStr, moved);
    row.set(BatchKey::img, moved);
  } else {
    own.remove(RowInfoKey::imgPathStr);
    row.remove(BatchKey::img);
  }
  row.set(BatchKey::dico, std::move(own));
  stored.isChanged = true;
}

void reportDamagedRow(BatchStore& store, std::int64_t number, std::vector<StoreProblem>& problems) {
  const std::string aside = store.putRowAside(number);
  logFormat("recovery            :-( row {} of '{}' is damaged", number, store.folder());
  problems.push_back(
      {aside.empty() ? store.folder() : aside, localisationString("why_damagedRow")});
}

void readRows(BatchStore& store, StoredBatch& batch, std::vector<StoreProblem>& problems) {
  for (const std::int64_t number : store.rowNumbers()) {
    BatchPart part = store.row(number);
    const Dico* row = part.content.dico("row");
    if (!part.isGood() || !row || !row->dico(BatchKey::dico)) {
      reportDamagedRow(store, number, problems);
      continue;
    }
    StoredRow read{part.content.integer("order").value_or(number), *row};
    if (read.row.textOrEmpty(BatchKey::resultat) == ResultMark::current) {
      read.row.set(BatchKey::resultat, ResultMark::waiting);
      read.isChanged = true;
    }
    batch.rows.push_back(std::move(read));
  }
}

}  // namespace

InterruptedBatches findInterruptedBatches(const std::string& parent) {
  InterruptedBatches found;
  for (BatchStore& store : claimAbandonedFolders(parent)) {
    const BatchPart settings = store.settings();
    if (settings.state == BatchPart::State::newer) {
      found.problems.push_back({store.folder(), settings.reason});
      continue;
    }
    for (const std::int64_t number : store.jobNumbers())
      cleanUpBehindJob(store, number, found.putAside);
    store.sync();
    found.stores.push_back(std::move(store));
  }
  return found;
}

StoredBatch readInterruptedBatch(BatchStore& store, std::vector<StoreProblem>& problems) {
  StoredBatch batch;
  const BatchPart settings = store.settings();
  if (!settings.isGood())
    problems.push_back({store.folder(), localisationString("why_noSettings")});
  batch.settings = settings.content;
  readRows(store, batch, problems);

  const std::string left = batch.settings.textOrEmpty(BatchSetting::temporaryFolder);
  const bool isLeft = isLeftFolder(left);
  std::unordered_set<std::string> known;
  for (StoredRow& row : batch.rows) {
    takeThumbnail(row, isLeft);
    known.insert(row.row.dico(BatchKey::dico)->textOrEmpty(RowInfoKey::srcPathStr));
  }
  if (isLeft) {
    std::error_code failed;
    std::filesystem::remove_all(left, failed);
  }

  const BatchPart waiting = store.waiting();
  if (waiting.state == BatchPart::State::damaged)
    problems.push_back({store.folder(), localisationString("why_damagedWaiting")});
  const List* sources = waiting.content.list("sources");
  for (const Value& source : sources ? *sources : List())
    if (source.text() && !known.contains(*source.text()))
      batch.waiting.push_back(*source.text());
  return batch;
}

}  // namespace tessarin
