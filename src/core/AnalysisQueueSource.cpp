// The analysis of one source, step by step.
#include <filesystem>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "classShared/log.h"
#include "core/AnalysisQueue.h"
#include "core/admittedSources.h"
#include "core/failureReason.h"
#include "core/newRow.h"
#include "core/stepState.h"
#include "encoding/outputPreset.h"
#include "ffmpeg/reportText.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

std::string framePath() {
  return joinPath(temporaryFolder(), "frame.yuv");
}

}  // namespace

void AnalysisQueue::startTask(const Arguments& command) {
  debugFormat("analysis task       - begin");
  TaskStart start;
  start.commands = {command};
  start.isOther = true;
  start.stopBt = &interface_.analysisStopBt;
  if (!tasks_.tasklauncherStart(std::move(start)))
    again();
}

// What the task of this step printed; nothing, with a line in the log, when it printed nothing.
std::optional<std::string> AnalysisQueue::takeOutput(const char* step) {
  const auto output = std::exchange(tasks_.analysisTaskVerboseMStr(), std::nullopt);
  if (!output) {
    logFormat("analysisTaskVerboseM:-( nil ({})", step);
    return std::nullopt;
  }
  if (output->empty() || *output == " ") {
    logFormat("analysisTaskVerboseM:-( no useable info ({})", step);
    return std::nullopt;
  }
  return withoutPath(*output, services_.preferences.prefReadString(StateKey::analysed));
}

void AnalysisQueue::refuse(const std::string& reason) {
  refused.emit(services_.preferences.prefReadString(StateKey::analysed), reason);
}

void AnalysisQueue::refuseForReport() {
  refuse(failureReason(wordsOfTool(retainedReport_.value_or("")),
                       services_.preferences.prefReadString(StateKey::analysed)));
}

void AnalysisQueue::stepFfmpeg() {
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  // A frame left by the source before would give this one its field order.
  if (!temporaryFolder().empty())
    removeFile(framePath());
  auto problem = problemOfSource(path);
  if (!problem && temporaryFolder().empty())
    problem = localisationString("why_noTemporaryFolder");
  if (problem) {
    refuse(*problem);
    steps_.set("analysisFin");
    again();
    return;
  }
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "debug", "-fdebug", "ts"};
  const std::string format = services_.preferences.prefReadString(StateKey::forcedFormat);
  if (!format.empty())
    command.insert(command.end(), {"-f", format});
  command.insert(command.end(), {"-i", path, "-vframes", "10", "-pix_fmt", "yuv420p", "-an", "-f",
                                 "yuv4mpegpipe", "-y", framePath()});
  steps_.set("analysisFfmpegParse");
  startTask(command);
}

void AnalysisQueue::stepFfmpegResult() {
  retainedReport_ = takeOutput("analysisFfmpegResult");
  if (retainedReport_)
    isFfmpegSuccess(wordsOfTool(*retainedReport_));
  debugFormat("->analysisFfmpegParse");
  steps_.set("analysisFfmpegParse");
  again();
}

void AnalysisQueue::stepFfmpegParse() {
  if (auto output = takeOutput("analysisFfmpegParse")) {
    debugFormat("analysisRetainedStr release 1");
    retainedReport_ = std::move(output);
    debugFormat("release (ffmpeg3)");
  }
  if (triesForcedFormat()) {
    steps_.set("analysisFfmpeg");
  } else if (retainedReport_ && isFfmpegSuccess(wordsOfTool(*retainedReport_))) {
    steps_.set("analysisDico");
  } else {
    logLine("Src not readable-ff :-( analysis failure");
    refuseForReport();
    steps_.set("analysisFin");
  }
  again();
}

// Whether the source is to be analysed once more as what its bytes look like. Only one whose format
// ffmpeg could not tell: a damaged file of a known format is told as such.
bool AnalysisQueue::triesForcedFormat() {
  PreferenceStore& store = services_.preferences;
  if (!store.prefReadString(StateKey::forcedFormat).empty() || !retainedReport_ ||
      describesInput(*retainedReport_) ||
      contains(wordsOfTool(*retainedReport_), " probed with size="))
    return false;
  const auto format = forceFormat(store.prefReadString(StateKey::analysed), *retainedReport_);
  if (format)
    store.prefWrite(StateKey::forcedFormat, *format);
  return format.has_value();
}

void AnalysisQueue::stepMediaInfo() {
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  const std::string copy =
      withExtension(joinPath(temporaryFolder(), "mediainfoTmp"), pathExtension(path));
  mediaInfoSteps_.set("analysisMediaInfoParse");
  std::error_code failed;
  std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing, failed);
  if (failed)
    again();
  else
    startTask({Bundle::main().toolPath("mediainfo"), "-f", copy});
}

void AnalysisQueue::stepMediaInfoParse() {
  if (const auto output = takeOutput("analysisMediaInfoParse"))
    logLine(*output);
  steps_.set("analysisDico");
  again();
}

void AnalysisQueue::stepDico() {
  debugFormat("analysisDico        - begin");
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  measureFields();
  std::optional<std::string> interlacing;
  if (fields_)
    interlacing = fieldsText(*fields_);
  logFormat("interlacingStr      : '{}'", interlacing.value_or("nil"));

  auto info = analysisFf(retainedReport_, interlacing, path);
  logFormat("src analyzed        : {}", path);
  if (debugMode())
    debugFormat("md                  : {}", info ? info->description() : "nil");
  if (!info) {
    logFormat("NON-COMPLIANT FILE  : {}", path);
    refuseForReport();
    steps_.set("analysisFin");
    again();
    return;
  }
  if (interlacing && !info->contains(SourceKey::v0Fields))
    info->set(SourceKey::v0Fields, *interlacing);
  if (fieldsClaim_)
    info->set(SourceKey::v0FieldsClaim, *fieldsClaim_);
  const std::string format = services_.preferences.prefReadString(StateKey::forcedFormat);
  if (!format.empty())
    info->set(SourceKey::wForce, format);
  startThumbnail(*info);
}

// Takes the field order from the frames that the analysis wrote, and removes them.
void AnalysisQueue::measureFields() {
  fields_.reset();
  fieldsClaim_.reset();
  const auto start = readFileStart(framePath(), 100);
  if (!start)
    return;
  const std::string_view header = textUpTo(*start, "\n");
  if (verboseLevel(1))
    debugFormat("yuv headers         : {}", header);
  fields_ = fieldOrderKeyOfHeader(header);
  // Bottom first is DV's order. Elsewhere it is rare and often a mistake of the program that wrote
  // the stream, which would show as jerky motion; the pictures tell.
  const bool isDv = contains(retainedReport_.value_or(""), "Video: dvvideo");
  if (fields_ == "BFF" && !isDv) {
    const auto counts = idetCountsOfFile(framePath());
    if (counts && counts->top >= 3 && counts->bottom == 0)
      fieldsClaim_ = std::exchange(fields_, "TFF");
  }
  removeFile(framePath());
}

void AnalysisQueue::startThumbnail(SourceInfo& info) {
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  steps_.set("analysisFin");
  const bool hasPicture = info.contains(SourceKey::v0Width);
  const bool isMov = hasPathExtension(path, "mov");
  if (isMov)
    info.set(RowInfoKey::intraFailure, 1);
  services_.preferences.prefWrite(StateKey::record, info);
  if (!hasPicture) {
    again();
    return;
  }
  const std::string image = thumbnailPath(temporaryFolder(), path);
  services_.preferences.prefWrite(StateKey::image, image);
  startTask(thumbnailCommand(info, path, image, !isMov));
}

void AnalysisQueue::stepFin() {
  debugFormat("analysisFin - begin");
  PreferenceStore& store = services_.preferences;
  tasks_.analysisTaskVerboseMStr().reset();
  debugFormat("analysisRetainedStr release 3");
  retainedReport_.reset();
  std::optional<SourceInfo> info;
  if (const Value* record = store.prefRead(StateKey::record); record && record->dico())
    info = *record->dico();
  store.prefRemove(StateKey::record);
  if (debugMode())
    debugFormat("previousMd : {}", info ? info->description() : "nil");
  const std::string path = store.prefReadString(StateKey::analysed);
  if (info && path != cancelled) {
    debugFormat("stocker…            : {}", path);
    info->set(RowInfoKey::srcPathStr, path);
    completeThumbnail(*info);
    appendRow(std::move(*info));
  }
  store.prefRemove(StateKey::image);
  store.prefRemove(StateKey::forcedFormat);

  store.prefRemove(StateKey::analysed);
  const bool isMore = !waiting_.empty() && path != cancelled && !stopAsked_;
  if (!isMore) {
    finalEnd();
    return;
  }
  logLine("analysis            - end of current src");
  steps_.removeAllButLast();
  steps_.set("analysisDeb");
  steps_.set("analysisFin");
  again();
}

void AnalysisQueue::completeThumbnail(SourceInfo& info) {
  const std::string image = services_.preferences.prefReadString(StateKey::image);
  if (image.empty())
    return;
  if (!pathExists(image)) {
    taskArrayPipes(thumbnailCommand(info, info.textOrEmpty(RowInfoKey::srcPathStr), image, false));
    if (!pathExists(image))
      return;
    info.set(RowInfoKey::intraFailure, 1);
  }
  info.set(RowInfoKey::imgPathStr, image);
}

void AnalysisQueue::appendRow(SourceInfo info) {
  info.set(RowInfoKey::prefSurrond, interface_.surround.isChecked() ? 1 : 0);
  RowChoices choices;
  choices.out = interface_.editingSoft.selected();
  choices.speed = interface_.easy.selected() == 1 ? speedKeep : interface_.speed.selected();
  choices.sizeOut = interface_.sizeOut.selected();
  const std::string path = info.textOrEmpty(RowInfoKey::srcPathStr);
  Dico row = newRow(info, path, choices);
  if (choices.sizeOut <= rowSameAsSource) {
    const int soft = choices.sizeOut == rowSameAsSource ? softNone : choices.out;
    row.set(BatchKey::sizeOut, presetAutoComputedFromSrc(row, soft));
  }
  if (debugMode())
    debugFormat("md                  : {}", row.description());
  const int index = table_.append(std::move(row));
  table_.iba_outSpeedCell(index);
  rowReady.emit(index);
  interface_.batchDrawer.setShown(true);
}

}  // namespace tessarin
