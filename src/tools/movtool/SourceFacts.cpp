#include "tools/movtool/SourceFacts.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "ffmpeg/idetReport.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "utils/times.h"

namespace tessarin::movtool {

namespace {

using quicktime::FieldOrder;

// "Duration: 00:01:02.50, start: …"; "N/A" when it is unknown.
std::optional<double> durationOf(std::string_view line) {
  const auto text = textBetween(line, "Duration: ", ",");
  if (!text || text->find(':') == std::string_view::npos)
    return std::nullopt;
  const double seconds = timeStr2Seconds(std::string(*text));
  if (seconds <= 0 || !isWithin(seconds, ReportRange::duration))
    return std::nullopt;
  return seconds;
}

// "config in time_base: 1/90000, …" before the pictures, then "n:   0 pts:  -7200 pts_time:…".
// Unknown unless all of it is a moment that a stream can have.
quicktime::Fraction firstPictureOf(std::string_view report) {
  std::optional<std::int64_t> numerator;
  std::optional<std::int64_t> denominator;
  std::optional<std::int64_t> ticks;
  for (const std::string_view line : splitLines(report)) {
    const auto statement = statementOf(line, "showinfo");
    if (!statement)
      continue;
    if (const auto base = textAfter(*statement, "config in time_base: "); base && !denominator) {
      numerator = wholeNumber(*base, ReportRange::ratioPart);
      denominator = wholeNumber(textAfter(*base, "/").value_or(""), ReportRange::ratioPart);
    } else if (startsWith(*statement, "n:   0 ")) {
      constexpr NumberRange anyTicks{-9e15, 9e15};
      ticks = wholeNumber(trimmed(textAfter(*statement, "pts:").value_or("")), anyTicks);
      break;
    }
  }
  if (!numerator || !denominator || !ticks)
    return {0, 1};
  const double seconds = static_cast<double>(*ticks) * static_cast<double>(*numerator) /
                         static_cast<double>(*denominator);
  constexpr double mostTicks = 9e15;
  const double product = static_cast<double>(*ticks) * static_cast<double>(*numerator);
  if (!isWithin(seconds, ReportRange::time) || !isWithin(product, {-mostTicks, mostTicks}))
    return {0, 1};
  return {*ticks * *numerator, *denominator};
}

// Each track is decoded by an ffmpeg of its own.
constexpr int mostSoundTracks = 32;

bool isSound(std::string_view line) {
  return contains(line, ": Audio: ") && !contains(line, ": Audio: none");
}

}  // namespace

SourceFacts sourceFacts(const yuv4mpeg::Header& picture, std::string_view report) {
  SourceFacts facts;
  facts.width = picture.width;
  facts.height = picture.height;
  facts.pixelAspect = picture.pixelAspect;
  if (isWithin(static_cast<double>(picture.frameRate.numerator) /
                   static_cast<double>(picture.frameRate.denominator),
               ReportRange::pictureRate))
    facts.frameRate = picture.frameRate;
  facts.fieldOrder = picture.fieldOrder;
  facts.flagged = picture.fieldOrder != FieldOrder::progressive;
  facts.firstPicture = firstPictureOf(report);
  facts.timeCode = timeCodeOf(report);
  facts.texts = sourceTexts(report);
  bool picturesSeen = false;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Duration: ")) {
      facts.duration = durationOf(*line);
      continue;
    }
    if (!lineDeclares(*line, "Stream #0:"))
      continue;
    if (isSound(*line)) {
      facts.soundTracks = std::min(facts.soundTracks + 1, mostSoundTracks);
    } else if (contains(*line, ": Video: ") && !picturesSeen &&
               !contains(*line, "(attached pic)")) {
      picturesSeen = true;
      facts.colours = coloursOfReport(textAfter(*line, ": Video: ").value_or(""));
      facts.fullRange =
          contains(*line, ", yuvj") || contains(*line, "(pc,") || contains(*line, "(pc)");
    }
  }
  return facts;
}

std::string timeCodeOf(std::string_view report) {
  for (const std::string_view line : splitLines(inputBlock(report))) {
    const auto words = textAfter(line, ": ");
    if (words && trimmed(textUpTo(line, ":")) == "timecode")
      return std::string(trimmed(*words));
  }
  return {};
}

std::optional<FieldOrder> detectedFieldOrder(std::string_view report) {
  const auto counts = idetCounts(report, IdetDetection::multi);
  if (!counts)
    return std::nullopt;
  if (counts->progressive >= counts->top + counts->bottom)
    return FieldOrder::progressive;
  return counts->bottom > counts->top ? FieldOrder::bottomFirst : FieldOrder::topFirst;
}

}  // namespace tessarin::movtool
