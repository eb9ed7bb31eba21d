#include "cli/wishes.h"

#include "classShared/TextAdditions.h"
#include "cli/texts.h"
#include "encoding/choiceWords.h"
#include "encoding/outputPreset.h"
#include "jobs/jobPlan.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

namespace {

std::string words(const Alternative& alternative, double fps) {
  std::vector<std::string> options;
  if (alternative.sizeOut)
    options.push_back("--size " + presetSizeName(*alternative.sizeOut, fps));
  if (alternative.speed)
    options.push_back("--speed " + speedWord(*alternative.speed));
  std::string target = targetWord(alternative.choice.target);
  return options.empty()
             ? target
             : localisationString("withOptions", textTable, target, joinTexts(options, " "));
}

}  // namespace

std::string refusalOfWish(const Row& row, const Wish& wish, Application application) {
  Row asked = row;
  asked.choice.target = wish.target;
  const std::string reason = refusalOf(asked, hasExportTool()).value_or("");
  const double fps = row.source.pictures.rate.value_or(0);
  std::vector<std::string> possible;
  for (const Alternative& alternative : alternatives(row, wish, application))
    possible.push_back(words(alternative, fps));
  return possible.empty()
             ? reason
             : localisationString("possibleHere", textTable, reason, joinTexts(possible, "; "));
}

}  // namespace tessarin::cli
