#include "core/RowUndo.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "classShared/log.h"
#include "core/rowEdits.h"

namespace tessarin {

namespace {

constexpr std::size_t mostSteps = 100;

}  // namespace

void RowUndo::remove(std::vector<int> rows, bool isAlertToDisplay) {
  Step step{Kind::removal};
  step.taken = table_.take(std::move(rows), isAlertToDisplay);
  add(std::move(step));
}

RowUndo::Chosen RowUndo::chosenIn(int row) const {
  const Row& entry = table_.row(row);
  return {table_.id(row), entry.choice, entry.source.soundChoice, entry.source.slowSound,
          entry.mark};
}

void RowUndo::choose(const std::vector<int>& rows, const std::function<void(int row)>& choice) {
  Step step{Kind::choice};
  table_.changeTogether([&] {
    for (const int row : rows) {
      Chosen before = chosenIn(row);
      choice(row);
      const Chosen now = chosenIn(row);
      if (std::tie(before.choice, before.sounds, before.slowSound) !=
          std::tie(now.choice, now.sounds, now.slowSound))
        step.choices.push_back(std::move(before));
    }
  });
  add(std::move(step));
}

std::size_t RowUndo::rowCount() const {
  return steps_.empty() ? 0 : steps_.back().taken.size() + steps_.back().choices.size();
}

void RowUndo::arrange(const std::vector<int>& order) {
  Step step{Kind::order};
  step.order.reserve(static_cast<std::size_t>(table_.count()));
  for (int row = 0; row < table_.count(); ++row)
    step.order.push_back(table_.id(row));
  if (table_.arrange(order))
    add(std::move(step));
}

void RowUndo::add(Step step) {
  if (step.taken.empty() && step.choices.empty() && step.order.empty())
    return;
  steps_.push_back(std::move(step));
  if (steps_.size() > mostSteps) {
    removeThumbnails(steps_.front().taken);
    steps_.pop_front();
  }
  changed.emit();
}

void RowUndo::undo() {
  if (steps_.empty())
    return;
  Step step = std::move(steps_.back());
  steps_.pop_back();
  logFormat("undo                : {} ({})", static_cast<int>(step.kind),
            step.taken.size() + step.choices.size() + step.order.size());
  if (step.kind == Kind::order)
    arrangeAgain(step.order);
  removeThumbnails(table_.putBack(std::move(step.taken)));
  table_.changeTogether([&] {
    for (const Chosen& state : step.choices)
      chooseAgain(state);
  });
  changed.emit();
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

void RowUndo::chooseAgain(const Chosen& state) {
  const int row = table_.rowOfId(state.id);
  if (!isRowEditable(table_, row))
    return;
  const bool isConvertedSince = table_.isFinished(row);
  table_.set(row, &Row::choice, state.choice);
  chooseSounds(table_, row, state.sounds);
  chooseSlowSound(table_, row, state.slowSound);
  table_.mark(row, isConvertedSince ? RowMark::waiting : state.mark);
}

}  // namespace tessarin
