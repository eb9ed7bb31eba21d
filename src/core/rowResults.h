// Rows of a batch file that are converted one by one, by any number of processes on any machines
// that see the same folders.
//
// The file itself is not changed by them. Beside a batch FILE, in the folder FILE.rows:
//   row-N.plist  what became of row N, counted from 1
//   row-N.lock   locked by who converts that row
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "classShared/Outcome.h"
#include "core/BatchFile.h"
#include "encoding/Row.h"
#include "jobs/ConversionJob.h"
#include "platform/Descriptor.h"

namespace tessarin {

// What became of a row: its marks, its movie, its reason, and what is damaged in its movie, in the
// language of whoever converted it ("" for nothing).
struct RowResult {
  Row row;
  std::string damage = {};

  // Whether it has become a movie. A row that was kept because of a movie of that name has not.
  bool isConverted() const { return row.mark == RowMark::success && !row.isKept; }
};

class RowResults {
 public:
  // A link to a batch file stands for what it leads to.
  explicit RowResults(const std::string& batchFile);

  // Of this row as the batch file has it; nothing where there is none, or one of another clip or of
  // other choices. A movie that was whole, but perhaps not at its name yet when its process ended,
  // counts where it is there.
  std::optional<RowResult> of(std::int64_t number, const Row& row) const;

  // What has become of the row that is being converted. On the disk when the call returns. Fail
  // with the reason.
  Outcome<void> writeMovie(std::int64_t number, Row row, const FinishedMovie& movie) const;
  Outcome<void> write(std::int64_t number, const RowResult& result) const;

  // The right to convert the row, for as long as the result lives; makes the folder. Fails with the
  // reason, in the user's language: another process has it, or the file system knows no locks.
  Outcome<Descriptor> claim(std::int64_t number) const;
  // Whether a process converts the row.
  bool isInHand(std::int64_t number) const;

  // Forgets them all, or that of a row of which the batch file itself tells. Only for who holds the
  // batch file alone.
  void clear() const;
  void forget(std::int64_t number) const;

 private:
  std::string path(std::int64_t number, const char* ending) const;
  Outcome<void> store(std::int64_t number, const Dico& content) const;

  std::string folder_;
};

// What is known of a row of a batch file: by itself, or as the file has it. That it has become a
// movie counts more.
RowResult resultOf(const StoredRow& stored, const RowResults& results);

// Who may use a batch file at the same time.
enum class BatchUse {
  rows,  // others that convert rows of it
  whole  // nobody else
};
// The right to use it so, for as long as the result lives. Fails with the reason, in the user's
// language. Where the file system knows no locks, rows cannot be shared; for the whole file the
// right is had all the same (a descriptor that is not open).
Outcome<Descriptor> claimBatchFile(const std::string& path, BatchUse use);

}  // namespace tessarin
