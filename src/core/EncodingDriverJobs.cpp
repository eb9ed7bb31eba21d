#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "classShared/log.h"
#include "core/EncodingDriver.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

// What the jobs of a batch tell and ask, what is shown of them, and how far the batch is.

namespace tessarin {

// ---- What jobs tell and ask

void EncodingDriver::begins(const ConversionJob& job) {
  jobStarted.emit(job.row().path(), job.output());
}

void EncodingDriver::changed(const ConversionJob& job) {
  watchForWaiting();
  if (isShown(job))
    mirror_.show(&job);
}

void EncodingDriver::takesStep(const ConversionJob& job) {
  waitingEnds();
  watchForWaiting();
  if (isShown(job))
    mirror_.take(job);
}

void EncodingDriver::mayReplace(const std::string& output, std::function<void(bool)> answered) {
  const std::string stored = services_.preferences.prefReadString(StateKey::replaceFiles);
  if (!stored.empty()) {
    logFormat("replaceFilesStr     : {}", stored);
    answered(stored == answerReplace);
    return;
  }
  if (clashes_.contains(output)) {
    answered(mayReplaceClashes_);
    return;
  }
  questions_.push_back({output, std::move(answered)});
  if (questions_.size() == 1)
    askNextQuestion();
}

// The open question is the first; what its answer says for all answers the others, too.
void EncodingDriver::askNextQuestion() {
  debugFormat("pre-choix user      : no");
  const std::string output = questions_.front().output;
  services_.alerts.show({localisationString("D_go_dossier_destination4Bis", "", fileName(output)),
                         output,
                         {localisationString("D_keep"), localisationString("D_replace")},
                         localisationString("D_applyToAll"),
                         Alert::Style::warning},
                        [this, batch = batch_](AlertAnswer reply) {
                          // While the question was open the batch may have been stopped, and
                          // another begun.
                          if (batch != batch_ || stopAsked_ || !isBatchRunning())
                            return;
                          debugFormat("pre-choix user      : yes");
                          const bool replace = reply.button == 1;
                          if (reply.checked)
                            services_.preferences.prefWrite(StateKey::replaceFiles,
                                                            replace ? answerReplace : answerKeep);
                          do {
                            const Question question = std::move(questions_.front());
                            questions_.pop_front();
                            question.answered(replace);
                          } while (reply.checked && !questions_.empty());
                          if (!questions_.empty())
                            askNextQuestion();
                        });
}

void EncodingDriver::makesFolder(const std::string& source, const std::string& folder) {
  folderBegins.emit(source, folder);
}

void EncodingDriver::hasMovie(const FinishedMovie& movie) {
  movieFinished.emit(movie);
}

std::string EncodingDriver::otherOutput(const std::string& output) {
  return otherOutputPath(output, outputNames_);
}

// The controls that a task uses, in the log.
void EncodingDriver::logControls(const char* when) const {
  const TaskControls& controls = interface_.encoding;
  debugFormat(
      "{} progressId={}, progressWheelId={}, progressPercentId={}, stopBtId={}, prevTime={}", when,
      fmt::ptr(&controls.bar), fmt::ptr(&controls.wheel), fmt::ptr(&controls.percent),
      fmt::ptr(&controls.stopBt), controls.bar.value());
}

const EncodingDriver::InHand* EncodingDriver::shown() const {
  for (const InHand& each : inHand_)
    if (!each.job->isOver())
      return &each;
  return nullptr;
}

bool EncodingDriver::isShown(const ConversionJob& job) const {
  const InHand* first = shown();
  return first && first->job.get() == &job;
}

EncodingDriver::InHand& EncodingDriver::entryOf(const ConversionJob& job) {
  return *std::find_if(inHand_.begin(), inHand_.end(),
                       [&job](const InHand& each) { return each.job.get() == &job; });
}

bool EncodingDriver::hasTool() const {
  return std::any_of(inHand_.begin(), inHand_.end(),
                     [](const InHand& each) { return each.job->hasTool(); });
}

void EncodingDriver::toolBegins(const ConversionJob& job, const std::string& action,
                                double maximum) {
  InHand& entry = entryOf(job);
  entry.action = action;
  entry.tool = {0, maximum, maximum <= 0};
  TaskControls& controls = interface_.encoding;
  if (isShown(job)) {
    debugFormat("4 progressId={}", fmt::ptr(&controls.bar));
    debugFormat("5 progressWheelId={}", fmt::ptr(&controls.wheel));
    debugFormat("7 progressPercentId={}", fmt::ptr(&controls.percent));
    debugFormat("8 stopBtId={}", fmt::ptr(&controls.stopBt));
    actionBeforePause_.clear();
    showTool();
  }
  showStop(true);
}

// What the first job does, in the controls.
void EncodingDriver::showTool() {
  const InHand* entry = shown();
  if (!entry)
    return;
  showAction(entry->action);
  showTool(entry->tool);
}

// What comes about on the way into a pause is not what is to be read during it.
void EncodingDriver::showAction(const std::string& action) {
  isWaitingTold_ = false;
  if (isPaused_)
    actionBeforePause_ = action;
  else
    interface_.encoding.action.setText(action);
}

void EncodingDriver::showTool(const ToolProgress& tool) {
  TaskControls& controls = interface_.encoding;
  controls.wheel.setTurning(tool.isTurning);
  controls.percent.setText(tool.percent);
  controls.bar.setMaximum(tool.maximum);
  controls.bar.setIndeterminate(tool.isIndeterminate);
  controls.bar.setValue(tool.value);
}

void EncodingDriver::toolProgressed(const ConversionJob& job, const ToolProgress& progress) {
  entryOf(job).tool = progress;
  if (isShown(job))
    showTool(progress);
  tellProgress();
}

void EncodingDriver::toolEnded(const ConversionJob& job) {
  InHand& entry = entryOf(job);
  entry.tool = {0, entry.tool.maximum};
  logControls("pre  pre ");
  if (isShown(job))
    showTool();
  const bool isLast = !hasTool();
  interface_.encoding.stopBt.setHidden(isLast);
  interface_.encoding.stopBt.setEnabled(!isLast);
  logControls("post post");
}

// ---- How far it is

void EncodingDriver::countWaiting() const {
  if (std::exchange(isWaitingCounted_, true))
    return;
  waitingRows_ = 0;
  waitingWork_ = 0;
  for (int row = 0; row < table_.count(); ++row)
    if (isWanted(row)) {
      ++waitingRows_;
      waitingWork_ += workOf(table_.row(row));
    }
}

BatchMeter::InHand EncodingDriver::measured(const InHand& entry) {
  const ConversionJob& job = *entry.job;
  return {{job.row().path(), entry.number, job.fraction()}, entry.work, job.movieSeconds()};
}

std::vector<BatchMeter::InHand> EncodingDriver::measured() const {
  std::vector<BatchMeter::InHand> clips;
  for (const InHand& each : inHand_)
    if (!each.job->isOver())
      clips.push_back(measured(each));
  return clips;
}

BatchProgress EncodingDriver::progress() const {
  if (!isBatchRunning())
    return {};
  countWaiting();
  return meter_.progress(measured(), waitingRows_, waitingWork_);
}

void EncodingDriver::tellProgress() {
  meter_.measure(measured());
  const auto left = progress().left;
  interface_.encoding.left.setText(left ? localisationString("D_left", "", clockText(*left)) : "");
  progressed.emit();
}

void EncodingDriver::ended(const ConversionJob& job, const JobEnd& end) {
  debugFormat("RESET GUI…");
  meter_.end(measured(entryOf(job)), end.kind == JobEnd::Kind::converted ? 1 : job.fraction());
  showAction("");
  const bool isGood = end.kind == JobEnd::Kind::converted ||
                      (end.kind == JobEnd::Kind::kept && mayHoldMovie(end.output));
  if (const int row = table_.rowOfSource(end.source); table_.has(row)) {
    if (isGood) {
      table_.set(row, &Row::movie, end.output);
      table_.set(row, &Row::isKept, end.kind == JobEnd::Kind::kept);
    }
    table_.mark(row, isGood ? RowMark::success : RowMark::failure);
  }
  if (end.kind == JobEnd::Kind::converted && !end.reason.empty())
    batchTroubles_.damaged.push_back(end.source);
  if (end.kind == JobEnd::Kind::failed && !pathExists(fileOfSource(end.source)))
    batchTroubles_.missing.push_back(end.source);
  debugFormat("…RAZ GUI done");
  mirror_.show(shown() ? shown()->job.get() : nullptr);
  showTool();
  tellProgress();
  logFormat("enc > encFin        : {} - end (pre-[self encSend:@encBatch])", end.source);
  jobEnded.emit(end);
  goOn();
}

}  // namespace tessarin
