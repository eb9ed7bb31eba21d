#include "tools/movtool/SourceFacts.h"

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "utils/times.h"

namespace tessarin::movtool {

namespace {

using quicktime::Colours;
using quicktime::FieldOrder;

// "Duration: 00:01:02.50, start: …"; "N/A" when it is unknown.
std::optional<double> durationOf(std::string_view line) {
  const auto text = textBetween(line, "Duration: ", ",");
  if (!text || text->find(':') == std::string_view::npos)
    return std::nullopt;
  const double seconds = timeStr2Seconds(std::string(*text));
  if (seconds <= 0)
    return std::nullopt;
  return seconds;
}

// The matrix stands first among what is in brackets behind the pixel format: "yuv420p(tv, bt709,
// top first)", "yuv420p(smpte170m/bt470bg/bt709)".
Colours coloursOf(std::string_view line, int height) {
  const auto format = textBetween(line, ", yuv", "),");
  if (!format)
    return Colours::unknown;
  const std::size_t bracket = format->find('(');
  if (bracket == std::string_view::npos)
    return Colours::unknown;
  for (const std::string_view word : split(format->substr(bracket + 1), ", ")) {
    const std::string_view matrix = word.substr(0, word.find('/'));
    if (matrix == "bt709")
      return Colours::high;
    if (matrix == "smpte170m" || matrix == "bt470bg" || matrix == "bt601")
      return height > 486 ? Colours::standardPal : Colours::standardNtsc;
  }
  return Colours::unknown;
}

// "config in time_base: 1/90000, …" before the pictures, then "n:   0 pts:  -7200 pts_time:…".
quicktime::Fraction firstPictureOf(std::string_view report) {
  const auto timeBase = textBetween(report, "config in time_base: ", ",");
  const auto ticks = textBetween(report, "] n:   0 pts:", "pts_time:");
  if (!timeBase || !ticks)
    return {0, 1};
  const std::size_t slash = timeBase->find('/');
  if (slash == std::string_view::npos)
    return {0, 1};
  const std::int64_t denominator = leadingInteger(timeBase->substr(slash + 1));
  if (denominator <= 0)
    return {0, 1};
  return {leadingInteger(*ticks) * leadingInteger(*timeBase), denominator};
}

// At the beginning of the line: names of files may hold anything.
bool isStream(std::string_view line) {
  return startsWith(line, "  Stream #0:");
}

bool isSound(std::string_view line) {
  return contains(line, ": Audio: ") && !contains(line, ": Audio: none");
}

}  // namespace

SourceFacts sourceFacts(const yuv4mpeg::Header& picture, std::string_view report) {
  SourceFacts facts;
  facts.width = picture.width;
  facts.height = picture.height;
  facts.pixelAspect = picture.pixelAspect;
  facts.frameRate = picture.frameRate;
  facts.fieldOrder = picture.fieldOrder;
  facts.flagged = picture.fieldOrder != FieldOrder::progressive;
  facts.firstPicture = firstPictureOf(report);
  bool picturesSeen = false;
  for (const std::string_view line : splitLines(report)) {
    // What is written comes after what is read.
    if (startsWith(line, "Stream mapping:") || startsWith(line, "Output #"))
      break;
    if (startsWith(line, "  Duration: ")) {
      facts.duration = durationOf(line);
    } else if (isStream(line) && isSound(line)) {
      ++facts.soundTracks;
    } else if (isStream(line) && contains(line, ": Video: ") && !picturesSeen &&
               !contains(line, "(attached pic)")) {
      picturesSeen = true;
      facts.colours = coloursOf(line, facts.height);
      for (const char* transfer : {"arib-std-b67", "smpte2084"})
        if (contains(line, std::string("/") + transfer))
          facts.highRange = transfer;
      facts.fullRange =
          contains(line, ", yuvj") || contains(line, "(pc,") || contains(line, "(pc)");
    }
  }
  return facts;
}

std::optional<FieldOrder> detectedFieldOrder(std::string_view report) {
  const auto counts = textBetween(report, "Multi frame detection:", "\n");
  if (!counts)
    return std::nullopt;
  const auto count = [&](std::string_view label) {
    const auto text = textBetween(*counts, label, ":");
    return text ? leadingInteger(trimmed(*text)) : 0;
  };
  const std::int64_t top = count("TFF:");
  const std::int64_t bottom = count("BFF:");
  if (count("Progressive:") >= top + bottom)
    return FieldOrder::progressive;
  return bottom > top ? FieldOrder::bottomFirst : FieldOrder::topFirst;
}

}  // namespace tessarin::movtool
