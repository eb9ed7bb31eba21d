#include "core/AnalysisQueue.h"

#include <fmt/format.h>

#include <filesystem>
#include <unordered_set>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "classShared/log.h"
#include "core/admittedSources.h"
#include "core/failureReason.h"
#include "core/jobPlan.h"
#include "core/newRow.h"
#include "core/stepState.h"
#include "encoding/outputPreset.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr const char* cancelled = "cancel";

std::string framePath() {
  return joinPath(temporaryFolder(), "frame.yuv");
}

}  // namespace

AnalysisQueue::AnalysisQueue(CoreServices& services, Interface& interface, BatchTable& table,
                             ToolTasks& tasks)
    : services_(services),
      interface_(interface),
      table_(table),
      tasks_(tasks),
      steps_(services.preferences, analysisSteps),
      mediaInfoSteps_(services.preferences, mediaInfoSteps),
      waiting_(services.preferences, services.loop) {
  tasks_.ended.connect([this](const TaskEnd& end) {
    if (end.isAnalysis)
      analysis();
  });
}

AnalysisQueue::~AnalysisQueue() {
  services_.loop.cancel(next_);
}

// ---- Taking sources in

void AnalysisQueue::draggedFiles(const std::vector<std::string>& dropped) {
  logFormat("drag'n'drop         -> draggedFiles : {}", dropped.size());
  if (dropped.empty())
    return;
  debugFormat("getOPENPERM()       ? {:d}", openPermitted_);
  if (openPermitted_)
    takeSources(expandDroppedPaths(dropped, outputFolder(interface_.destination.text())));
}

void AnalysisQueue::takeSources(std::vector<std::string> paths) {
  if (!openPermitted_)
    return;
  showBusy();
  openPermitted_ = false;
  isUnderWay_ = true;
  interface_.batchGoBt.setEnabled(false);
  if (interface_.batchGoBt.state() == 1) {
    encodingSuspended_ = true;
    encodingToSuspend.emit();
    logLine("was in progress     : to suspend");
  }

  debugFormat("already stored files= {}…", table_.count());
  paths = freshOf(paths);
  const bool hadCandidates = !paths.empty();
  const AdmittedExtensions admitted;
  // Half the number of spellings, four for each extension.
  debugFormat("extensionsAdmisesMA = {} {}", 2 * admitted.count(),
              fmt::join(admitted.spellings(), ", "));
  std::erase_if(paths, [&](const std::string& path) { return !admitted.admits(path); });

  if (paths.empty()) {
    logLine("no compatible file (or no new files ;-))");
    if (hadCandidates)
      services_.alerts.show({localisationString("dndNonCompliantFolderFilesTitle"),
                             localisationString("D_go_source3")});
    isUnderWay_ = false;
    showIdle();
    allowStart();
    openPermitted_ = true;
    finished.emit();
    return;
  }
  logFormat("drag'n'drop, final  = {}", paths.size());
  waiting_.assign(paths);
  accepted.emit();
  steps_.set("analysisDeb");
  interface_.analysisStopBt.setHidden(false);
  interface_.analysisStopBt.setEnabled(true);
  analysis();
}

// The paths that are not in the batch yet, each once: those that are there need no second analysis,
// and nobody has to be told. (isStu: those of the batch are analysed again.)
std::vector<std::string> AnalysisQueue::freshOf(const std::vector<std::string>& paths) const {
  std::vector<std::string> fresh;
  std::unordered_set<std::string> known;
  for (std::size_t index = 0; index < paths.size(); ++index) {
    const bool isStored = !isStu_ && table_.rowOfSource(paths[index]) >= 0;
    if (isStored)
      logFormat("doublon             : pas de sur-analyse pour rien ;-) #{}/{} : {}", index + 1,
                paths.size(), paths[index]);
    else if (known.insert(paths[index]).second)
      fresh.push_back(paths[index]);
  }
  return fresh;
}

void AnalysisQueue::showBusy() {
  interface_.dropImage.setImage("dndSdOff");
  interface_.dropCaption.setHidden(true);
  interface_.analysisPanel.setShown(true);
  interface_.analysisWheelProgInd.setTurning(true);
}

void AnalysisQueue::showIdle() {
  interface_.analysisWheelProgInd.setTurning(false);
  interface_.dropImage.setImage("dndSd");
  interface_.dropCaption.setHidden(false);
  interface_.analysisPanel.setShown(false);
  if (encodingSuspended_) {
    encodingSuspended_ = false;
    logLine("was suspended       : to resume");
    encodingToResume.emit();
  }
}

void AnalysisQueue::allowStart() {
  if (table_.count() > 0 && interface_.batchGoBt.state() == 0)
    interface_.batchGoBt.setEnabled(true);
}

void AnalysisQueue::iba_analysisStopBt() {
  if (!isUnderWay_)
    return;
  stopAsked_ = true;
  interface_.analysisStopBt.select(-1);
  interface_.analysisStopBt.setHidden(true);
  interface_.analysisStopBt.setEnabled(false);
  tasks_.taskLauncherDone(true);
}

std::vector<std::string> AnalysisQueue::sourcesWithoutRow() const {
  std::vector<std::string> paths;
  const std::string current = services_.preferences.prefReadString(StateKey::analysed);
  if (!current.empty() && current != cancelled)
    paths.push_back(current);
  paths.insert(paths.end(), waiting_.paths().begin(), waiting_.paths().end());
  return paths;
}

bool AnalysisQueue::hasSourcesWithoutRow() const {
  const std::string current = services_.preferences.prefReadString(StateKey::analysed);
  return !waiting_.empty() || (!current.empty() && current != cancelled);
}

// ---- One step

void AnalysisQueue::again() {
  services_.loop.cancel(next_);
  next_ = services_.loop.runSoon([this] {
    next_ = 0;
    analysis();
  });
}

void AnalysisQueue::analysis() {
  debugFormat("analysis            - start of step");
  if (stopAsked_) {
    logLine("analysis stop       = 1");
    waiting_.clear();
    services_.preferences.prefWrite(StateKey::analysed, cancelled);
    steps_.removeAllButLast();
    steps_.set("analysisFin");
  }
  takeNextSource();
  showCaption();

  if (steps_.take("analysisDeb")) {
    debugFormat("analysisDeb         - begin");
    steps_.set("analysisFfmpeg");
  }
  if (steps_.take("analysisFfmpeg")) {
    stepFfmpeg();
  } else if (steps_.take("analysisFfmpegResult")) {
    stepFfmpegResult();
  } else if (steps_.take("analysisFfmpegParse")) {
    stepFfmpegParse();
  } else if (mediaInfoSteps_.take("analysisMediaInfo")) {
    stepMediaInfo();
  } else if (mediaInfoSteps_.take("analysisMediaInfoParse")) {
    stepMediaInfoParse();
  } else if (steps_.take("analysisDico")) {
    stepDico();
  } else if (steps_.take("analysisFin")) {
    stepFin();
  } else {
    debugFormat("analysis no arg     :-( nil || empty");
    steps_.removeAllButLast();
    steps_.set("analysisFin");
    debugFormat("[self analysis]");
    again();
  }
  debugFormat("analysis            - end of step (post task || self)");
}

void AnalysisQueue::takeNextSource() {
  PreferenceStore& store = services_.preferences;
  const std::string current = store.prefReadString(StateKey::analysed);
  if (waiting_.empty() || (!current.empty() && current != waiting_.paths().front()))
    return;
  const std::string next = waiting_.takeFirst();
  logFormat("analysis new file   : {}", next);
  logFormat("srcsMDico           ? new current src: '{}' (remaining={}, next: '{}')", next,
            waiting_.size(), waiting_.empty() ? "none/end" : waiting_.paths().front());
  if (verboseLevel(2))
    debugFormat("reliquat = {}", waiting_.size());
  store.prefWrite(StateKey::analysed, next);
}

void AnalysisQueue::showCaption() {
  // The last source counts as one that waits: so the caption of the first of three is "0/2" and
  // that of the last "1/2".
  const std::size_t waiting = waiting_.empty() ? 1 : waiting_.size();
  const std::string caption = interface_.analysisCaptionStr.text();
  const auto shown = textAfter(caption, "/");
  const std::int64_t total = shown ? leadingInteger(*shown) : static_cast<std::int64_t>(waiting);
  interface_.analysisCaptionStr.setText(
      fmt::format("{}/{}", total - static_cast<std::int64_t>(waiting), total));
  debugFormat("analysisCaptionStr  : {}", interface_.analysisCaptionStr.text());
  debugFormat("batch, c'est parti  : '{}'",
              services_.preferences.prefReadString(StateKey::analysed));
}

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
  refuse(failureReason(retainedReport_.value_or(""),
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
    isFfmpegSuccess(*retainedReport_);
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
  } else if (retainedReport_ && isFfmpegSuccess(*retainedReport_)) {
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
      contains(*retainedReport_, "Input #0") || contains(*retainedReport_, " probed with size="))
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

void AnalysisQueue::finalEnd() {
  logLine("analysis stop       : final end");
  PreferenceStore& store = services_.preferences;
  waiting_.clear();
  interface_.analysisCaptionStr.setText("");
  stopAsked_ = false;
  isUnderWay_ = false;
  interface_.analysisStopBt.setHidden(true);
  openPermitted_ = true;
  steps_.remove("analysisDeb");
  showIdle();
  if (table_.count() > 0)
    interface_.batchDrawer.setShown(true);
  allowStart();
  store.prefRemove(StateKey::alert);
  logLine("analysis            - end (all src)");
  finished.emit();
}

}  // namespace tessarin
