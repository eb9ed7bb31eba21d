// The keys of the preference store that show what the jobs in hand are doing.
//
// They are written by StateMirror and read by nobody here: a job keeps its state itself. Where
// several jobs run, the one that the window shows is told of.
#pragma once

#include <array>
#include <span>
#include <string>

#include "prefs/PreferenceStore.h"

namespace tessarin {

class AnalysisJob;
class ConversionJob;

// The steps of each kind of job, the last one ends it. A job under way has the flags of the step
// that is next and of the last one; a conversion has that of the next step in the record of the
// job.
inline constexpr std::array<const char*, 6> analysisSteps{
    "analysisDeb",         "analysisFfmpeg", "analysisFfmpegResult",
    "analysisFfmpegParse", "analysisDico",   "analysisFin"};
inline constexpr std::array<const char*, 2> mediaInfoSteps{"analysisMediaInfo",
                                                           "analysisMediaInfoParse"};
inline constexpr std::array<const char*, 5> encSteps{"encBatch", "encDeb", "encV", "encQtEnc",
                                                     "encFin"};

namespace StateKey {
// Of the analysis.
inline constexpr const char* waiting = "analysisSrcPathesDico";  // record "0", "1" … of paths
inline constexpr const char* analysed = "analysisSrcPathStr";    // path in hand
inline constexpr const char* record = "analysisSrcCurrentDico";  // what is known so far
inline constexpr const char* image = "imgPathStr";               // its planned thumbnail
inline constexpr const char* forcedFormat = "ffFileForceFormatStr";
inline constexpr const char* alert = "alertIfIsNotSrcValid";
// Of the conversion.
inline constexpr const char* encoded = "encCurrentProcessingFile";  // path in hand, or "cancel"
inline constexpr const char* job = "processEncDico";                // the job in hand
// Not only shown: the user's answer for the whole batch.
inline constexpr const char* replaceFiles = "replaceFilesCheck";
}  // namespace StateKey

// What stands for the path in hand after a stop.
inline constexpr const char* cancelled = "cancel";
// Stands there when the first row was left out.
inline constexpr const char* beforeFirstRow = "totoCestLePlusBeau";

// The values of StateKey::replaceFiles.
inline constexpr const char* answerKeep = "keep";
inline constexpr const char* answerReplace = "replace";

// Removes all of the above: what a crash has left behind, or another process has in hand, must
// not be taken for a step of ours. Choices of the user stay.
void clearStepFlags(PreferenceStore& preferences);

class StateMirror {
 public:
  // Borrowed.
  explicit StateMirror(PreferenceStore& preferences) : preferences_(preferences) {}

  // The source in hand; "" for none.
  void showAnalysed(const std::string& path) { showText(StateKey::analysed, path); }
  void showEncoded(const std::string& path) { showText(StateKey::encoded, path); }
  // The job that is under way; null for none.
  void show(const AnalysisJob* job);
  void show(const ConversionJob* job);
  // Its step is none that is to come any more.
  void take(const ConversionJob& job);

 private:
  void showText(const char* key, const std::string& text);
  void showFlags(std::span<const char* const> flags, const char* step);

  PreferenceStore& preferences_;
};

}  // namespace tessarin
