// The analysis of one source, step by step.
#include <filesystem>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/timing.h"
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
#include "utils/files.h"

namespace tessarin {

namespace {

// As long as ffmpeg says something it is at work, however large or damaged the source.
constexpr ToolLimits analysisLimits{{}, std::chrono::minutes(2)};

std::string framePath() {
  return joinPath(temporaryFolder(), "frame.yuv");
}

}  // namespace

void AnalysisQueue::startTask(const Arguments& command, const ToolLimits& limits,
                              Continuation continuation) {
  debugFormat("analysis task       - begin");
  continuation_ = std::move(continuation);
  TaskStart start;
  start.commands = {command};
  start.isOther = true;
  start.limits = limits;
  start.stopBt = &interface_.analysisStopBt;
  if (tasks_.tasklauncherStart(std::move(start)))
    return;
  services_.loop.cancel(next_);
  next_ = services_.loop.runSoon([this] {
    next_ = 0;
    taskEnded({true, taskLauncher::abortedStatus, false, {}});
  });
}

void AnalysisQueue::taskEnded(const TaskEnd& end) {
  const Continuation next = std::exchange(continuation_, nullptr);
  if (!next || stopAsked_) {
    analysis();
    return;
  }
  ToolResult result{end.isOverdue, end.status, {}};
  if (auto output = std::exchange(tasks_.analysisTaskVerboseMStr(), std::nullopt))
    result.output = *std::move(output);
  next(std::move(result));
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
  if (isReportOverdue_)
    refuse(localisationString("why_toolHangs"));
  else
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
  isReportOverdue_ = false;
  startTask(command, analysisLimits, [this](ToolResult result) {
    isReportOverdue_ = result.isOverdue;
    tasks_.analysisTaskVerboseMStr() = std::move(result.output);
    analysis();
  });
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
  if (!mayTryForcedFormat()) {
    judgeReport();
    return;
  }
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  startTask(fileKindCommand(path), quickQuestion, [this](ToolResult result) {
    const auto kind = reportOf(std::move(result));
    const auto format = formatOfKind(kind, *retainedReport_);
    if (!format) {
      judgeReport();
      return;
    }
    services_.preferences.prefWrite(StateKey::forcedFormat, *format);
    steps_.set("analysisFfmpeg");
    again();
  });
}

// Whether the source may be analysed once more as what its bytes look like. Only one whose format
// ffmpeg could not tell: a damaged file of a known format is told as such.
bool AnalysisQueue::mayTryForcedFormat() const {
  return services_.preferences.prefReadString(StateKey::forcedFormat).empty() && retainedReport_ &&
         !isReportOverdue_ && !describesInput(*retainedReport_) &&
         !contains(wordsOfTool(*retainedReport_), " probed with size=");
}

void AnalysisQueue::judgeReport() {
  if (!isReportOverdue_ && retainedReport_ && isFfmpegSuccess(wordsOfTool(*retainedReport_))) {
    steps_.set("analysisDico");
  } else {
    logLine("Src not readable-ff :-( analysis failure");
    refuseForReport();
    steps_.set("analysisFin");
  }
  again();
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
    startTask({Bundle::main().toolPath("mediainfo"), "-f", copy}, quickQuestion, nullptr);
}

void AnalysisQueue::stepMediaInfoParse() {
  if (const auto output = takeOutput("analysisMediaInfoParse"))
    logLine(*output);
  steps_.set("analysisDico");
  again();
}

void AnalysisQueue::stepDico() {
  debugFormat("analysisDico        - begin");
  if (readFieldsOfFrames())
    describeSource();
  else
    startTask(idetCommand(framePath()), quickQuestion, [this](const ToolResult& result) {
      weighFields(result);
      describeSource();
    });
}

// Takes the field order from the frames that the analysis wrote. False when their pictures have to
// be asked, too.
bool AnalysisQueue::readFieldsOfFrames() {
  fields_.reset();
  fieldsClaim_.reset();
  const auto start = readFileStart(framePath(), 100);
  if (!start)
    return true;
  const std::string_view header = textUpTo(*start, "\n");
  if (verboseLevel(1))
    debugFormat("yuv headers         : {}", header);
  fields_ = fieldOrderKeyOfHeader(header);
  // Bottom first is DV's order. Elsewhere it is rare and often a mistake of the program that wrote
  // the stream, which would show as jerky motion; the pictures tell.
  return fields_ != "BFF" || contains(retainedReport_.value_or(""), "Video: dvvideo");
}

void AnalysisQueue::weighFields(const ToolResult& idet) {
  const auto counts = idet.isOverdue ? std::nullopt : idetCounts(idet.output);
  if (counts && counts->top >= 3 && counts->bottom == 0)
    fieldsClaim_ = std::exchange(fields_, "TFF");
}

void AnalysisQueue::describeSource() {
  removeFile(framePath());
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  std::optional<std::string> interlacing;
  if (fields_)
    interlacing = fieldsText(*fields_);
  logFormat("interlacingStr      : '{}'", interlacing.value_or("nil"));

  auto info = analysisFf(retainedReport_, interlacing, "");
  if (!info) {
    logFormat("src analyzed        : {}", path);
    logFormat("NON-COMPLIANT FILE  : {}", path);
    refuseForReport();
    steps_.set("analysisFin");
    again();
    return;
  }
  if (!needsKeyFrameRun(*retainedReport_, *info)) {
    completeRecord(*std::move(info));
    return;
  }
  startTask(firstKeyFrameCommand(path), quickQuestion,
            [this, known = *std::move(info)](const ToolResult& result) {
              SourceInfo complete = known;
              const double seconds = firstKeyFrameOfShowinfo(result.output).value_or(0);
              debugFormat("intraOffset         : {:.3f}", seconds);
              addFirstKeyFrame(seconds, complete);
              completeRecord(std::move(complete));
            });
}

void AnalysisQueue::completeRecord(SourceInfo info) {
  logFormat("src analyzed        : {}", services_.preferences.prefReadString(StateKey::analysed));
  if (debugMode())
    debugFormat("md                  : {}", info.description());
  if (fields_ && !info.contains(SourceKey::v0Fields))
    info.set(SourceKey::v0Fields, fieldsText(*fields_));
  if (fieldsClaim_)
    info.set(SourceKey::v0FieldsClaim, *fieldsClaim_);
  const std::string format = services_.preferences.prefReadString(StateKey::forcedFormat);
  if (!format.empty())
    info.set(SourceKey::wForce, format);
  startThumbnail(info);
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
  startTask(thumbnailCommand(info, path, image, !isMov), quickQuestion,
            [this, image](const ToolResult& result) {
              if (result.isOverdue)
                removeFile(image);
              analysis();
            });
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
    completeThumbnail(std::move(*info));
  } else {
    endSource();
  }
}

void AnalysisQueue::endSource() {
  PreferenceStore& store = services_.preferences;
  const std::string path = store.prefReadString(StateKey::analysed);
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

// Makes the row, with the thumbnail where there is one; it is tried once more with any picture.
void AnalysisQueue::completeThumbnail(SourceInfo info) {
  const std::string image = services_.preferences.prefReadString(StateKey::image);
  const auto finish = [this, image](SourceInfo complete) {
    if (!image.empty() && pathExists(image))
      complete.set(RowInfoKey::imgPathStr, image);
    appendRow(std::move(complete));
    endSource();
  };
  if (image.empty() || pathExists(image)) {
    finish(std::move(info));
    return;
  }
  const Arguments command =
      thumbnailCommand(info, info.textOrEmpty(RowInfoKey::srcPathStr), image, false);
  startTask(command, quickQuestion,
            [image, finish, known = std::move(info)](const ToolResult& result) {
              SourceInfo complete = known;
              if (result.isOverdue)
                removeFile(image);
              else if (pathExists(image))
                complete.set(RowInfoKey::intraFailure, 1);
              finish(std::move(complete));
            });
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
