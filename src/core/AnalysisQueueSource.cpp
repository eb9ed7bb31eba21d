// The analysis of one source, step by step.
#include <filesystem>
#include <fstream>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/timing.h"
#include "classShared/log.h"
#include "core/AnalysisQueue.h"
#include "core/admittedSources.h"
#include "core/failureReason.h"
#include "core/newRow.h"
#include "core/stepState.h"
#include "core/storedRow.h"
#include "core/thumbnail.h"
#include "encoding/outputPreset.h"
#include "encoding/recordingDate.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/runTroubles.h"
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
  const auto started = tasks_.tasklauncherStart(std::move(start));
  whyNotStarted_ = started ? "" : started.reason();
  if (started)
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
  if (!whyNotStarted_.empty())
    refuse(whyNotStarted_);
  else if (isReportOverdue_)
    refuse(localisationString("why_toolHangs"));
  else if (!examination().readError().empty())
    refuse(localisationString("why_readError", "", examination().readError()));
  else if (examination().isStillOrText())
    refuse(localisationString("why_noMovie"));
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
  steps_.set("analysisFfmpegParse");
  isReportOverdue_ = false;
  startTask(examination().nextCommand().value_or(Arguments()), analysisLimits,
            [this](ToolResult result) {
              isReportOverdue_ = result.isOverdue;
              tasks_.analysisTaskVerboseMStr() = std::move(result.output);
              analysis();
            });
}

SourceExamination& AnalysisQueue::examination() {
  if (!examination_) {
    const std::string path = services_.preferences.prefReadString(StateKey::analysed);
    std::error_code failed;
    const auto size = std::filesystem::file_size(path, failed);
    examination_.emplace(path, failed ? 0 : static_cast<std::int64_t>(size), framePath());
    examination_->setFormat(services_.preferences.prefReadString(StateKey::forcedFormat));
  }
  return *examination_;
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
  auto pictures = readFramePictures(framePath());
  keepFirstPicture(pictures);
  examination().take(std::exchange(retainedReport_, std::nullopt).value_or(""), pictures);
  removeFile(framePath());
  retainedReport_ = examination().report();
  if (!isReportOverdue_ && examination().nextCommand()) {
    steps_.set("analysisFfmpeg");
    again();
    return;
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
    examination().setFormat(*format);
    steps_.set("analysisFfmpeg");
    again();
  });
}

// Whether the source may be analysed once more as what its bytes look like. Only one whose format
// ffmpeg could not tell: a damaged file of a known format is told as such.
bool AnalysisQueue::mayTryForcedFormat() const {
  return services_.preferences.prefReadString(StateKey::forcedFormat).empty() && retainedReport_ &&
         whyNotStarted_.empty() && !isReportOverdue_ && !describesInput(*retainedReport_) &&
         !contains(wordsOfTool(*retainedReport_), " probed with size=");
}

void AnalysisQueue::judgeReport() {
  // Pictures outweigh complaints, which may be about a stream that nobody needs. Where there can be
  // none, as in a song, the words alone decide; the conversion then says what is missing.
  const bool saysWell = isFfmpegSuccess(wordsOfTool(retainedReport_.value_or("")));
  const bool isRead = examination().readError().empty();
  if (isRead && (examination().isSource() ||
                 (!isReportOverdue_ && saysWell && examination().hasOnlySound()))) {
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
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  std::optional<Fields> interlacing;
  if (const auto order = examination().fields())
    interlacing = order->fields;
  logFormat("interlacingStr      : '{}'",
            interlacing ? fieldsText(fieldsKey(*interlacing)) : "nil");

  auto info = analysisFf(retainedReport_, interlacing, "");
  if (!info) {
    logFormat("src analyzed        : {}", path);
    logFormat("NON-COMPLIANT FILE  : {}", path);
    refuseForReport();
    steps_.set("analysisFin");
    again();
    return;
  }
  examination().complete(*info);
  if (!needsKeyFrameRun(*retainedReport_, *info)) {
    completeRecord(*std::move(info));
    return;
  }
  const Arguments command = firstKeyFrameCommand(path, *info);
  startTask(command, quickQuestion,
            [this, path, known = *std::move(info)](const ToolResult& result) {
              SourceInfo complete = known;
              const std::string report = withoutPath(result.output, path);
              if (const auto error = readErrorOf(report); !error.empty()) {
                refuse(localisationString("why_readError", "", error));
                steps_.set("analysisFin");
                again();
                return;
              }
              const double seconds = firstKeyFrameOfShowinfo(report).value_or(0);
              debugFormat("intraOffset         : {:.3f}", seconds);
              addFirstKeyFrame(seconds, complete);
              completeRecord(std::move(complete));
            });
}

void AnalysisQueue::completeRecord(SourceInfo info) {
  logFormat("src analyzed        : {}", services_.preferences.prefReadString(StateKey::analysed));
  if (debugMode())
    debugFormat("md                  : {}", info.description());
  const auto order = examination().fields();
  if (order && !info.contains(SourceKey::v0Fields))
    info.set(SourceKey::v0Fields, fieldsKey(order->fields));
  askRecordingTime(std::move(info));
}

void AnalysisQueue::askRecordingTime(SourceInfo info) {
  const std::string path = services_.preferences.prefReadString(StateKey::analysed);
  ToolLimits limits = quickQuestion;
  limits.keepsErrors = false;
  startTask(recordingTimeCommand(path), limits,
            [this, path, known = std::move(info)](const ToolResult& result) {
              SourceInfo complete = known;
              addRecordingTime(result.isOverdue ? "" : result.output, path, complete);
              startThumbnail(complete);
            });
}

// Takes the first of the pictures that the describing run decoded, where it is the one that the
// thumbnail of a short source shows: any of a movie, the first key frame of others.
void AnalysisQueue::keepFirstPicture(std::optional<FramePictures>& pictures) {
  if (!pictures)
    return;
  std::vector<std::uint8_t> planes = std::exchange(pictures->first, {});
  const auto isKeyFrame = beginsWithKeyFrame(retainedReport_.value_or(""));
  if (!isKeyFrame)
    return;  // of another run
  const bool isMov =
      hasPathExtension(services_.preferences.prefReadString(StateKey::analysed), "mov");
  firstPicture_.reset();
  if (pictures->whole == 0 || (!*isKeyFrame && !isMov))
    return;
  firstPicture_ = pictures;
  firstPicture_->first = std::move(planes);
}

// Whether the thumbnail could be made of the picture that is there.
bool AnalysisQueue::writeThumbnail(const SourceInfo& info, const std::string& image) const {
  constexpr int width = 160;
  if (!firstPicture_ || thumbnailSeekPoint(info) != "0")
    return false;
  const std::string jpeg = jpegOf(firstPicture_->first, firstPicture_->width, firstPicture_->height,
                                  width, thumbnailHeight(info));
  if (jpeg.empty())
    return false;
  std::ofstream file(image, std::ios::binary);
  file << jpeg;
  file.close();
  if (file)
    return true;
  removeFile(image);
  return false;
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
  if (writeThumbnail(info, image)) {
    again();
    return;
  }
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
  examination_.reset();
  firstPicture_.reset();
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
  const int segment = interface_.editingSoft.selected();
  const int size = interface_.sizeOut.selected();
  Row row =
      newRow(std::move(info), {applicationTable[static_cast<std::size_t>(segment)].firstTarget,
                               size, interface_.chosenSpeed()});
  if (size <= rowSameAsSource)
    row.choice.sizeOut = presetAutoComputedFromSrc(
        row, size == rowSameAsSource ? Application::any : interface_.application());
  if (debugMode())
    debugFormat("md                  : {}", recordOfRow(row).description());
  const int index = table_.append(std::move(row));
  table_.iba_outSpeedCell(index);
  rowReady.emit(index);
  interface_.batchDrawer.setShown(true);
}

}  // namespace tessarin
