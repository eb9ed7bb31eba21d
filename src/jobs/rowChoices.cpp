#include "jobs/rowChoices.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "encoding/outputPreset.h"
#include "ffmpeg/movieCodecs.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

// Of targets or of speeds.
template <class Kind>
Kind firstAllowed(const Permissions& allowed, Kind otherwise) {
  const auto found = std::find(allowed.begin(), allowed.end(), true);
  return found == allowed.end() ? otherwise : static_cast<Kind>(found - allowed.begin());
}

bool isAllowed(const Permissions& allowed, int choice) {
  return choice >= 0 && choice < static_cast<int>(allowed.size()) &&
         allowed[static_cast<std::size_t>(choice)];
}

Permissions speedsOf(const Source& source, int sizeOut) {
  const bool isHigh = isHighFrameRate(source.pictures.rate.value_or(0));
  const SizeRow* size = sizeRow(sizeOut);
  if (isOf(size, RateFamily::p50))
    return {isHigh, false, false};
  if (isOf(size, RateFamily::p25))
    return {!isHigh, isHigh, isHigh};
  return {true, false, false};
}

SizeAndSpeed valid(const Source& source, int size, Speed speed) {
  const Permissions own = speedsOf(source, size);
  if (isAllowed(own, speed))
    return {size, speed};
  const int sibling = siblingSize(size);
  if (sibling >= 0) {
    const Permissions others = speedsOf(source, sibling);
    // "Full" on a row that the source can only reach halved is answered by halving: the user
    // named the size. Nothing allowed at all is answered by the other rate family.
    const bool ownHasNone = own == Permissions{};
    if (isAllowed(others, speed) && (speed != speedKeep || ownHasNone))
      return {sibling, speed};
    if (ownHasNone)
      return {sibling, firstAllowed(others, speedKeep)};
  }
  return {size, firstAllowed(own, speedKeep)};
}

bool allows(const Row& row, const Choice& choice) {
  return isAllowed(speedsOf(row.source, choice.sizeOut), choice.speed) &&
         targetRow(choice.target) && isChoiceAllowed(row, choice);
}

// The choice for a size that was named, or its sibling where the speed wants that.
std::optional<Choice> choiceOfSize(const Row& row, Target target, int sizeOut, Speed speed) {
  const SizeAndSpeed nearest = valid(row.source, sizeOut, speed);
  const Choice choice{target, nearest.sizeOut, nearest.speed};
  return allows(row, choice) ? std::optional(choice) : std::nullopt;
}

// How far a choice is from what is wanted; the nearest comes first.
auto distance(const Row& row, const Choice& choice, const Wish& wish, Application application) {
  const SizeRow* chosen = sizeRow(choice.sizeOut);
  const FrameSize size = chosen ? chosen->frame : FrameSize();
  const auto pixels = std::int64_t{size.width} * size.height;
  const double ofSource = static_cast<double>(row.source.pictures.width.value_or(0)) *
                          static_cast<double>(row.source.pictures.height.value_or(0));
  const bool isLarger = static_cast<double>(pixels) >= ofSource;
  return std::tuple(isOf(chosen, RateFamily::i50) == row.isProgressive,
                    !presetIsCompliant(choice.sizeOut, application), choice.speed != wish.speed,
                    !isLarger, isLarger ? pixels : -pixels);
}

// Of all sizes the one nearest to the wish, with the very speed that is wanted or a near one.
std::optional<Choice> nearestSize(const Row& row, const Wish& wish, Application application,
                                  bool sameSpeed) {
  std::optional<Choice> nearest;
  for (int size = firstConcreteRow; sizeRow(size); ++size) {
    const auto choice = choiceOfSize(row, wish.target, size, wish.speed);
    if (!choice || choice->sizeOut != size || (sameSpeed && choice->speed != wish.speed))
      continue;
    if (!nearest ||
        distance(row, *choice, wish, application) < distance(row, *nearest, wish, application))
      nearest = choice;
  }
  return nearest;
}

}  // namespace

Permissions speedPermissions(const Row& row) {
  return speedsOf(row.source, row.choice.sizeOut);
}

Permissions targetPermissions(const Row& row) {
  Permissions allowed = {};
  for (const Target target : allTargets)
    allowed.at(static_cast<std::size_t>(target)) =
        isChoiceAllowed(row, {target, row.choice.sizeOut, row.choice.speed});
  return allowed;
}

SizeAndSpeed validSizeAndSpeed(const Row& row) {
  return valid(row.source, row.choice.sizeOut, row.choice.speed);
}

std::optional<Choice> nearestChoice(const Row& row, const Wish& wish, Application application) {
  const int own = row.choice.sizeOut;
  const auto choice = choiceOfSize(row, wish.target, wish.sizeOut.value_or(own), wish.speed);
  return choice || wish.sizeOut ? choice : nearestSize(row, wish, application, false);
}

std::vector<Alternative> alternatives(const Row& row, const Wish& wish, Application application) {
  const int own = row.choice.sizeOut;
  const auto alternative = [&](Target target) -> std::optional<Alternative> {
    for (const Speed speed : {wish.speed, speedKeep, speedHalf, speedSlow})
      for (const auto& size : {wish.sizeOut, std::optional<int>()})
        if (const auto choice = nearestChoice(row, {target, size, speed}, application)) {
          Alternative found{*choice, std::nullopt, std::nullopt};
          if (choice->sizeOut != wish.sizeOut.value_or(own))
            found.sizeOut = choice->sizeOut;
          if (speed != wish.speed)
            found.speed = speed;
          return found;
        }
    return std::nullopt;
  };
  std::vector<Alternative> found;
  for (const Target target : allTargets)
    if (const auto one = alternative(target))
      found.push_back(*one);
  return found;
}

std::optional<Choice> choiceWithSpeed(const Row& row, Speed speed, Application application) {
  for (const Target target : {row.choice.target, outProres, outAic, outQuickTime})
    if (const auto choice = nearestSize(row, {target, std::nullopt, speed}, application, true))
      return choice;
  return std::nullopt;
}

std::string whyNotTarget(const Row& row, Target target) {
  if (isAllowed(targetPermissions(row), target))
    return {};
  const CodecInventory& codecs = codecInventory();
  if (target != outQuickTime) {
    const TargetRow* wanted = targetRow(target);
    return localisationString(hasEncoder(wanted ? *wanted : targetTable.back(), codecs)
                                  ? "why_proresSize"
                                  : "why_noEncoder");
  }
  const Source& source = row.source;
  if (!row.isProgressive)
    return localisationString("why_copyInterlaced");
  const std::string& codec = source.pictures.codec;
  if (movieHolds(codec, firstContainer(source)) == false)
    return localisationString("why_movieCodec", "", codec);
  if (needsInterleaveToI50(source, sizeRow(row.choice.sizeOut)))
    return localisationString("why_copyFields");
  if (row.choice.speed == speedHalf)
    return localisationString("why_copyAll");
  return localisationString(
      "why_copySize", "",
      fmt::format("{}x{}", source.pictures.width.value_or(0), source.pictures.height.value_or(0)));
}

Target validTarget(const Row& row) {
  const Target target = row.choice.target;
  const Permissions allowed = targetPermissions(row);
  if (isAllowed(allowed, target))
    return target;
  const bool hasOwnTarget = targetRow(target) != nullptr;
  if (!hasOwnTarget && isAllowed(allowed, outProres))
    return outProres;
  return firstAllowed(allowed, hasOwnTarget ? target : outProres);
}

}  // namespace tessarin
