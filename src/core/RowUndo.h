// Takes back what the user did to the rows of the batch.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

// A step is what the user did at once: rows that he removed, with their pictures, choices that he
// made in rows, or another order that he gave them. What became of the rows otherwise is no step.
class RowUndo {
 public:
  enum class Kind { nothing, removal, choice, order };

  // The table is borrowed.
  explicit RowUndo(BatchTable& table) : table_(table) {}
  RowUndo(const RowUndo&) = delete;
  RowUndo& operator=(const RowUndo&) = delete;

  struct State {
    std::uint64_t id = 0;
    int place = 0;  // in the table
    Row row;
    std::string picture = {};  // content of the thumbnail's file
  };
  using States = std::vector<State>;
  // What these rows are now, to be given to one of the next two behind the act.
  States statesOf(std::vector<int> rows, Kind kind) const;
  // Remembers which of these are gone, or in which another choice was made, as one step.
  void addRemoval(States before);
  void addChoice(States before);

  // Brings all rows into this order (BatchTable::arrange), as one step; none where nothing changes.
  void arrange(const std::vector<int>& order);

  // What can be taken back, and of how many rows the states are kept for it.
  Kind kind() const { return steps_.empty() ? Kind::nothing : steps_.back().kind; }
  std::size_t rowCount() const { return steps_.empty() ? 0 : steps_.back().rows.size(); }
  // Takes it back: removed rows come back to where they were, unless their sources have rows again;
  // a choice, unless its row is gone or being converted. A row that was finished with the former
  // choice is so again. Rows that came behind a change of the order stay behind the others.
  void undo();
  Signal<> changed;

 private:
  struct Step {
    Kind kind;
    States rows;
    std::vector<std::uint64_t> order = {};  // the ids of all rows
  };
  void add(Step step);
  void putBack(const State& state);
  void chooseAgain(const State& state);
  void arrangeAgain(const std::vector<std::uint64_t>& order);

  BatchTable& table_;
  std::deque<Step> steps_;
};

}  // namespace tessarin
