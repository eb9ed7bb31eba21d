#include "jobs/AnalysisJob.h"

#include <fmt/format.h>

#include <fstream>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "classShared/log.h"
#include "encoding/recordingDate.h"
#include "ffmpeg/ffmpegSuccess.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/runTroubles.h"
#include "jobs/admittedSources.h"
#include "jobs/failureReason.h"
#include "jobs/newRow.h"
#include "jobs/soundFiles.h"
#include "jobs/thumbnail.h"
#include "platform/fileFacts.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

// As long as ffmpeg says something it is at work, however large or damaged the source.
constexpr ToolLimits analysisLimits{{}, std::chrono::minutes(2)};

std::string framePath(int lane) {
  return joinPath(temporaryFolder(), lane == 0 ? "frame.yuv" : fmt::format("frame{}.yuv", lane));
}

std::int64_t sizeOf(const std::string& path) {
  const auto state = sourceState(path);
  return state ? state->size : 0;
}

}  // namespace

AnalysisJob::AnalysisJob(RunLoop& loop, bool asksDiskFirst, std::string path,
                         std::vector<Source::SoundFile> sounds, int lane,
                         std::function<void(Finding)> ended,
                         std::function<void(const AnalysisJob&)> changed)
    : loop_(loop),
      path_(std::move(path)),
      sounds_(std::move(sounds)),
      lane_(lane),
      framePath_(framePath(lane)),
      ended_(std::move(ended)),
      changed_(std::move(changed)),
      examination_(path_, sizeOf(path_), framePath_),
      tool_(loop),
      // The other steps only read what tools have left in the temporary folder.
      next_(loop, [this, asksDiskFirst] {
        return asksDiskFirst && step_ == Step::askForReport ? std::vector{path_}
                                                            : std::vector<std::string>();
      }) {}

void AnalysisJob::abandon() {
  next_.clear();
  tool_.cancel();
}

// ---- The machine

void AnalysisJob::go(Step step) {
  step_ = step;
  changed_(*this);
  next_.set([this] { perform(); });
}

void AnalysisJob::perform() {
  debugFormat("analysis            - start of step");
  switch (step_) {
    case Step::askForReport:
      return askForReport();
    case Step::readReport:
      return readReport();
    case Step::makeRecord:
      return makeRecord();
    case Step::askForTime:
      return askForTime();
    case Step::makeThumbnail:
      return makeThumbnail();
    case Step::end:
      return end();
  }
}

void AnalysisJob::run(const Arguments& command, const ToolLimits& limits,
                      Continuation continuation) {
  debugFormat("analysis task       - begin");
  const std::string program = command.empty() ? std::string() : command.front();
  if (command.empty())
    debugFormat("analysis no arg     :-( nil || empty");
  debugFormat("analysisTaskVerboseM:-) alloc");
  debugFormat("alloc class         : taskOther ({})", program);
  const Outcome<void> started =
      tool_.start(command, limits, [program, continuation](ToolResult result) {
        logTaskEnd(program, result.status);
        logFormat("tlDone              : {} (isAnalysis=1)", program);
        continuation(std::move(result));
      });
  logFormat("#3 failureInt={} ({})",
            static_cast<int>(started ? taskLauncher::launched : taskLauncher::programNotFound),
            program);
  debugFormat("tLEncStart - end    : Converting next step/file");
  debugFormat("analysis            - end of step (post task || self)");
  whyNotStarted_ = started ? "" : tessarin::whyNotStarted(program, started.reason());
  if (!started)
    next_.set([continuation = std::move(continuation)] {
      continuation({false, taskLauncher::abortedStatus, {}});
    });
}

// ---- The report

std::string AnalysisJob::whyNotAnalysed() const {
  const std::string reason = failureReason(wordsOfTool(examination_.report()), path_);
  // An analysis writes nothing but its pictures.
  return reason == localisationString("why_diskFull") ? localisationString("why_temporaryFull")
                                                      : reason;
}

void AnalysisJob::askForReport() {
  debugFormat("analysisDeb         - begin");
  // A frame left by the source before would give this one its field order.
  if (!temporaryFolder().empty())
    removeFile(framePath_);
  auto problem = problemOfSource(path_);
  if (!problem && temporaryFolder().empty())
    problem = localisationString("why_noTemporaryFolder");
  if (problem) {
    refuse(*problem);
    return;
  }
  run(examination_.nextCommand().value_or(Arguments()), analysisLimits,
      [this](const ToolResult& result) {
        isReportOverdue_ = result.isOverdue;
        if (result.output.empty() || result.output == " ")
          logFormat("analysisTaskVerboseM:-( no useable info ({})", "analysisFfmpegParse");
        output_ = withoutPath(result.output, path_);
        debugFormat("->analysisFfmpegParse");
        go(Step::readReport);
      });
}

void AnalysisJob::readReport() {
  if (!frames_)
    frames_.emplace(framePath_);
  if (frames_->readNext()) {
    next_.set([this] { readReport(); });
    return;
  }
  auto pictures = frames_->take();
  frames_.reset();
  keepFirstPicture(pictures);
  debugFormat("analysisRetainedStr release 1");
  examination_.take(std::exchange(output_, {}), pictures);
  debugFormat("release (ffmpeg3)");
  removeFile(framePath_);
  if (!isReportOverdue_ && examination_.nextCommand()) {
    go(Step::askForReport);
    return;
  }
  if (!mayTryForcedFormat()) {
    judgeReport();
    return;
  }
  run(fileKindCommand(path_), quickQuestion, [this](ToolResult result) {
    const auto kind = reportOf(std::move(result));
    const auto format = formatOfKind(kind, examination_.report());
    if (!format) {
      judgeReport();
      return;
    }
    format_ = *format;
    examination_.setFormat(format_);
    go(Step::askForReport);
  });
}

// Whether the source may be analysed once more as what its bytes look like. Only one whose format
// ffmpeg could not tell: a damaged file of a known format is told as such.
bool AnalysisJob::mayTryForcedFormat() const {
  const std::string& report = examination_.report();
  return format_.empty() && whyNotStarted_.empty() && !isReportOverdue_ &&
         !describesInput(report) && !contains(wordsOfTool(report), " probed with size=");
}

void AnalysisJob::judgeReport() {
  // Pictures outweigh complaints, which may be about a stream that nobody needs. Where there can be
  // none, as in a song, the words alone decide; the conversion then says what is missing.
  const bool saysWell = isFfmpegSuccess(wordsOfTool(examination_.report()));
  const bool isRead = examination_.readError().empty();
  if (isRead &&
      (examination_.isSource() || (!isReportOverdue_ && saysWell && examination_.hasOnlySound()))) {
    go(Step::makeRecord);
    return;
  }
  logLine("Src not readable-ff :-( analysis failure");
  refuseForReport();
}

// ---- The record

void AnalysisJob::makeRecord() {
  debugFormat("analysisDico        - begin");
  std::optional<Fields> interlacing;
  if (const auto order = examination_.fields())
    interlacing = order->fields;
  logFormat("interlacingStr      : '{}'", interlacing ? fieldsText(*interlacing) : "nil");
  found_ = analysisFf(examination_.report(), interlacing, "");
  if (!found_) {
    logFormat("src analyzed        : {}", path_);
    logFormat("NON-COMPLIANT FILE  : {}", path_);
    refuseForReport();
    return;
  }
  examination_.complete(*found_);
  if (!needsKeyFrameRun(examination_.report(), *found_)) {
    completeRecord();
    return;
  }
  run(firstKeyFrameCommand(path_, *found_), quickQuestion, [this](const ToolResult& result) {
    const std::string report = withoutPath(result.output, path_);
    if (const auto error = readErrorOf(report); !error.empty()) {
      refuse(localisationString("why_readError", "", error));
      return;
    }
    const double seconds = firstKeyFrameOfShowinfo(report).value_or(0);
    debugFormat("intraOffset         : {:.3f}", seconds);
    addFirstKeyFrame(seconds, *found_);
    completeRecord();
  });
}

void AnalysisJob::completeRecord() {
  logFormat("src analyzed        : {}", path_);
  if (debugMode())
    debugFormat("md                  : {}", recordOfSource(*found_).description());
  if (const auto order = examination_.fields())
    found_->pictures.fields = order->fields;
  if (sounds_.empty())
    go(Step::askForTime);
  else
    describeSounds();
}

void AnalysisJob::describeSounds() {
  run(soundFilesCommand(path_, sounds_), analysisLimits, [this](const ToolResult& result) {
    takeSoundFiles(*found_, sounds_, withoutPath(result.output, path_));
    // What comes now looks at the pictures alone.
    sounds_ = std::exchange(found_->soundFiles, {});
    go(Step::askForTime);
  });
}

void AnalysisJob::askForTime() {
  ToolLimits limits = quickQuestion;
  limits.keepsErrors = false;
  run(recordingTimeCommand(path_), limits, [this](const ToolResult& result) {
    addRecordingTime(result.isOverdue ? "" : result.output, path_, *found_);
    constexpr int noTime = 1;
    if (result.status != 0 && result.status != noTime) {
      logFormat("recording time      :-( {} {}", result.status, whyNotStarted_);
      found_->remarks.push_back({Source::Remark::Kind::timeUnread, 0});
    }
    go(Step::makeThumbnail);
  });
}

// ---- The thumbnail

// Takes the first of the pictures that the describing run decoded, where it is the one that the
// thumbnail of a short source shows: any of a movie, the first key frame of others.
void AnalysisJob::keepFirstPicture(std::optional<FramePictures>& pictures) {
  if (!pictures)
    return;
  std::vector<std::uint8_t> planes = std::exchange(pictures->first, {});
  const auto isKeyFrame = beginsWithKeyFrame(output_);
  if (!isKeyFrame)
    return;  // of another run
  firstPicture_.reset();
  if (pictures->whole == 0 || (!*isKeyFrame && !hasPathExtension(path_, "mov")))
    return;
  firstPicture_ = pictures;
  firstPicture_->first = std::move(planes);
}

// Whether the thumbnail could be made of the picture that is there.
bool AnalysisJob::writeThumbnail() const {
  constexpr int width = 160;
  const Source about = source();
  if (!firstPicture_ || thumbnailSeekPoint(about) != "0")
    return false;
  const std::string jpeg = jpegOf(firstPicture_->first, firstPicture_->width, firstPicture_->height,
                                  width, thumbnailHeight(about));
  if (jpeg.empty())
    return false;
  std::ofstream file(thumbnail_, std::ios::binary);
  file << jpeg;
  file.close();
  if (file)
    return true;
  removeFile(thumbnail_);
  return false;
}

// Of a key frame, which takes longer to find and is whole; else, and of a QuickTime movie at once,
// of any picture.
void AnalysisJob::makeThumbnail() {
  const bool isMov = hasPathExtension(path_, "mov");
  if (isMov)
    found_->hasOddThumbnail = true;
  if (!found_->pictures.width) {
    go(Step::end);
    return;
  }
  thumbnail_ = thumbnailPath(temporaryFolder(), path_, lane_);
  changed_(*this);
  if (writeThumbnail()) {
    go(Step::end);
    return;
  }
  run(thumbnailCommand(source(), thumbnail_, !isMov), quickQuestion,
      [this](const ToolResult& result) {
        if (result.isOverdue)
          removeFile(thumbnail_);
        takeThumbnail();
      });
}

Source AnalysisJob::source() const {
  Source source = *found_;
  source.path = path_;
  return source;
}

void AnalysisJob::takeThumbnail() {
  if (pathExists(thumbnail_)) {
    go(Step::end);
    return;
  }
  run(thumbnailCommand(source(), thumbnail_, false), quickQuestion,
      [this](const ToolResult& result) {
        if (result.isOverdue)
          removeFile(thumbnail_);
        else if (pathExists(thumbnail_))
          found_->hasOddThumbnail = true;
        go(Step::end);
      });
}

// ---- The end

void AnalysisJob::refuse(const std::string& reason) {
  reason_ = reason;
  found_.reset();
  go(Step::end);
}

void AnalysisJob::refuseForReport() {
  if (!whyNotStarted_.empty())
    refuse(whyNotStarted_);
  else if (isReportOverdue_)
    refuse(localisationString("why_toolHangs"));
  else if (!examination_.readError().empty())
    refuse(localisationString("why_readError", "", examination_.readError()));
  else if (examination_.isStillOrText())
    refuse(localisationString("why_noMovie"));
  else
    refuse(whyNotAnalysed());
}

void AnalysisJob::end() {
  debugFormat("analysisFin - begin");
  debugFormat("analysisRetainedStr release 3");
  if (debugMode())
    debugFormat("previousMd : {}", found_ ? recordOfSource(*found_).description() : "nil");
  if (found_) {
    debugFormat("stocker…            : {}", path_);
    found_->path = path_;
    found_->soundFiles = sounds_;
    if (!thumbnail_.empty() && pathExists(thumbnail_))
      found_->thumbnail = thumbnail_;
  }
  ended_({std::move(found_), reason_});
}

}  // namespace tessarin
