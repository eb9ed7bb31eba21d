// The field order of a source, from ffmpeg's idet filter and from YUV4MPEG2 headers.
#include <fmt/format.h>

#include "analysis/probes.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/idetReport.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"

namespace tessarin {

namespace {

constexpr int passCount = 6;
constexpr double passSeconds = 4.0;

}  // namespace

std::optional<Fields> fieldsOfCounts(const IdetCounts& counts) {
  if (counts.top >= 1)
    return counts.bottom > counts.top ? Fields::bottomFirst : Fields::topFirst;
  if (counts.bottom >= 1)
    return Fields::bottomFirst;
  if (counts.progressive > counts.undetermined)
    return Fields::progressive;
  return std::nullopt;
}

std::optional<Fields> fieldOrderProbe(const std::string& path) {
  for (int pass = 0; pass < passCount; ++pass) {
    const std::string start = fmt::format("{:.2f}", passSeconds * (pass + 1));
    const auto report = taskArrayPipes({Bundle::main().toolPath("ffmpeg"), "-loglevel", "info",
                                        "-ss", start, "-i", path, "-vf", "idet", "-t", "4", "-an",
                                        "-sn", "-f", "null", "-y", "/dev/null"});
    debugFormat("taskArrayPipes :-{} iVerboseStr : {}", report ? ")" : "(", report.value_or("nil"));
    const auto counts = idetCounts(report.value_or(""));
    if (!counts)
      continue;
    logFormat("pass #{}             : tffInt={} bffInt={} pffInt={} undefInt={} ", pass,
              counts->top, counts->bottom, counts->progressive, counts->undetermined);
    const auto fields = fieldsOfCounts(*counts);
    if (!fields)
      continue;
    if (pass > 0 && verboseLevel(2))
      logFormat("ffVfIdet {} passes   : {}", pass + 1, fieldsKey(*fields));
    return fields;
  }
  return std::nullopt;
}

Fields fieldsOfHeader(std::string_view yuvHeaderLine) {
  const std::string_view letter = textAfter(yuvHeaderLine, " I").value_or("").substr(0, 1);
  if (letter == "t")
    return Fields::topFirst;
  return letter == "b" ? Fields::bottomFirst : Fields::progressive;
}

}  // namespace tessarin
