#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/naming.h"
#include "platform/Alerts.h"

namespace tessarin {

std::string clipNameOfDate(std::string_view dateText, std::string_view clip) {
  const std::string name = fmt::format("clip-{}-{}", textUpTo(dateText, " +"), clip);
  return replaceAll(replaceAll(name, ":", ";"), ";;", ";");
}

std::string dateCreation2iMovieN(std::string_view path, const Source& source) {
  logLine("dateCreation2iMovieN…");
  debugFormat("dateCreation2iMovieN- 1: {}", path);
  const std::string clip = fileName(withoutExtension(path));
  const std::string& recorded = source.recorded;
  debugFormat("dateCreation2iMovieN- str : {}", recorded.empty() ? "nil" : recorded);
  std::string name;
  if (!recorded.empty() && source.recordedBy == RecordedBy::card) {
    name = fmt::format("{}-{}", replaceAll(recorded, ":", "."), clip);
  } else if (!recorded.empty()) {
    if (debugMode())
      logLine("dateCreation2iMovieN- 2");
    name = clipNameOfDate(recorded, clip);
    if (verboseLevel(2))
      userAlerts().show({.message = "dstPathNameStr :", .informative = name});
  }
  if (name.empty())
    name = fileName(path);
  debugFormat("dstPathNameStr = {}", name);
  return name;
}

}  // namespace tessarin
