// Which choices a row of the batch may make. Pure functions of the row.
#pragma once

#include <array>

#include "classShared/Value.h"
#include "encoding/BatchEntry.h"

namespace tessarin {

using Permissions = std::array<bool, 3>;  // by OutputSpeed or by OutputTarget

// Which speeds the row allows with its size row ("sizeOut").
//
// A row's rate family has to be made from the source without inventing or repeating pictures: a
// p50 row takes a source of 50 or 60 frames or fields a second as it is; a p25 row takes a source
// of 24 to 30 as it is, and one of 50 or 60 halved or slowed to half the speed; an interlaced row
// keeps the source's rate.
Permissions speedPermissions(const Dico& entry);

// The targets that the row may be converted to (asks cellAllowedOut three times).
Permissions targetPermissions(const Dico& entry);

// The valid size and speed nearest to what the row holds. A speed that only the row's sibling of
// the other rate family allows takes that sibling; a speed that neither allows gives way to the
// first one allowed.
struct SizeAndSpeed {
  int sizeOut = 0;
  int speed = speedKeep;
};
SizeAndSpeed validSizeAndSpeed(const Dico& entry);

// The row's target when it is allowed. Otherwise ProRes for a row that has no target of its own
// (the "50p/60p" segment), or else the first target allowed; the row's own when none is.
int validTarget(const Dico& entry);

// The size row of the same picture size and of the other rate family (p25 for p50 and i50 rows,
// p50 for p25 rows); -1 when there is none.
int siblingSize(int sizeOut);

}  // namespace tessarin
