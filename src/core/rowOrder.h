// Orders that the user may bring the rows of the batch into, for BatchTable::arrange. Pure
// functions.
#pragma once

#include <string_view>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

enum class SortBy { name, recorded, length };

// Of names of files: numbers in them by what they count ("Clip 9" before "Clip 10"), letters of
// ASCII whether large or small.
bool isNameBefore(std::string_view one, std::string_view other);

// All rows by what is said of their sources; those of which it is not known come last, and those of
// which it is the same stay as they are to each other.
std::vector<int> orderBy(const BatchTable& table, SortBy what);

// These of `count` rows, in the order of the table, in front of the row `before`; behind the last
// one when that is `count`.
std::vector<int> orderWithMoved(int count, std::vector<int> rows, int before);
// The same a row up or down, as a block that begins above the first, or ends below the last of
// them.
std::vector<int> orderWithMovedUp(int count, const std::vector<int>& rows);
std::vector<int> orderWithMovedDown(int count, const std::vector<int>& rows);

}  // namespace tessarin
