// The keys of the preference store under which the step machines keep their state.
#pragma once

#include <array>

#include "prefs/PreferenceStore.h"

namespace tessarin {

// The steps of each machine, in the order in which they are looked for; the last one ends a job.
inline constexpr std::array<const char*, 6> analysisSteps{
    "analysisDeb",         "analysisFfmpeg", "analysisFfmpegResult",
    "analysisFfmpegParse", "analysisDico",   "analysisFin"};
inline constexpr std::array<const char*, 2> mediaInfoSteps{"analysisMediaInfo",
                                                           "analysisMediaInfoParse"};
inline constexpr std::array<const char*, 5> encSteps{"encBatch", "encDeb", "encV", "encQtEnc",
                                                     "encFin"};

namespace StateKey {
// Of the analysis queue.
inline constexpr const char* waiting = "analysisSrcPathesDico";  // record "0", "1" … of paths
inline constexpr const char* analysed = "analysisSrcPathStr";    // path in hand, or "cancel"
inline constexpr const char* record = "analysisSrcCurrentDico";  // its SourceInfo so far
inline constexpr const char* image = "imgPathStr";               // its planned thumbnail
inline constexpr const char* forcedFormat = "ffFileForceFormatStr";
inline constexpr const char* alert = "alertIfIsNotSrcValid";
// Of the encoding driver.
inline constexpr const char* encoded = "encCurrentProcessingFile";  // path in hand, or "cancel"
inline constexpr const char* job = "processEncDico";                // the job in hand
inline constexpr const char* replaceFiles = "replaceFilesCheck";    // answer for the whole batch
}  // namespace StateKey

// What stands for the path in hand after a stop.
inline constexpr const char* cancelled = "cancel";

// The values of StateKey::replaceFiles.
inline constexpr const char* answerKeep = "keep";
inline constexpr const char* answerReplace = "replace";

// Removes all of the above: what a crash has left behind, or another process has in hand, must
// not be taken for a step of ours. Choices of the user stay.
void clearStepFlags(PreferenceStore& preferences);

}  // namespace tessarin
