// Keeps the batch on the disk while it is worked on, so that it can be recovered after a crash.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/BatchStore.h"
#include "core/appDelegate.h"
#include "jobs/outputPlace.h"
#include "platform/DiskWork.h"

namespace tessarin {

// Follows the controller. What survives a crash, of the program or of the machine:
//
// - A job, before its folder is made and before its movie gets its name, and a finished row, before
// anybody who connected to
//   `jobEnded` after the recorder is told: the main thread waits for the disk. A converted row
//   counts after a crash of the machine only when its movie is on the disk as well (its job is
//   forgotten then), and only then its clip is remembered as converted. Nobody waits for that
//   before the end of the batch. A row whose movie the disk did not take has failed.
// - The sources as soon as they are taken in, rows, choices and removals 50 ms after they change:
//   as soon as the disk has taken them. A thread waits for it, with one group of changes at a time,
//   in the order rows, then the list of sources without a row, so that each source is in one of
//   them at every moment.
//
// The first change makes the folder. A batch that ended, with all its rows on the disk or by the
// user's stop, needs none: the folder goes, and comes back with the next change. Destroying the
// recorder leaves the folder for a recovery.
//
// When nothing can be stored the batch goes on all the same; `failed` says why, once.
class BatchRecorder {
 public:
  // All are borrowed; the recorder has to live until the controller has done its last step.
  // `parent` is the folder for the batches (batchesFolder()).
  BatchRecorder(appDelegate& app, CoreServices& services, std::string parent);
  ~BatchRecorder();
  BatchRecorder(const BatchRecorder&) = delete;
  BatchRecorder& operator=(const BatchRecorder&) = delete;

  Signal<const std::string&> failed;
  // The disk did not take the movie of this source; the reason is in the user's language.
  Signal<const std::string&, const std::string&> movieRefused;
  // The batch has ended, and what became of its movies is known: what is stored of it goes next.
  Signal<> settled;
  // It has gone.
  Signal<> cleared;

  // What the front needs to go on with the batch; stored with it (BatchSetting::front).
  void setFrontSettings(Dico settings) { front_ = std::move(settings); }

  // Brings a batch into the controller: its choices, then its rows at the end of the table; a
  // source that has a row there already is left out. The waiting sources are the caller's to drop,
  // at once or when the analysis that is under way has finished; until then they are stored with
  // the others. The batch is the caller's to continue (EncodingDriver::iba_batchGoBt). The folder
  // of an interrupted batch becomes ours, or goes when there is one already.
  void restore(std::optional<BatchStore> store, const StoredBatch& batch);

  // Removes what is stored: the batch needs no recovery. Not after keep().
  void discard();
  // Removes what is stored and stops following.
  void forget();
  // The user has ended the program: keep(), where a row is left to be converted or a source without
  // one, else forget(). Once more changes nothing.
  void leave();
  // The end of the batch is settled now: movies that are still on their way to the disk are not
  // waited for.
  void settle() { diskSync_.clear(); }
  // Stores the batch anew after its end when a row is left to be converted, or a source without
  // one.
  void storeUnfinished();
  // Brings everything to the disk and stops following: the batch is to be recovered later,
  // whatever happens to it now. False when there is nothing to recover or it cannot be stored.
  bool keep();

 private:
  void rowAppended(int row);
  void rowsChanged(const std::vector<int>& rows);
  void rowsRemoved(const std::vector<int>& rows);
  void rowsPutBack(const std::vector<int>& rows);
  void rowsMoved();
  void readNumbers();
  void folderBegins(const std::string& source, const std::string& folder);
  void movieFinished(const FinishedMovie& movie);
  void jobEnded(const JobEnd& end);
  void batchEnded();

  void waitingChanged();
  void schedule(std::chrono::milliseconds delay);
  void flush();
  bool flushAll();
  void writeGroup();
  void groupEnded(const Outcome<void>& result);
  bool hasFolder();
  BatchChanges wholeBatch();
  BatchChanges gatheredChanges();
  std::vector<std::string> sourcesWithoutRow() const;
  std::optional<std::vector<std::int64_t>> changedOrder();
  std::optional<std::vector<std::string>> changedWaiting();
  void rowStored(std::int64_t order);
  void bringToDisk(std::int64_t order, const JobEnd& end);
  void movieNotTaken(std::int64_t order, const std::string& movie);
  void forgetJob(std::int64_t order);
  bool check(const Outcome<void>& written);

  bool isEmpty() const;
  bool hasUnfinished() const;
  int rowOf(std::int64_t order) const;
  StoredRow storedRow(int row) const;
  Dico settings() const;

  appDelegate& app_;
  CoreServices& services_;
  std::string parent_;
  Dico front_;
  std::optional<BatchStore> store_;
  DiskSync diskSync_;

  std::vector<std::int64_t> orders_;  // of the table's rows
  std::int64_t lastOrder_ = 0;
  std::map<std::uint64_t, std::int64_t> orderOfId_;  // of all rows that there ever were
  std::map<std::int64_t, std::uint64_t> idOfOrder_;
  std::int64_t restored_ = 0;  // number of the row that is being restored, 0 for none
  bool stopped_ = false;       // nothing is followed any more
  bool failureTold_ = false;

  // What the folder lacks and the group that is being written has not.
  std::set<std::int64_t> changedRows_;
  std::set<std::int64_t> removedRows_;
  bool orderChanged_ = false;
  bool waitingChanged_ = false;
  std::vector<std::string> restoredWaiting_;         // that the queue has not been given yet
  std::shared_ptr<const BatchChanges> group_;        // that is being written
  std::shared_ptr<std::optional<BatchStore>> made_;  // by that group, when there was no folder
  bool isFailing_ = false;                           // the last group was not written
  // What the folder has, or will have with the group.
  Dico storedSettings_;
  std::size_t storedWaiting_ = 0;
  std::map<std::int64_t, StoredJob> jobs_;
  std::map<std::int64_t, JobEnd> endedJobs_;  // whose rows are not known to be stored
  RunLoop::Id timer_ = 0;
  DiskThread disk_;  // last: what it works on is ours
};

}  // namespace tessarin
