#include "cli/choiceWords.h"

#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "cli/texts.h"
#include "core/jobPlan.h"
#include "encoding/outputPreset.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

std::string words(const Alternative& alternative, double fps) {
  std::vector<std::string> options;
  if (alternative.sizeOut)
    options.push_back("--size " + presetSizeName(*alternative.sizeOut, fps));
  if (alternative.speed)
    options.push_back(std::string("--speed ") + speedWord(*alternative.speed));
  const char* target = targetWord(alternative.choice.target);
  return options.empty()
             ? target
             : localisationString("withOptions", textTable, target, joinTexts(options, " "));
}

}  // namespace

const char* targetWord(std::int64_t target) {
  switch (target) {
    case outQuickTime:
      return "quicktime";
    case outAic:
      return "aic";
    default:
      return "prores";
  }
}

const char* speedWord(std::int64_t speed) {
  switch (speed) {
    case speedHalf:
      return "half";
    case speedSlow:
      return "slow";
    default:
      return "full";
  }
}

std::string refusalOfWish(const Dico& row, const Wish& wish, Application application) {
  Dico asked = row;
  asked.set(BatchKey::out, wish.target);
  const std::string reason = refusalOf(asked, hasExportTool()).value_or("");
  const Dico* source = row.dico(BatchKey::dico);
  const double fps = source ? source->number(SourceKey::v0Fps).value_or(0) : 0;
  std::vector<std::string> possible;
  for (const Alternative& alternative : alternatives(row, wish, application))
    possible.push_back(words(alternative, fps));
  return possible.empty()
             ? reason
             : localisationString("possibleHere", textTable, reason, joinTexts(possible, "; "));
}

}  // namespace tessarin::cli
