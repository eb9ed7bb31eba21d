// What the user may change in the rows of the batch, and doing it.
#pragma once

#include "core/BatchTable.h"

namespace tessarin {

// Whether the row's choices may be changed: not while it is being converted.
bool isRowEditable(const BatchTable& table, int row);

// Make a choice for the row and bring its other choices in line with it. False, with nothing
// changed, when the row may not be changed or does not allow the choice.
bool chooseTarget(BatchTable& table, int row, int target);
bool chooseSpeed(BatchTable& table, int row, int speed);
bool chooseSize(BatchTable& table, int row, int size);

// Which sounds the row's movie has (soundChoice.h), and what is heard in slow motion. False when
// the row may not be changed.
bool chooseSounds(BatchTable& table, int row, const std::string& choice);
bool chooseSlowSound(BatchTable& table, int row, SlowSound choice);

}  // namespace tessarin
