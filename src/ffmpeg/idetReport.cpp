#include "ffmpeg/idetReport.h"

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"

namespace tessarin {

namespace {

// The count behind a label: ffmpeg pads it with blanks, "TFF:     5".
std::int64_t countBehind(std::string_view line, std::string_view label) {
  return wholeNumber(textAfter(line, label).value_or(""), ReportRange::pictureCount).value_or(0);
}

// The last line with these counts; the first line of a report never is one.
std::optional<std::string_view> countsLine(std::string_view report, std::string_view mark) {
  for (std::size_t found = report.rfind(mark); found != std::string_view::npos && found > 0;
       found = report.rfind(mark, found - 1)) {
    const std::size_t start = lineStart(report, found);
    // Of the filter's own lines, "[Parsed_idet_0 @ …]", alone: a title may hold the same words.
    if (start > 0 && report[start] == '[')
      return report.substr(found, lineEnd(report, found) - found);
  }
  return std::nullopt;
}

}  // namespace

std::optional<IdetCounts> idetCounts(std::string_view report, IdetDetection detection) {
  const auto line =
      countsLine(report, detection == IdetDetection::single ? " Single frame detection: TFF:"
                                                            : " Multi frame detection: TFF:");
  if (!line)
    return std::nullopt;
  return IdetCounts{countBehind(*line, "TFF:"), countBehind(*line, " BFF:"),
                    countBehind(*line, " Progressive:"), countBehind(*line, " Undetermined:")};
}

}  // namespace tessarin
