#include "core/RowUndo.h"

#include <algorithm>
#include <fstream>
#include <tuple>
#include <utility>

#include "classShared/log.h"
#include "core/rowEdits.h"
#include "core/storedRow.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::size_t mostSteps = 100;

// All that a user chooses in a row.
auto choicesOf(const Row& row) {
  return std::tie(row.choice, row.source.soundChoice, row.source.slowSound);
}

}  // namespace

// In the order of the list, so that those that are put back first find their places.
RowUndo::States RowUndo::statesOf(std::vector<int> rows, Kind kind) const {
  std::sort(rows.begin(), rows.end());
  States states;
  states.reserve(rows.size());
  for (const int row : rows) {
    State& state = states.emplace_back(State{table_.id(row), row, table_.row(row)});
    if (const std::string image = state.row.thumbnail();
        kind == Kind::removal && !image.empty() && poidsFile(image, "o") <= largestPicture)
      state.picture = readFileStart(image, largestPicture).value_or("");
  }
  return states;
}

void RowUndo::addRemoval(States before) {
  std::erase_if(before,
                [this](const State& state) { return table_.rowOfSource(state.row.path()) >= 0; });
  add({Kind::removal, std::move(before)});
}

void RowUndo::addChoice(States before) {
  std::erase_if(before, [this](const State& state) {
    const int row = table_.rowOfSource(state.row.path());
    return row < 0 || choicesOf(table_.row(row)) == choicesOf(state.row);
  });
  add({Kind::choice, std::move(before)});
}

void RowUndo::arrange(const std::vector<int>& order) {
  Step step{Kind::order, {}};
  step.order.reserve(static_cast<std::size_t>(table_.count()));
  for (int row = 0; row < table_.count(); ++row)
    step.order.push_back(table_.id(row));
  if (table_.arrange(order))
    add(std::move(step));
}

void RowUndo::add(Step step) {
  if (step.rows.empty() && step.order.empty())
    return;
  steps_.push_back(std::move(step));
  if (steps_.size() > mostSteps)
    steps_.pop_front();
  changed.emit();
}

void RowUndo::undo() {
  if (steps_.empty())
    return;
  const Step step = std::move(steps_.back());
  steps_.pop_back();
  logFormat("undo                : {} ({})", static_cast<int>(step.kind),
            step.rows.size() + step.order.size());
  if (step.kind == Kind::order)
    arrangeAgain(step.order);
  for (const State& state : step.rows)
    if (step.kind == Kind::removal)
      putBack(state);
    else
      chooseAgain(state);
  changed.emit();
}

void RowUndo::putBack(const State& state) {
  if (table_.rowOfSource(state.row.path()) >= 0)
    return;
  if (!state.picture.empty())
    std::ofstream(state.row.thumbnail(), std::ios::binary) << state.picture;
  table_.putBack(state.row, state.id, state.place);
}

void RowUndo::arrangeAgain(const std::vector<std::uint64_t>& order) {
  std::vector<bool> isNamed(static_cast<std::size_t>(table_.count()));
  std::vector<int> rows;
  rows.reserve(isNamed.size());
  for (const std::uint64_t id : order)
    if (const int row = table_.rowOfId(id); row >= 0) {
      rows.push_back(row);
      isNamed[static_cast<std::size_t>(row)] = true;
    }
  for (int row = 0; row < table_.count(); ++row)
    if (!isNamed[static_cast<std::size_t>(row)])
      rows.push_back(row);
  table_.arrange(rows);
}

void RowUndo::chooseAgain(const State& state) {
  const int row = table_.rowOfSource(state.row.path());
  if (!isRowEditable(table_, row))
    return;
  const bool isConvertedSince = table_.isFinished(row);
  table_.set(row, &Row::choice, state.row.choice);
  chooseSounds(table_, row, state.row.source.soundChoice);
  chooseSlowSound(table_, row, state.row.source.slowSound);
  table_.mark(row, isConvertedSince ? RowMark::waiting : state.row.mark);
}

}  // namespace tessarin
