// What is to be done for one row: a decision, made before anything is touched.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classShared/Value.h"
#include "encoding/Row.h"
#include "encoding/commandBuilder.h"
#include "ffmpeg/pictureColours.h"

namespace tessarin {

// The job record of a row: its SourceInfo with the row's choices ("out", "speed", "sizeOut").
Dico jobOfRow(const Row& row);

struct JobPlan {
  Dico job;  // with "dstPathStr" and "durationDouble"
  EncodingCommand command;
  bool needsExport = false;  // the command's result is not the movie yet
  // The command is the export itself, which reads the source: see exportsSource().
  bool isExport = false;
};

// The plan for a job whose output is `destination`. Nothing when the command cannot be built.
std::optional<JobPlan> planJob(Dico job, const std::string& destination,
                               std::string_view prefProres);

// The colours of the job's source: what it says, and what is usual where it does not.
PictureColours sourceColours(const Dico& job);

// Whether the job is a stream copy that is to be a QuickTime movie, which it is already: nothing
// is exported.
bool isQuickTimeCopy(const Dico& job);

// Whether the export reads the source itself: where a copy, from which it would be made otherwise,
// cannot hold all of the source's pictures or is not known to.
bool exportsSource(const Dico& job);

// Seconds of the movie that the job makes: twice those of the source in slow motion. 0: unknown.
double movieDuration(const Dico& job);

// Whether the tool for exports is there.
bool hasExportTool();

// Why a row cannot be converted at all, in the user's language; nothing when it can. `hasExport`:
// hasExportTool().
std::optional<std::string> refusalOf(const Row& row, bool hasExport);

}  // namespace tessarin
