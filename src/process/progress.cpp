#include "process/progress.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/numbers.h"
#include "utils/times.h"

namespace tessarin {

namespace {

constexpr std::string_view timeMarker = "time=";

// Loudness is normalized to this level (EBU R 128), in LUFS.
constexpr double targetLoudness = -23;

// The percentage up to which a number is shown: 100 % stands for a tool that has ended.
constexpr double lastShownPercentage = 99;

// The number that the text begins with; 0 when there is none that the type can hold.
float singleNumber(std::string_view text) {
  const double number = leadingNumber(text);
  return std::abs(number) <= std::numeric_limits<float>::max() ? static_cast<float>(number) : 0;
}

float clockSeconds(std::string_view clock) {
  const std::vector<std::string_view> parts = split(clock, ":");
  if (parts.size() != 3)
    return 0;
  return singleNumber(parts[0]) * 3600 + singleNumber(parts[1]) * 60 + singleNumber(parts[2]);
}

double wholePercentage(double value, double maximum) {
  return std::trunc(value * 100 / maximum);
}

// "th 12/340": the word stays, the numbers change.
std::string countText(double value, double maximum, std::string_view currentText,
                      std::string_view thWord) {
  const std::string word =
      contains(currentText, " ") ? std::string(textUpTo(currentText, " ")) : capitalised(thWord);
  return fmt::format("{} {:.0f}/{:.0f}", word, value, maximum);
}

}  // namespace

float parseMarkerFloat(std::string_view text, std::string_view marker) {
  const auto after = marker.empty() ? std::nullopt : textAfter(text, marker);
  if (!after)
    return 0;
  if (marker != timeMarker)
    return singleNumber(*after);
  const std::string_view clock = textUpTo(*after, " ");
  const float seconds = clockSeconds(clock);
  debugFormat("ffm… {} > returnedFloat : {:f}", clock, seconds);
  return seconds;
}

float parseTime(std::string_view text) {
  return parseMarkerFloat(text, timeMarker);
}

float parsePourcentage(std::string_view text) {
  return parseMarkerFloat(text, "pourcentage    : ");
}

float parseBatch(std::string_view text) {
  return parseMarkerFloat(text, "(batch ");
}

float parseProcessing(std::string_view text) {
  return parseMarkerFloat(text, "Processing (");
}

std::optional<double> progressValue(ParseMode mode, std::string_view text) {
  switch (mode) {
    case ParseMode::time:
      return parseTime(text);
    case ParseMode::endless:
    case ParseMode::endlessNoBar:
      return -1;
    case ParseMode::pourcentage:
    case ParseMode::count:
      return parsePourcentage(text);
    case ParseMode::batch:
      return parseBatch(text);
    case ParseMode::processing:
      return parseProcessing(text);
    case ParseMode::none:
      break;
  }
  return std::nullopt;
}

std::string durationStr(std::int64_t seconds) {
  return durationText(seconds);
}

std::string minutesStr(float minutes) {
  if (!(minutes > 0))
    return {};
  return fmt::format("-{}{:.1f}'", minutes < 10 ? "0" : "", minutes);
}

Loudness loudness(std::string_view text) {
  Loudness found;
  if (contains(text, "[Parsed_volumedetect"))
    if (const auto volume = textBetween(text, "] max_volume: ", " dB"))
      found.maxVolume = str2Float(*volume);
  if (contains(text, "Integrated loudness:"))
    if (const auto integrated = textBetween(text, "    I:       ", " LUFS"))
      found.normalized = targetLoudness - str2Float(*integrated);
  return found;
}

void captureLoudness(std::string_view text, Dico& job) {
  const Loudness found = loudness(text);
  if (found.maxVolume) {
    job.set("normalizedVolumedetect", *found.maxVolume);
    logFormat("tl normalize max vol: {}", static_cast<float>(*found.maxVolume));
  }
  if (found.normalized) {
    job.set("normalized", *found.normalized);
    logFormat("tl normalize loud   : {}", static_cast<float>(*found.normalized));
  }
}

std::optional<ProgressDisplay> progressStep(double previous, double value, double maximum,
                                            ParseMode mode, std::string_view currentText,
                                            std::string_view thWord) {
  ProgressDisplay display;
  display.previous = previous;
  if (!(maximum > 0)) {
    display.wheelTurns = true;
    return display;
  }
  const double percentage = wholePercentage(value, maximum);
  if (value <= -1)
    return std::nullopt;
  const double shown = wholePercentage(previous, maximum);
  if (!(percentage > shown)) {
    if (verboseLevel(1))
      logLine("…not to update");
    return std::nullopt;
  }
  if (verboseLevel(1))
    logFormat("…to update… was={:.0f} -> is={:.0f}", shown, percentage);

  if (previous < 0) {
    if (verboseLevel(1))
      logLine("…not started yet");
    display.starts = true;
    display.wheelTurns = true;
    if (value == 0)
      value = 0.1;  // a bar at 0 looks as if nothing were running
  } else if (percentage <= lastShownPercentage) {
    display.percentText = mode == ParseMode::count ? countText(value, maximum, currentText, thWord)
                                                   : fmt::format("{:.0f} %", percentage);
  } else {
    if (verboseLevel(1))
      logLine("…not ended yet");
    display.percentText = "";
    display.wheelTurns = true;
  }
  if (mode != ParseMode::endlessNoBar)
    display.barValue = value;
  display.previous = value;
  return display;
}

}  // namespace tessarin
