#include "core/startUp.h"

#include <fmt/format.h>

#include <cstdlib>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/codecListing.h"
#include "ffmpeg/installedFfmpeg.h"
#include "platform/Bundle.h"
#include "platform/Descriptor.h"
#include "platform/SystemFacts.h"
#include "prefs/utilsAlert.h"
#include "process/logs.h"
#include "process/toolEnvironment.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::string bundleText(const char* key) {
  const Value* value = Bundle::main().objectForInfoDictionaryKey(key);
  return value ? value->text().value_or("") : "";
}

std::string processorFamily() {
  const std::string machine = machineName();
  return machine.empty() ? "?" : machine == "x86_64" || endsWith(machine, "86") ? "Intel" : machine;
}

}  // namespace

Alert alreadyRunningAlert() {
  return {localisationString("D_appAlreadyOpened_1", "", Bundle::main().name()),
          localisationString("D_appAlreadyOpened_2"),
          {},
          "",
          Alert::Style::information};
}

std::optional<Alert> installPathRefusal() {
  const std::string& path = Bundle::main().resourcePath();
  if (!contains(path, "\\")) {
    logLine("no backslash in path:-)");
    return std::nullopt;
  }
  logFormat("QRV's path contains character '\\' :-( {}", path);
  return Alert{localisationString("D_appAlreadyOpened_3"),
               localisationString("D_QRpref_ouvert_2"),
               {},
               "",
               Alert::Style::critical};
}

std::optional<std::string> systemProblem() {
  // A chain of tools, the batch and the log at the same time need some forty.
  constexpr std::uint64_t neededFiles = 64;
  const std::uint64_t files = allowOpenFiles(neededFiles);
  if (!hasLocalization("D_Langue") || programVersion().empty())
    return fmt::format("the files of the program in {} cannot be read; install it anew",
                       Bundle::main().resourcePath());
  if (files >= neededFiles)
    return std::nullopt;
  return localisationString("D_fewFiles", "", fmt::format("{}", files),
                            fmt::format("{}", neededFiles));
}

std::string programVersion() {
  return bundleText("CFBundleShortVersionString");
}

std::optional<std::string> chooseFfmpeg(const std::string& setting) {
  if (!setting.empty())
    ::setenv(ffmpegVariable, setting.c_str(), 0);
  const FfmpegSearch search = ffmpegSearchOfEnvironment(Bundle::main().toolPath("ffmpeg"));
  const auto ffmpeg = findFfmpeg(search);
  if (ffmpeg)
    return std::nullopt;
  logLine(ffmpeg.reason());
  return search.setting.empty() ? localisationString("D_noFfmpeg", "", ffmpegVariable)
                                : localisationString("D_ffmpegSetting", "", search.setting);
}

void rotateLogs() {
  const std::string details = detailLogPath();
  mkdir(parentFolder(details));
  for (const std::string& log : {resumeLogPath(), details})
    if (pathExists(log))
      moveFile(log, joinPath(parentFolder(log), "Previous-" + fileName(log)), "y");
  resumeLogAppend(std::nullopt);
}

void prepareTools() {
  setWorkFolderPath(joinPath(temporaryFolder(), Bundle::main().name()));
  if (const auto made = prepareWorkFolder(Bundle::main()); !made) {
    logFormat("work folder         :-( {}", made.reason());
    setWorkFolderPath(std::nullopt);  // the default
  }
}

std::string environmentFacts() {
  return fmt::format("{} {} ({})\n{}, Linux {}, {}\nffmpeg {}\n{}\n", Bundle::main().name(),
                     programVersion(), bundleText("CFBundleVersion"), operatingSystemText(),
                     kernelRelease(), processorFamily(), versionOfListing(codecListing()),
                     fmt::format("{} × CPU, {}", processorCount(), Bundle::main().language()));
}

void recordEnvironment() {
  logFormat("TMPFOLDER           : {}", temporaryFolder());
  logFormat("arch                ? {}", processorFamily());
  logFormat("app                 : {} - {} ({}) - {}", Bundle::main().name(), programVersion(),
            bundleText("CFBundleVersion"), Bundle::main().resourcePath());
  operatingSystemVersion();
  mediaFrameworkVersion();
  processorsAndCores();
  displayIsAccelerated();
  isOldProcessor();
  logFormat("QT's user folder    ? {:d}", pathExists("~/Library/QuickTime"));
}

}  // namespace tessarin
