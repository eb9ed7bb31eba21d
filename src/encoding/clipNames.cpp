#include <algorithm>
#include <optional>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/naming.h"
#include "platform/Alerts.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/files.h"
#include "utils/times.h"

namespace tessarin {

namespace {

// The card's clips with their times, as the tool prints them.
std::string timeStampsOfCard(const std::string& cardFolder) {
  const std::string playlists = joinPath(cardFolder, "PLAYLIST/");
  debugFormat("dateCreation2iMovieN- folderPLAYLIST : {}", playlists);
  const Arguments command = {Bundle::main().toolPath("gettimestamps"), playlists};
  std::string output = taskArray1PipeMax(command, false).value_or(std::string());
  debugFormat("dateCreation2iMovieN- str : {}", output);
  return output;
}

bool holdsPlaylists(const std::string& cardFolder) {
  const auto entries = lsCocoa(cardFolder);
  return entries && std::any_of(entries->begin(), entries->end(), [](const std::string& entry) {
           return contains(fileName(entry), "PLAYLIST");
         });
}

}  // namespace

std::string clipNameOfTimeStamps(std::string_view toolOutput, std::string_view clip) {
  for (const std::string_view line : splitLines(toolOutput)) {
    const auto time = textAfter(line, " : ");
    if (time && textUpTo(line, " : ") == clip)
      return fmt::format("{}-{}", *time, clip);
  }
  return {};
}

std::string clipNameOfDate(std::string_view dateText, std::string_view clip) {
  const std::string name = fmt::format("clip-{}-{}", textUpTo(dateText, " +"), clip);
  return replaceAll(replaceAll(name, ":", ";"), ";;", ";");
}

std::string dateCreation2iMovieN(std::string_view path) {
  logLine("dateCreation2iMovieN…");
  debugFormat("dateCreation2iMovieN- 1: {}", path);
  const std::string clip = fileName(withoutExtension(path));
  const std::string cardFolder = parentFolder(parentFolder(path));
  debugFormat("dateCreation2iMovieN- 2: {}", cardFolder);
  std::string name;
  if (holdsPlaylists(cardFolder)) {
    debugFormat("dateCreation2iMovieN- a : {}", cardFolder);
    const std::string output = timeStampsOfCard(cardFolder);
    const auto lines = splitLines(output);
    debugFormat("dateCreation2iMovieN- linesA : {}",
                joinTexts(Arguments(lines.begin(), lines.end()), ", "));
    name = clipNameOfTimeStamps(output, clip);
  } else if (const auto date = fileCreationDate(path)) {
    if (debugMode())
      logLine("dateCreation2iMovieN- 2");
    name = clipNameOfDate(dateDescription(*date), clip);
    if (verboseLevel(2))
      userAlerts().show({.message = "dstPathNameStr :", .informative = name});
  }
  if (name.empty())
    name = fileName(path);
  debugFormat("dstPathNameStr = {}", name);
  return name;
}

}  // namespace tessarin
