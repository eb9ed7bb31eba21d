#include "core/rowChoices.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "analysis/SourceInfo.h"
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

Dico withSize(Dico entry, int sizeOut) {
  entry.set(BatchKey::sizeOut, sizeOut);
  return entry;
}

Dico withSizeAndSpeed(Dico entry, int sizeOut, Speed speed) {
  entry.set(BatchKey::sizeOut, sizeOut);
  entry.set(BatchKey::fps, speed);
  return entry;
}

bool allows(const Dico& entry, const Choice& choice) {
  const Dico made = withSizeAndSpeed(entry, choice.sizeOut, choice.speed);
  return isAllowed(speedPermissions(made), choice.speed) &&
         isAllowed(targetPermissions(made), choice.target);
}

// The choice for a size that was named, or its sibling where the speed wants that.
std::optional<Choice> choiceOfSize(const Dico& entry, Target target, int sizeOut, Speed speed) {
  const SizeAndSpeed valid = validSizeAndSpeed(withSizeAndSpeed(entry, sizeOut, speed));
  const Choice choice{target, valid.sizeOut, valid.speed};
  return allows(entry, choice) ? std::optional(choice) : std::nullopt;
}

// How far a choice is from what is wanted; the nearest comes first.
auto distance(const Dico& source, bool isProgressive, const Choice& choice, const Wish& wish,
              Application application) {
  const SizeRow* row = sizeRow(choice.sizeOut);
  const FrameSize size = row ? row->frame : FrameSize();
  const auto pixels = std::int64_t{size.width} * size.height;
  const double ofSource = source.number(SourceKey::v0Width).value_or(0) *
                          source.number(SourceKey::v0Height).value_or(0);
  const bool isLarger = static_cast<double>(pixels) >= ofSource;
  return std::tuple(isOf(row, RateFamily::i50) == isProgressive,
                    !presetIsCompliant(choice.sizeOut, application), choice.speed != wish.speed,
                    !isLarger, isLarger ? pixels : -pixels);
}

// Of all sizes the one nearest to the wish, with the very speed that is wanted or a near one.
std::optional<Choice> nearestSize(const Dico& entry, const Wish& wish, Application application,
                                  bool sameSpeed) {
  const Dico* source = entry.dico(BatchKey::dico);
  const bool isProgressive = isSourceProgressive(entry);
  std::optional<Choice> nearest;
  for (int size = firstConcreteRow; sizeRow(size) && source; ++size) {
    const auto choice = choiceOfSize(entry, wish.target, size, wish.speed);
    if (!choice || choice->sizeOut != size || (sameSpeed && choice->speed != wish.speed))
      continue;
    if (!nearest || distance(*source, isProgressive, *choice, wish, application) <
                        distance(*source, isProgressive, *nearest, wish, application))
      nearest = choice;
  }
  return nearest;
}

}  // namespace

Permissions speedPermissions(const Dico& entry) {
  const Dico* source = entry.dico(BatchKey::dico);
  const double fps = source ? source->number(SourceKey::v0Fps).value_or(0) : 0;
  const bool isHigh = isHighFrameRate(fps);
  const SizeRow* size = sizeRow(entry.integer(BatchKey::sizeOut).value_or(-1));
  if (isOf(size, RateFamily::p50))
    return {isHigh, false, false};
  if (isOf(size, RateFamily::p25))
    return {!isHigh, isHigh, isHigh};
  return {true, false, false};
}

Permissions targetPermissions(const Dico& entry) {
  Permissions allowed = {};
  for (const Target target : allTargets)
    allowed.at(static_cast<std::size_t>(target)) = cellAllowedOut(entry, target);
  return allowed;
}

SizeAndSpeed validSizeAndSpeed(const Dico& entry) {
  const int size = static_cast<int>(entry.integer(BatchKey::sizeOut).value_or(-1));
  const Speed speed = speedOfRow(entry);
  const Permissions own = speedPermissions(entry);
  if (isAllowed(own, speed))
    return {size, speed};
  const int sibling = siblingSize(size);
  if (sibling >= 0) {
    const Permissions others = speedPermissions(withSize(entry, sibling));
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

std::optional<Choice> nearestChoice(const Dico& entry, const Wish& wish, Application application) {
  const auto own = static_cast<int>(entry.integer(BatchKey::sizeOut).value_or(-1));
  const auto choice = choiceOfSize(entry, wish.target, wish.sizeOut.value_or(own), wish.speed);
  return choice || wish.sizeOut ? choice : nearestSize(entry, wish, application, false);
}

std::vector<Alternative> alternatives(const Dico& entry, const Wish& wish,
                                      Application application) {
  const auto own = static_cast<int>(entry.integer(BatchKey::sizeOut).value_or(-1));
  const auto alternative = [&](Target target) -> std::optional<Alternative> {
    for (const Speed speed : {wish.speed, speedKeep, speedHalf, speedSlow})
      for (const auto& size : {wish.sizeOut, std::optional<int>()})
        if (const auto choice = nearestChoice(entry, {target, size, speed}, application)) {
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

std::optional<Choice> choiceWithSpeed(const Dico& entry, Speed speed, Application application) {
  for (const Target target : {targetOf(entry), outProres, outAic, outQuickTime})
    if (const auto choice = nearestSize(entry, {target, std::nullopt, speed}, application, true))
      return choice;
  return std::nullopt;
}

std::string whyNotTarget(const Dico& entry, Target target) {
  if (isAllowed(targetPermissions(entry), target))
    return {};
  const CodecInventory& codecs = codecInventory();
  if (target != outQuickTime) {
    const TargetRow* row = targetRow(target);
    const bool hasEncoder = codecs.*(row ? row : &targetTable.back())->encoder;
    return localisationString(hasEncoder ? "why_proresSize" : "why_noEncoder");
  }
  const Dico* source = entry.dico(BatchKey::dico);
  const Dico info = source ? *source : Dico();
  if (!isSourceProgressive(entry.contains(BatchKey::fpsSrc) ? entry : info))
    return localisationString("why_copyInterlaced");
  const std::string codec = info.textOrEmpty(SourceKey::v0Codec);
  if (movieHolds(codec, textUpTo(info.textOrEmpty(SourceKey::wrapper), ",")) == false)
    return localisationString("why_movieCodec", "", codec);
  if (needsInterleaveToI50(info, sizeRow(entry.integer(BatchKey::sizeOut).value_or(-1))))
    return localisationString("why_copyFields");
  if (speedOfRow(entry) == speedHalf)
    return localisationString("why_copyAll");
  return localisationString("why_copySize", "",
                            fmt::format("{}x{}", info.integer(SourceKey::v0Width).value_or(0),
                                        info.integer(SourceKey::v0Height).value_or(0)));
}

Target validTarget(const Dico& entry) {
  const Target target = targetOf(entry);
  const Permissions allowed = targetPermissions(entry);
  if (isAllowed(allowed, target))
    return target;
  const bool hasOwnTarget = targetRow(target) != nullptr;
  if (!hasOwnTarget && isAllowed(allowed, outProres))
    return outProres;
  return firstAllowed(allowed, hasOwnTarget ? target : outProres);
}

}  // namespace tessarin
