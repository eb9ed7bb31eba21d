#include "core/rowEdits.h"

#include "encoding/outputPreset.h"

namespace tessarin {

namespace {

bool allows(const ChoiceCell& cell, int segment) {
  return segment >= 0 && segment < static_cast<int>(cell.segments.size()) &&
         cell.segments[static_cast<std::size_t>(segment)].allowed;
}

// A row that is finished is to be converted again when what was chosen for it changes.
bool choose(BatchTable& table, int row, const Choice& choice) {
  const Choice before = table.row(row).choice;
  table.set(row, &Row::choice, choice);
  const bool isValid = table.iba_outSpeedCell(row);
  if (table.isFinished(row) && table.row(row).choice != before)
    table.mark(row, RowMark::waiting);
  return isValid;
}

bool chooseSource(BatchTable& table, int row, const Source& source) {
  if (!isRowEditable(table, row))
    return false;
  const bool isOther = source != table.source(row);
  table.set(row, &Row::source, source);
  if (table.isFinished(row) && isOther)
    table.mark(row, RowMark::waiting);
  return true;
}

}  // namespace

bool isRowEditable(const BatchTable& table, int row) {
  return table.has(row) && table.row(row).mark != RowMark::current;
}

bool chooseTarget(BatchTable& table, int row, int target) {
  if (!isRowEditable(table, row) || !allows(table.outCell(row), target))
    return false;
  Choice choice = table.row(row).choice;
  choice.target = static_cast<Target>(target);
  return choose(table, row, choice);
}

bool chooseSpeed(BatchTable& table, int row, int speed) {
  if (!isRowEditable(table, row) || !allows(table.speedCell(row), speed))
    return false;
  Choice choice = table.row(row).choice;
  choice.speed = static_cast<Speed>(speed);
  return choose(table, row, choice);
}

bool chooseSize(BatchTable& table, int row, int size) {
  const bool isSize = size == rowSameAsSourceForSoft || size == rowSameAsSource ||
                      (size >= firstConcreteRow && sizeRow(size));
  if (!isRowEditable(table, row) || !isSize)
    return false;
  Choice choice = table.row(row).choice;
  choice.sizeOut = size;
  return choose(table, row, choice);
}

bool chooseSounds(BatchTable& table, int row, const std::string& choice) {
  if (!table.has(row))
    return false;
  Source source = table.source(row);
  source.soundChoice = choice;
  return chooseSource(table, row, source);
}

bool chooseSlowSound(BatchTable& table, int row, SlowSound choice) {
  if (!table.has(row))
    return false;
  Source source = table.source(row);
  source.slowSound = choice;
  return chooseSource(table, row, source);
}

}  // namespace tessarin
