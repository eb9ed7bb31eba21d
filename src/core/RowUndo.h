// Takes back what the user did to the rows of the batch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

// A step is what the user did at once: rows that he removed, choices that he made in rows, or
// another order that he gave them. What became of the rows otherwise is no step. The thumbnails of
// removed rows stay where they are for as long as the rows can come back.
class RowUndo {
 public:
  enum class Kind { nothing, removal, choice, order };

  // The table is borrowed.
  explicit RowUndo(BatchTable& table) : table_(table) {}
  RowUndo(const RowUndo&) = delete;
  RowUndo& operator=(const RowUndo&) = delete;

  // Takes these rows out of the table (BatchTable::take), as one step.
  void remove(std::vector<int> rows, bool isAlertToDisplay);
  // Makes a choice in each of these rows, as one step.
  void choose(const std::vector<int>& rows, const std::function<void(int row)>& choice);
  // Brings all rows into this order (BatchTable::arrange), as one step; none where nothing changes.
  void arrange(const std::vector<int>& order);

  // What can be taken back, and of how many rows the states are kept for it.
  Kind kind() const { return steps_.empty() ? Kind::nothing : steps_.back().kind; }
  std::size_t rowCount() const;
  // Takes it back: removed rows come back to where they were, unless their sources have rows again;
  // a choice, unless its row is gone or being converted. A row that was finished with the former
  // choice is so again. Rows that came behind a change of the order stay behind the others.
  void undo();
  Signal<> changed;

 private:
  // All that a user chooses in a row, and what the row was with it.
  struct Chosen {
    std::uint64_t id = 0;
    Choice choice;
    std::string sounds;
    SlowSound slowSound = SlowSound::asRecorded;
    RowMark mark = RowMark::waiting;
  };
  struct Step {
    Kind kind;
    BatchTable::TakenRows taken = {};
    std::vector<Chosen> choices = {};
    std::vector<std::uint64_t> order = {};  // the ids of all rows
  };
  Chosen chosenIn(int row) const;
  void add(Step step);
  void chooseAgain(const Chosen& state);
  void arrangeAgain(const std::vector<std::uint64_t>& order);

  BatchTable& table_;
  std::deque<Step> steps_;
};

}  // namespace tessarin
