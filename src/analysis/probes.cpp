#include "analysis/probes.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/text.h"

namespace tessarin {

namespace {

// Chapters closer than this to the one before are part of it.
constexpr double shortestChapter = 20.0;  // seconds

}  // namespace

std::optional<std::vector<double>> ffChapters(std::optional<std::string_view> report) {
  logLine("ffChapters          - begin");
  if (!report)
    return std::nullopt;
  std::vector<double> starts;
  DescriptionLines lines(inputBlock(*report));
  while (const auto line = lines.next()) {
    if (!lineDeclares(*line, "Chapter #"))
      continue;
    const auto text = textBetween(*line, ": start ", ", end ");
    const auto seconds = text ? decimalNumber(*text, ReportRange::duration) : std::nullopt;
    if (!seconds)
      continue;
    const bool known = std::find(starts.begin(), starts.end(), *seconds) != starts.end();
    if (!known && (starts.empty() || *seconds > starts.back() + shortestChapter))
      starts.push_back(*seconds);
  }
  if (starts.empty())
    return std::nullopt;
  logFormat("ffChapters          - end : {}", fmt::join(starts, ", "));
  return starts;
}

double ffRevision() {
  const auto output = taskArray1PipeMax({Bundle::main().toolPath("ffmpeg"), "-version"}, true);
  if (!output)
    return 0;
  const std::string_view line = std::string_view(*output).substr(0, lineEnd(*output, 0));
  debugFormat("ffRevision 1st line : {}", line);
  const std::string_view version = textAfter(line, "version ").value_or(line);
  debugFormat("ffRevision beg trimm: {}", version);
  const std::string text = findAndReplace(version, " ", "", false);
  const double revision = leadingNumber(text);
  debugFormat("ffRevision          : {:f} (<-'{}')", revision, text);
  return revision;
}

std::optional<std::string> forceFormat(const std::string& path,
                                       std::optional<std::string_view> report) {
  logLine("forceFormat - debInt");
  logFormat("srcPathStr          : {}", path);
  if (!report)
    return std::nullopt;
  return formatOfKind(taskArray1PipeMax(fileKindCommand(path), false), *report);
}

Arguments fileKindCommand(const std::string& path) {
  return {"/usr/bin/file", "-b", path};
}

std::optional<std::string> formatOfKind(std::optional<std::string_view> kind,
                                        std::string_view report) {
  std::optional<std::string> format;
  if (kind) {
    logFormat("fileVerbose file : {}", *kind);
    if (contains(*kind, "DIF (DV"))
      format = "dv";
    else if (contains(*kind, "MPEG"))
      format = "mpeg";
  }
  if (!format)
    format = forceFormatLite(report);
  if (format)
    logFormat("forceFormatStr : {}", *format);
  return format;
}

std::optional<std::string> forceFormatLite(std::string_view report) {
  struct DataName {
    std::string_view name;
    std::string_view format;
  };
  // In the order of asking: a name that begins like a longer one answers for that one too.
  constexpr std::array names = {DataName{"m1s", "mpeg"},      DataName{"m1v", "mpegvideo"},
                                DataName{"m1v1", ""},         DataName{"m2s", "mpeg"},
                                DataName{"m2v", "mpegvideo"}, DataName{"m2v1", ""}};
  logLine("forceFormatLite - debInt");
  for (const DataName& candidate : names) {
    std::string mark = "Data: ";
    mark += candidate.name;
    if (findText(report, mark) == std::string_view::npos)
      continue;
    logFormat("forceFormatStr       :-) Data: {}", candidate.name);
    if (candidate.format.empty()) {
      logLine("forceFormatStr      : nil");
      return std::nullopt;
    }
    logFormat("forceFormatStr       : {}", candidate.format);
    return std::string(candidate.format);
  }
  return std::nullopt;
}

}  // namespace tessarin
