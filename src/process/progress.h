// What tools print about their progress, as numbers, and what the display makes of it. Pure
// functions; the caller keeps the state between two pieces of output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Value.h"

namespace tessarin {

// How the output of a run is read. The numbers are those that the drivers keep.
enum class ParseMode : int {
  none = -1,         // as every number without a name here: the output is collected, not read
  time = 0,          // seconds after "time="; loudness reports are looked for, too
  endless = 1,       // no value: the display stays indeterminate
  pourcentage = 2,   // the number after "pourcentage    : "
  batch = 3,         // the number after "(batch "
  processing = 4,    // the number after "Processing ("
  count = 5,         // as 2, shown as "WORD value/maximum"
  endlessNoBar = 6,  // as 1, and the bar is never moved
};

// The decimal number right after the first `marker`; 0 when there is none. After "time=" it is the
// seconds of "hours:minutes:seconds", and 0 for a time of any other form ("N/A").
float parseMarkerFloat(std::string_view text, std::string_view marker);
float parseTime(std::string_view text);         // "time="
float parsePourcentage(std::string_view text);  // "pourcentage    : "
float parseBatch(std::string_view text);        // "(batch "
float parseProcessing(std::string_view text);   // "Processing ("

// What a piece of output says in this mode; -1 in the modes without a value, nothing when the
// output is not read for progress at all.
std::optional<double> progressValue(ParseMode mode, std::string_view text);

// Whole seconds as 0h01'05".
std::string durationStr(std::int64_t seconds);
// Minutes left as -04.5'; "" for 0 and less.
std::string minutesStr(float minutes);

// What the converter's loudness filters report.
struct Loudness {
  std::optional<double> maxVolume;   // dB, the loudest sample of volumedetect
  std::optional<double> normalized;  // LUFS to add to come to -23, by the integrated loudness
};
Loudness loudness(std::string_view text);
// Puts what the piece reports into the job, as "normalizedVolumedetect" and "normalized".
void captureLoudness(std::string_view text, Dico& job);

// A change of the display.
struct ProgressDisplay {
  double previous = 0;                     // the run's new previous value
  bool starts = false;                     // the bar becomes determinate
  std::optional<double> barValue;          // in the units of the maximum; nothing: the bar stays
  bool wheelTurns = false;                 // the wheel turns from now on, or stands still
  std::optional<std::string> percentText;  // "" empties the field; nothing: the text stays
};

// What the display shows after the value; nothing when it does not change: the whole percentage
// has to grow for that. The caller writes a percentText that is not empty to the log, as
// "progress            : TEXT".
//
// `previous` is the run's previous value, negative before the first one that was shown. `maximum`
// is the value of 100 %; when it is not above 0 only the wheel turns. `currentText` is the text of
// the percentage field and `thWord` the localized "th", which mode `count` falls back on.
std::optional<ProgressDisplay> progressStep(double previous, double value, double maximum,
                                            ParseMode mode, std::string_view currentText,
                                            std::string_view thWord);

}  // namespace tessarin
