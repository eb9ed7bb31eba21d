// The batch: an ordered list of rows, one per analysed source.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "core/CoreServices.h"
#include "core/Interface.h"
#include "encoding/Row.h"
#include "jobs/forecast.h"
#include "jobs/rowChoices.h"
#include "utils/fileSection.h"

namespace tessarin {

// One choice cell of a row: what each segment shows, whether it may be chosen, and the selection.
struct ChoiceCell {
  struct Segment {
    std::string image;
    bool allowed = false;
  };
  std::vector<Segment> segments;
  int selected = -1;
};

class BatchTable {
 public:
  BatchTable(CoreServices& services, Interface& interface);

  // What changed, for whoever shows the table. Where one act changes many rows all of them are told
  // at once: by the indexes that they have, removed ones by those that they had, rising.
  Signal<const std::vector<int>&> rowsChanged;
  Signal<int> rowAppended;
  Signal<const std::vector<int>&> rowsRemoved;
  Signal<const std::vector<int>&> rowsPutBack;
  Signal<> rowSelected;
  // The rows are in another order: of each the index that it had before.
  Signal<const std::vector<int>&> rowsMoved;

  int count() const { return static_cast<int>(rows_.size()); }
  bool has(int row) const { return row >= 0 && row < count(); }
  const Row& row(int row) const { return rows_.at(static_cast<std::size_t>(row)); }
  const Source& source(int row) const { return this->row(row).source; }
  std::string sourcePath(int row) const { return this->row(row).path(); }
  // What the row's movie is going to be; nothing when it cannot be made.
  std::optional<Forecast> forecast(int row) const;

  // Whether the row has become a movie, so that there is nothing left to do for it.
  bool isFinished(int row) const { return this->row(row).mark == RowMark::success; }

  // The movie that was made of the row, "" for none; and that, or its source.
  std::string movieOf(int row) const { return isFinished(row) ? this->row(row).movie : ""; }
  std::string fileToShow(int row) const {
    return movieOf(row).empty() ? fileOfSource(sourcePath(row)) : movieOf(row);
  }

  // Index of the row of this source, or of the recording that this file is a part of; -1 when there
  // is none.
  int rowOfSource(const std::string& path) const;
  // Whether the path leads to the source file of any row, by whatever name.
  bool isSourceFile(const std::string& path) const;

  // Appends the row as the last; the result is its index. A second row of a source is not taken:
  // the result is then the row that the source has.
  int append(Row entry);
  // A number that the row keeps, and that no other ever has.
  std::uint64_t id(int row) const { return ids_.at(static_cast<std::size_t>(row)); }
  // Index of the row of this number, -1 when there is none (any more).
  int rowOfId(std::uint64_t id) const;
  struct TakenRow {
    std::uint64_t id = 0;  // the number that it has
    int place = 0;         // the index that it had
    Row row;
  };
  using TakenRows = std::vector<TakenRow>;  // by their places
  // Takes these rows out, but never those in progress; the user is told of one of these with the
  // alert. The files of the thumbnails are the caller's from now on.
  TakenRows take(std::vector<int> rows, bool isAlertToDisplay);
  // Puts rows that were taken out back to where they were, or to the end. Those whose sources have
  // rows again are left; these are the result.
  TakenRows putBack(TakenRows rows);
  // Takes these rows out, and removes their thumbnails.
  void remove(std::vector<int> rows);
  // Brings the rows into this order: of each the index that it has now. False, with nothing
  // changed, when they are in it already, or when it does not name every row once.
  bool arrange(const std::vector<int>& order);
  // Changes one part of the row, as it is given.
  template <class T>
  void set(int row, T Row::*part, const std::type_identity_t<T>& value) {
    Row& entry = rows_.at(static_cast<std::size_t>(row));
    if (entry.*part == value)
      return;
    entry.*part = value;
    noteChanged(row);
  }
  // What is set meanwhile is told at once, behind all of it. No row comes or goes meanwhile.
  void changeTogether(const std::function<void()>& change);
  void mark(int row, RowMark mark) { set(row, &Row::mark, mark); }

  // Validates the row's choices against its source and stores the valid ones: the size row, then
  // the target, then the speed. False when no size row can be computed; the row stays as it was.
  bool iba_outSpeedCell(int row);

  // The choice cells of a row as they are shown.
  ChoiceCell outCell(int row) const;
  ChoiceCell speedCell(int row) const;
  // Why a segment of these cells cannot be chosen, and with what it could; "" when it can.
  std::string whyNotOut(int row, Target target) const;
  std::string whyNotSpeed(int row, Speed speed) const;
  // The size popup of a row, coloured by what the editing application takes.
  std::vector<PopUpButton::Item> sizeItems(int row) const;

  // The selected row, -1 for none.
  int selectedRow() const { return selectedRow_; }
  void select(int row);

  // Removes the selected row, or all rows, but never those in progress. `finished` is told
  // whether the removal went ahead; with the alert it is called after the user's answer.
  void batchRemoval(bool single, bool isAlertToDisplay, std::function<void(bool)> finished);
  void encBatchRemove(bool isAlertToDisplay);
  void encBatchRemoveAll(bool isAlertToDisplay);
  // Asks whether all rows are to be removed, and acts if so.
  void askToRemoveAll(std::function<void(bool isWanted)> answered);
  std::vector<int> allRows() const;

  // Index of the row being encoded, the first that was begun of several; -1 when no batch runs.
  int encBatchInprogressRowIdentification() const;
  bool isInProgress(int row) const;
  int inProgressCount() const { return static_cast<int>(inProgress_.size()); }
  // Says which sources those are, in the order in which they were begun.
  void setInProgress(std::vector<std::string> sources) { inProgress_ = std::move(sources); }

 private:
  std::string possibleWith(int row, const std::optional<Choice>& choice) const;
  bool removeSelected(bool isAlertToDisplay);
  void noteFiles(const Row& entry, std::uint64_t id);
  void forgetFiles(const Row& entry, std::uint64_t id);
  void noteChanged(int row);
  bool computeSize(Row& entry, int row) const;

  CoreServices& services_;
  Interface& interface_;
  std::vector<Row> rows_;
  std::vector<std::uint64_t> ids_;  // of each row
  std::uint64_t nextId_ = 0;
  // By id, where its row was when it was looked for last; all are found anew when one of them is
  // somewhere else.
  mutable std::vector<int> lastRowOfId_;
  std::unordered_map<std::string, std::uint64_t> idOfPath_;
  std::vector<std::string> inProgress_;
  bool isGathering_ = false;
  std::vector<int> gathered_;  // changed meanwhile
  int selectedRow_ = -1;
};

// The files of the thumbnails of rows that do not come back.
void removeThumbnails(const BatchTable::TakenRows& rows);

}  // namespace tessarin
