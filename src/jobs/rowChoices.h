// Which choices a row of the batch may make. Pure functions of the row.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "encoding/Row.h"
#include "encoding/sizes.h"
#include "encoding/targets.h"

namespace tessarin {

// By Speed or by Target.
using Permissions = std::array<bool, std::max(targetTable.size(), speedTable.size())>;

// Which speeds the row allows with its size row.
//
// A row's rate family has to be made from the source without inventing or repeating pictures: a
// p50 row takes a source of 50 or 60 frames or fields a second as it is; a p25 row takes a source
// of 24 to 30 as it is, and one of 50 or 60 halved or slowed to half the speed; an interlaced row
// keeps the source's rate.
Permissions speedPermissions(const Row& row);

// The targets that the row may be converted to (asks isChoiceAllowed for each).
Permissions targetPermissions(const Row& row);

// The valid size and speed nearest to what the row holds. A speed that only the row's sibling of
// the other rate family allows takes that sibling; a speed that neither allows gives way to the
// first one allowed.
struct SizeAndSpeed {
  int sizeOut = 0;
  Speed speed = speedKeep;
};
SizeAndSpeed validSizeAndSpeed(const Row& row);

// The row's target when it is allowed. Otherwise ProRes for a row that has no target of its own
// (the "50p/60p" segment), or else the first target allowed; the row's own when none is.
Target validTarget(const Row& row);

// What somebody wants, of a row whose size and speed are as the rest of the wishes made them.
struct Wish {
  Target target = outProres;
  std::optional<int> sizeOut;  // a size that was named; nothing when any will do
  Speed speed = speedKeep;
};

// The choice nearest to the wish that can be made of the row. The row's own size where the target
// takes it; else, when any will do, the nearest of those that it takes: one of the source's scan
// before others, one that the editing application accepts, at
// the speed that is wanted, the smallest that the source fits into. Nothing when there is none.
std::optional<Choice> nearestChoice(const Row& row, const Wish& wish, Application application);

// A choice that can be made instead of one that cannot, and what has to be named besides its target
// so that nearestChoice comes to it: where nothing is said, the wish stays as it was.
struct Alternative {
  Choice choice;
  std::optional<int> sizeOut;
  std::optional<Speed> speed;
};

// The nearest alternative of each target, in their order.
std::vector<Alternative> alternatives(const Row& row, const Wish& wish, Application application);

// Why the row, with its size and speed, does not allow the target; in the user's language, "" when
// it does.
std::string whyNotTarget(const Row& row, Target target);

// A choice with this speed that the row could make instead, the nearest; nothing when there is
// none.
std::optional<Choice> choiceWithSpeed(const Row& row, Speed speed, Application application);

}  // namespace tessarin
