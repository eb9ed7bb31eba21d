// The folder in which one process keeps its batch while it works on it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "classShared/Outcome.h"
#include "core/BatchFile.h"
#include "platform/Descriptor.h"

namespace tessarin {

// $XDG_STATE_HOME (when that is an absolute path) or ~/.local/state, /Tessarin/batches.
std::string batchesFolder();

// What is to be stored, independent of everything that may change meanwhile.
struct BatchChanges {
  std::optional<Dico> settings;
  // One without a picture is written with what its thumbnail's file holds then.
  std::vector<StoredRow> rows;
  std::vector<std::int64_t> removedRows;
  // The numbers of the rows in their order; none: that of the numbers, and the list is removed.
  std::optional<std::vector<std::int64_t>> order;
  std::optional<std::vector<std::string>> waiting;  // none: the list is removed
};

// A folder "PID-RANDOM" for this user alone, with
//   lock             locked for as long as the owner lives: a folder whose lock is free was left
//                    behind by a crash
//   batch.plist      the settings
//   row-NUMBER.plist one row each, with its order number, so that a change of one row costs the
//                    same however many there are
//   order.plist      the numbers of the rows in their order, where that is not the one of the
//   numbers;
//                    rows that are not named come behind the others
//   job-NUMBER.plist the job of that row: there from just before its output is touched until the
//                    row is known to be finished
//   waiting.plist    the sources that had no row yet; those that have one by now may be named, too
//
// Every file is replaced as a whole. The object holds the lock; the folder stays when the object
// goes, unless it was discarded.
class BatchStore {
 public:
  // A new folder below `parent`, which need not exist. It appears with all its content at once,
  // and is on the disk when the call returns. Any thread.
  static Outcome<BatchStore> create(const std::string& parent, const BatchChanges& content);

  // Takes over the folder of a process that is gone. Nothing when its owner lives, or when it is
  // no such folder.
  static std::optional<BatchStore> claim(const std::string& folder);

  const std::string& folder() const { return folder_; }

  // All of it is on the disk when the call returns, in this order: settings, rows, removed rows,
  // order, waiting sources; a failure leaves out what follows. From any thread, also while others
  // write what these changes do not name.
  Outcome<void> write(const BatchChanges& changes) const;
  // On the disk when the call returns.
  Outcome<void> writeJob(std::int64_t order, const Dico& job) const;
  // Gone from the disk with the next write.
  void removeJob(std::int64_t order) const;

  // The numbers of the stored rows and jobs, in order.
  std::vector<std::int64_t> rowNumbers() const { return numbers("row-"); }
  std::vector<std::int64_t> jobNumbers() const { return numbers("job-"); }

  BatchPart settings() const;
  // Nothing when it is none, or a damaged one.
  std::optional<StoredRow> row(std::int64_t number) const;
  BatchPart job(std::int64_t number) const;
  // The numbers of order.plist that may be such, each once; none where there is no such file.
  std::vector<std::int64_t> order() const;
  BatchPart waiting() const;  // content: "sources"

  // Moves a damaged row out of the folder, to a place where it is kept; the result is its new
  // path, "" when it cannot be moved.
  std::string putRowAside(std::int64_t number) const;

  // Makes the folder none of a batch: whatever happens now, nobody recovers it, unless the power
  // goes before discard(). Nothing may be written afterwards.
  void hide();
  // Hides and removes it.
  void discard();

 private:
  BatchStore(std::string folder, Descriptor lock)
      : folder_(std::move(folder)), lock_(std::move(lock)) {}

  std::string rowPath(std::int64_t order) const;
  std::string jobPath(std::int64_t order) const;
  std::string orderPath() const;
  std::vector<std::int64_t> numbers(std::string_view prefix) const;

  std::string folder_;
  Descriptor lock_;
};

// The folders below `parent` that have no owner any more, claimed, oldest first. Remains of
// folders that were being made or removed are swept away.
std::vector<BatchStore> claimAbandonedFolders(const std::string& parent);

}  // namespace tessarin
