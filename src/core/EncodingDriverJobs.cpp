#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "classShared/log.h"
#include "core/EncodingDriver.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

// What the jobs of a batch tell and ask, what is shown of them, and how far the batch is.

namespace tessarin {

// ---- What jobs tell and ask

void EncodingDriver::begins(const ConversionJob& job) {
  jobStarted.emit(job.row().path(), job.output());
}

void EncodingDriver::changed(const ConversionJob& job) {
  if (isShown(job))
    mirror_.show(&job);
}

void EncodingDriver::takesStep(const ConversionJob& job) {
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
  controls.stopBt.select(-1);
  controls.stopBt.setHidden(false);
  controls.stopBt.setEnabled(true);
}

// What the first job does, in the controls.
void EncodingDriver::showTool() {
  const InHand* entry = shown();
  if (!entry)
    return;
  TaskControls& controls = interface_.encoding;
  controls.action.setText(entry->action);
  controls.bar.setValue(entry->tool.value);
  controls.bar.setMaximum(entry->tool.maximum);
  controls.bar.setIndeterminate(entry->tool.isIndeterminate);
  controls.percent.setText(entry->tool.percent);
  controls.wheel.setTurning(entry->tool.isTurning);
}

void EncodingDriver::toolProgressed(const ConversionJob& job, const ToolProgress& progress) {
  entryOf(job).tool = progress;
  if (isShown(job)) {
    TaskControls& controls = interface_.encoding;
    controls.wheel.setTurning(progress.isTurning);
    controls.percent.setText(progress.percent);
    controls.bar.setIndeterminate(progress.isIndeterminate);
    controls.bar.setValue(progress.value);
  }
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
  for (int row = std::max(0, nextRow()); row < table_.count(); ++row)
    if (isWanted(row)) {
      ++waitingRows_;
      waitingWork_ += workOf(table_.row(row));
    }
}

BatchProgress EncodingDriver::progress() const {
  BatchProgress progress;
  if (!isBatchRunning())
    return progress;
  countWaiting();
  progress.ended = ended_;
  progress.rows = ended_ + waitingRows_;
  double done = endedWork_;
  double all = endedWork_ + waitingWork_;
  for (const InHand& each : inHand_) {
    if (each.job->isOver())
      continue;
    progress.inHand.push_back({each.job->row().path(), each.number, each.job->fraction()});
    ++progress.rows;
    done += each.work * each.job->fraction();
    all += each.work;
  }
  progress.fraction = all > 0 ? done / all : 0;
  progress.speed = moviePace_.rate();
  progress.left = workPace_.secondsFor(all - done);
  return progress;
}

void EncodingDriver::tellProgress() {
  double work = endedWork_;
  double seconds = endedSeconds_;
  for (const InHand& each : inHand_)
    if (!each.job->isOver()) {
      work += each.work * each.job->fraction();
      seconds += each.job->movieSeconds() * each.job->fraction();
    }
  const double now = clock_.elapsed(std::chrono::steady_clock::now()).count();
  workPace_.add(now, work);
  moviePace_.add(now, seconds);
  const auto left = progress().left;
  interface_.encoding.left.setText(left ? localisationString("D_left", "", clockText(*left)) : "");
  progressed.emit();
}

void EncodingDriver::ended(const ConversionJob& job, const JobEnd& end) {
  debugFormat("RESET GUI…");
  const double done = end.kind == JobEnd::Kind::converted ? 1 : job.fraction();
  ++ended_;
  endedWork_ += entryOf(job).work * done;
  endedSeconds_ += job.movieSeconds() * done;
  interface_.encoding.action.setText("");
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
  if (end.kind == JobEnd::Kind::failed && !pathExists(end.source))
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
