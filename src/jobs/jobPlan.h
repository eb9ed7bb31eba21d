// What is to be done for one row: a decision, made before anything is touched.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "encoding/Row.h"
#include "encoding/commandBuilder.h"

namespace tessarin {

// The command comes first, then the copy that it made is slowed, then exported, where that is
// needed; the check of the movie goes by the same plan.
struct JobPlan {
  Row row;            // as it was planned
  std::string movie;  // where the commands write it
  EncodingCommand command;
  // The command is the export itself, which reads the source: see exportsSource().
  bool isExport = false;
  bool isCopy = false;        // the movie is a copy of the source's pictures: isQuickTimeCopy()
  bool needsSlowing = false;  // needsSlowing() of the row
  bool needsExport = false;   // what is there then is not the movie yet
  std::string settings;       // of an export: exportPresetName()
  // The sound is made as long as the slowed pictures.
  bool slowsSound = false;
  double seconds = 0;  // of the movie: twice those of the source in slow motion. 0: unknown
};

// The plan for a row whose movie is to be written to `movie`; `prefProres` is the four characters
// of the ProRes flavour. Nothing when the command cannot be built.
std::optional<JobPlan> planJob(const Row& row, const std::string& movie,
                               std::string_view prefProres);

// Whether the movie is to be a stream copy in QuickTime's container: nothing is exported.
bool isQuickTimeCopy(const Row& row);

// Whether the export reads the source itself: where the pictures have to be changed before it,
// which it does as well and without the loss of an encoding between; and where a copy, from which
// it would be made otherwise, cannot hold all of the source's pictures or is not known to.
bool exportsSource(const Row& row);

// Whether the tool for exports is there.
bool hasExportTool();

// Why a row cannot be converted at all, in the user's language; nothing when it can. `hasExport`:
// hasExportTool().
std::optional<std::string> refusalOf(const Row& row, bool hasExport);

}  // namespace tessarin
