#include "core/rowChoices.h"

#include <algorithm>

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "encoding/BatchEntry.h"
#include "encoding/outputPreset.h"

namespace tessarin {

namespace {

std::string_view sizeLabel(int sizeOut) {
  const auto& labels = presetSizesList(false);
  if (sizeOut < 0 || static_cast<std::size_t>(sizeOut) >= labels.size())
    return {};
  return labels[static_cast<std::size_t>(sizeOut)];
}

int firstAllowed(const Permissions& allowed, int otherwise) {
  const auto found = std::find(allowed.begin(), allowed.end(), true);
  return found == allowed.end() ? otherwise : static_cast<int>(found - allowed.begin());
}

bool isAllowed(const Permissions& allowed, int choice) {
  return choice >= 0 && choice < static_cast<int>(allowed.size()) &&
         allowed[static_cast<std::size_t>(choice)];
}

Dico withSize(Dico entry, int sizeOut) {
  entry.set(BatchKey::sizeOut, sizeOut);
  return entry;
}

}  // namespace

Permissions speedPermissions(const Dico& entry) {
  const Dico* source = entry.dico(BatchKey::dico);
  const double fps = source ? source->number(SourceKey::v0Fps).value_or(0) : 0;
  const bool isHigh = isHighFrameRate(fps);
  const std::string_view label =
      sizeLabel(static_cast<int>(entry.integer(BatchKey::sizeOut).value_or(-1)));
  if (contains(label, "p50"))
    return {isHigh, false, false};
  if (contains(label, "p25"))
    return {!isHigh, isHigh, isHigh};
  return {true, false, false};
}

Permissions targetPermissions(const Dico& entry) {
  return {cellAllowedOut(entry, true, false, false), cellAllowedOut(entry, false, true, false),
          cellAllowedOut(entry, false, false, true)};
}

int siblingSize(int sizeOut) {
  // Rows of presetSizesList.
  switch (sizeOut) {
    case 5:
      return 6;
    case 6:
      return 5;
    case 7:
      return 8;
    case 8:
    case 9:
      return 7;
    case 10:
      return 11;
    case 11:
    case 12:
      return 10;
    default:
      return -1;
  }
}

SizeAndSpeed validSizeAndSpeed(const Dico& entry) {
  const int size = static_cast<int>(entry.integer(BatchKey::sizeOut).value_or(-1));
  const int speed = static_cast<int>(entry.integer(BatchKey::fps).value_or(speedKeep));
  const Permissions own = speedPermissions(entry);
  if (isAllowed(own, speed))
    return {size, speed};
  const int sibling = siblingSize(size);
  if (sibling >= 0) {
    const Permissions others = speedPermissions(withSize(entry, sibling));
    // "Full" on a row that the source can only reach halved is answered by halving: the user
    // named the size. Nothing allowed at all is answered by the other rate family.
    const bool ownHasNone = firstAllowed(own, -1) < 0;
    if (isAllowed(others, speed) && (speed != speedKeep || ownHasNone))
      return {sibling, speed};
    if (ownHasNone)
      return {sibling, firstAllowed(others, speedKeep)};
  }
  return {size, firstAllowed(own, speedKeep)};
}

int validTarget(const Dico& entry) {
  const int target = static_cast<int>(entry.integer(BatchKey::out).value_or(outProres));
  const Permissions allowed = targetPermissions(entry);
  if (isAllowed(allowed, target))
    return target;
  const bool hasOwnTarget = target >= outQuickTime && target <= outProres;
  if (!hasOwnTarget && isAllowed(allowed, outProres))
    return outProres;
  return firstAllowed(allowed, hasOwnTarget ? target : outProres);
}

}  // namespace tessarin
