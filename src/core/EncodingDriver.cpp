#include "core/EncodingDriver.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/batchSummary.h"
#include "core/missingSources.h"
#include "core/stepState.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

EncodingDriver::EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table)
    : services_(services),
      interface_(interface),
      table_(table),
      mirror_(services.preferences),
      next_(services.loop) {}

void EncodingDriver::abandon() {
  next_.clear();
  if (job_)
    job_->abandon();
}

// ---- Starting, pausing, stopping

void EncodingDriver::iba_batchGoBt() {
  logLine("-------------------- iba_batchGoBt");
  std::vector<int> rows;
  for (int row = 0; row < table_.count(); ++row)
    if (!table_.isFinished(row))
      rows.push_back(row);
  if (!mayBegin())
    return;
  if (rows.empty()) {
    interface_.batchReport.setText(localisationString("D_all_converted"));
    next_.set([this] { batchEnded.emit(); });
    return;
  }
  only_.reset();
  begin(rows);
}

void EncodingDriver::convertRows(const std::vector<int>& rows) {
  logFormat("-------------------- convertRows ({})", rows.size());
  if (rows.empty() || !mayBegin())
    return;
  only_.emplace();
  for (const int row : rows)
    only_->insert(table_.sourcePath(row));
  begin(rows);
}

// Whether there is something to do and a place for the movies; the user is told when there is
// none.
bool EncodingDriver::mayBegin() {
  if (table_.count() == 0 || isBatchRunning())
    return false;
  if (interface_.destination.text().empty())
    interface_.destination.setText(expandTilde("~/Movies/"));
  if (const auto refusal = refusalOfDestination(interface_.destination.text())) {
    offerFolder(*refusal);
    batchRefused.emit(refusal->reason);
    return false;
  }
  return true;
}

// The alert; where the user can choose a folder it offers to.
void EncodingDriver::offerFolder(const FolderRefusal& refusal) {
  Alert alert{localisationString("D_go_dossier_destination1", "", refusal.folder),
              refusal.isForeign ? refusal.reason : localisationString("D_go_dossier_destination3")};
  if (!services_.selectFolder) {
    services_.alerts.show(alert);
    return;
  }
  alert.buttons = {localisationString("D_choose"), localisationString("D_Annuler")};
  services_.alerts.show(alert, [this](AlertAnswer answer) {
    if (answer.button == 0)
      services_.selectFolder();
  });
}

void EncodingDriver::begin(const std::vector<int>& rows) {
  for (const int row : rows)
    table_.mark(row, RowMark::waiting);
  interface_.batchGoBt.setEnabled(false);
  interface_.batchGoBt.setState(1);
  interface_.batchReport.setText("");
  stopAsked_ = false;
  isAsking_ = false;
  batchTroubles_ = {};
  outputNames_.clear();
  removeLeftJobFolders(outputFolder(interface_.destination.text()));
  for (int row = 0; row < table_.count(); ++row)
    if (table_.isFinished(row))
      outputNames_[table_.row(row).movie] = table_.sourcePath(row);
  setCurrent("");
  clashes_.clear();
  search_.reset();
  // Whoever has answered for all movies is not asked.
  if (services_.preferences.prefReadString(StateKey::replaceFiles).empty())
    search_.emplace(table_, rows, outputFolder(interface_.destination.text()), outputNames_);
  goOn();
}

void EncodingDriver::lookForClashes() {
  if (!search_->step()) {
    goOn();
    return;
  }
  const ClashSearch search = *std::exchange(search_, std::nullopt);
  if (search.found().empty())
    goOn();
  else
    askAboutClashes(search.found());
}

// Once for all of them, before anything is made.
void EncodingDriver::askAboutClashes(const std::vector<std::string>& movies) {
  logFormat("existing movies     ? {}", movies.size());
  clashes_.insert(movies.begin(), movies.end());
  isAsking_ = true;
  const unsigned question = ++questions_;
  services_.alerts.show(clashQuestion(movies), [this, question](AlertAnswer reply) {
    // The batch may have been stopped meanwhile, and another begun.
    if (question != questions_ || !std::exchange(isAsking_, false) || !isBatchRunning())
      return;
    logFormat("existing movies     = {}", reply.button);
    mayReplaceClashes_ = reply.button == replaceAnswer;
    if (reply.button == stopBatchAnswer)
      stop();
    else
      goOn();
  });
}

void EncodingDriver::iba_taskStopBt() {
  SegmentedControl& control = interface_.encoding.stopBt;
  const int selected = control.selected();
  if (selected == stopSegment) {
    stop();
    return;
  }
  if (selected != pauseSegment || !control.has(pauseSegment))
    return;
  if (isPaused_)
    resume();
  else
    pause();
  showPause(!isPaused_);
}

void EncodingDriver::pause() {
  logLine("process             : suspend");
  if (!job_ || !job_->hasTool())
    return;
  TextField& action = interface_.encoding.action;
  actionBeforePause_ = action.text();
  action.setText(localisationString("D_action_pause"));
  job_->suspend();
}

void EncodingDriver::resume() {
  logLine("process             : resume");
  if (!job_ || !job_->hasTool())
    return;
  interface_.encoding.action.setText(actionBeforePause_);
  job_->resume();
}

void EncodingDriver::showPause(bool isPaused) {
  isPaused_ = isPaused;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (!control.has(pauseSegment))
    return;
  const bool isHud = contains(lowerCase(control.segments()[pauseSegment].image), "hud");
  control.setImage(pauseSegment,
                   fmt::format("{}{}", isPaused ? "btPlay" : "btPause", isHud ? "Hud" : ""));
}

void EncodingDriver::stop() {
  logLine("process             : stop");
  if (!isBatchRunning() || stopAsked_)
    return;
  stopAsked_ = true;
  const bool isAnalysing = std::exchange(suspendedForAnalysis_, false) || isPauseHeld_;
  next_.release();
  showPause(false);
  interface_.encoding.stopBt.select(-1);
  interface_.batchReport.setText(localisationString("D_action_stop"));
  if (!job_ || job_->isOver()) {  // between two rows
    goOn();
    return;
  }
  interface_.encoding.action.setText("");
  logFormat("sender stop         : btStop (analysis={:d} || enc={:d})", isAnalysing,
            job_->hasTool());
  job_->stop();
}

void EncodingDriver::suspendForAnalysis() {
  if (suspendedForAnalysis_)
    return;
  // A pause of the user's own outlasts the analysis, and cannot be ended during it.
  if (job_ && job_->isSuspended()) {
    interface_.encoding.stopBt.setEnabled(false);
    isPauseHeld_ = true;
    return;
  }
  suspendedForAnalysis_ = true;
  next_.hold();
  if (job_)
    job_->hold();
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() >= 2 && !isPaused_) {
    control.setEnabled(false);
    control.select(pauseSegment);
    iba_taskStopBt();
  } else {
    pause();
  }
}

void EncodingDriver::resumeAfterAnalysis() {
  if (std::exchange(isPauseHeld_, false))
    interface_.encoding.stopBt.setEnabled(true);
  if (!std::exchange(suspendedForAnalysis_, false))
    return;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() > 1 && control.selected() == pauseSegment) {
    control.setEnabled(true);
    iba_taskStopBt();
    control.select(-1);
  } else {
    resume();
  }
  if (job_)
    job_->release();
  next_.release();
}

// ---- One row after the other

void EncodingDriver::goOn() {
  next_.set([this] { nextJob(); });
}

// The source that is worked on, or was last.
void EncodingDriver::setCurrent(const std::string& source) {
  last_ = source;
  table_.setInProgress(source);
  mirror_.showEncoded(source);
}

void EncodingDriver::nextJob() {
  logFormat("enc                 : {} - begin", "encBatch");
  job_.reset();
  if (!isBatchRunning())
    return;
  if (stopAsked_) {
    logLine("enc stop            = 1");
    mirror_.showEncoded(cancelled);
    endOfBatch();
    return;
  }
  if (search_) {
    lookForClashes();
    return;
  }
  int row = nextRow();
  if (!last_.empty())
    debugFormat("batch, c'est parti  : suivantes…");
  while (table_.has(row) && !isWanted(row))
    ++row;
  if (row >= table_.count()) {
    endOfBatch();
    return;
  }
  debugFormat("new indexBatchInt   # {}", row);
  if (verboseLevel(2))
    debugFormat("reste {} src(s)", table_.count() - row);
  if (pathExists(table_.sourcePath(row)))
    startRow(row);
  else if (const auto folder = goneFolder(table_, row))
    askForFolder(*folder);
  else
    leaveOut({row});
}

bool EncodingDriver::isWanted(int row) const {
  return !table_.isFinished(row) && (!only_ || only_->contains(table_.sourcePath(row)));
}

// The row behind the one that was worked on last.
int EncodingDriver::nextRow() const {
  return last_.empty() ? 0 : table_.rowOfSource(last_) + 1;
}

void EncodingDriver::startRow(int row) {
  table_.mark(row, RowMark::current);
  const Row& entry = table_.row(row);
  setCurrent(entry.path());
  ConversionJob::Order order;
  order.row = entry;
  order.destination = interface_.destination.text();
  order.output =
      outputPath(entry.source, entry.choice.target, outputFolder(order.destination), outputNames_);
  order.flavour = services_.preferences.text(PrefKey::prores);
  const auto segment = static_cast<std::size_t>(entry.choice.target);
  if (segment < interface_.editingSoft.segments().size())
    order.format = interface_.editingSoft.segments()[segment].label;
  order.isOnSource = table_.isSourceFile(order.output);
  ConversionJob::Host& host = *this;
  job_ = std::make_unique<ConversionJob>(services_, host, std::move(order));
  debugFormat("processEncDico      - write encDeb ? {}", 1);
  job_->start();
}

// Nothing vanishes from the list while the user may bring the folder back.
void EncodingDriver::askForFolder(const std::string& folder) {
  const std::size_t clips = missingRowsBelow(table_, nextRow(), folder).size();
  logFormat("folder is away      ? {} ({})", folder, clips);
  interface_.encoding.action.setText(localisationString("D_action_pause"));
  isAsking_ = true;
  const unsigned question = ++questions_;
  services_.alerts.show(
      goneFolderQuestion(folder, clips), [this, question, folder](AlertAnswer reply) {
        // The batch may have been stopped meanwhile, and another begun.
        if (question != questions_ || !std::exchange(isAsking_, false) || !isBatchRunning())
          return;
        logFormat("folder is away      = {}", reply.button);
        interface_.encoding.action.setText("");
        if (reply.button == stopAnswer)
          stop();
        else if (reply.button == leaveOutAnswer)
          leaveOut(missingRowsBelow(table_, nextRow(), folder));
        else
          goOn();
      });
}

// Removes these rows, and tells of them; the batch goes on behind the row before the first.
void EncodingDriver::leaveOut(const std::vector<int>& rows) {
  std::vector<std::string> paths;
  paths.reserve(rows.size());
  for (const int row : rows)
    paths.push_back(table_.sourcePath(row));
  if (!rows.empty())
    setCurrent(rows.front() > 0 ? table_.sourcePath(rows.front() - 1) : "");
  if (last_.empty())
    mirror_.showEncoded(beforeFirstRow);
  // From the end: a removal moves the rows behind it.
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    table_.select(*row);
    table_.encBatchRemove(false);
  }
  for (const std::string& path : paths) {
    logLine("@@@la src existe même p'us… à la suivante");
    logFormat("current src does not exist anymore (-> skip to next one), current: {}", path);
    debugFormat("plist               > write encFin ? {}", 1);
    batchTroubles_.missing.push_back(path);
    JobEnd end;
    end.source = path;
    end.reason = localisationString("why_gone");
    jobEnded.emit(end);
  }
  goOn();
}

void EncodingDriver::endOfBatch() {
  logLine("enc ended           :-)");
  if (stopAsked_ && verboseLevel(1))
    logLine(":-( [stopIntId intValue]==1 !!!");
  if (const bool isStopShown = !interface_.encoding.stopBt.isHidden();
      isStopShown && verboseLevel(1)) {
    logFormat(":-( taskStopBt={}", interface_.encoding.stopBt.selected());
    logLine("task ended: (regular end || cancel(stop|quit)) but taskStopBt id still defined.");
  }
  wasStopped_ = std::exchange(stopAsked_, false);
  interface_.batchGoBt.setState(0);
  interface_.batchGoBt.setEnabled(table_.count() > 0);
  interface_.encoding.action.setText("");
  setCurrent("");
  services_.preferences.prefRemove(StateKey::replaceFiles);
  tellOfEnd();
  // Whoever stops a batch is not interrupted, and a folder without a new movie has nothing to show.
  if (services_.reveal && !wasStopped_ && countRows(table_).converted > 0)
    services_.reveal(outputFolder(interface_.destination.text()));
  batchEnded.emit();
}

// How the batch has ended: in the window, and in an alert when the user wants one and has not
// stopped it himself.
void EncodingDriver::tellOfEnd() {
  if (const std::string trouble = troubleText(batchTroubles_, " "); !trouble.empty()) {
    const std::string said = interface_.batchReport.text();
    interface_.batchReport.setText(said.empty() ? trouble : said + " " + trouble);
  }
  if (wasStopped_ || services_.preferences.integer(PrefKey::alertEnd) != 1)
    return;
  services_.alerts.show(
      {localisationString("D_fin_GUI"),
       endText(countRows(table_), batchTroubles_),
       {},
       "",
       batchTroubles_.isEmpty() ? Alert::Style::information : Alert::Style::warning});
}

// ---- What jobs tell and ask

void EncodingDriver::begins(const ConversionJob& job) {
  jobStarted.emit(job.row().path(), job.output());
}

void EncodingDriver::changed(const ConversionJob& job) {
  mirror_.show(&job);
}

void EncodingDriver::takesStep(const ConversionJob& job) {
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
  debugFormat("pre-choix user      : no");
  const unsigned question = ++questions_;
  services_.alerts.show({localisationString("D_go_dossier_destination4Bis", "", fileName(output)),
                         output,
                         {localisationString("D_keep"), localisationString("D_replace")},
                         localisationString("D_applyToAll"),
                         Alert::Style::warning},
                        [this, question, answered](AlertAnswer reply) {
                          // While the question was open the batch may have been stopped, and
                          // another begun.
                          if (question != questions_ || stopAsked_ || !isBatchRunning())
                            return;
                          debugFormat("pre-choix user      : yes");
                          const bool replace = reply.button == 1;
                          if (reply.checked)
                            services_.preferences.prefWrite(StateKey::replaceFiles,
                                                            replace ? answerReplace : answerKeep);
                          answered(replace);
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

void EncodingDriver::toolBegins(const std::string& action, double maximum) {
  TaskControls& controls = interface_.encoding;
  debugFormat("4 progressId={}", fmt::ptr(&controls.bar));
  debugFormat("5 progressWheelId={}", fmt::ptr(&controls.wheel));
  debugFormat("7 progressPercentId={}", fmt::ptr(&controls.percent));
  debugFormat("8 stopBtId={}", fmt::ptr(&controls.stopBt));
  showPause(false);
  controls.stopBt.select(-1);
  controls.action.setText(action);
  actionBeforePause_.clear();
  controls.bar.setValue(0);
  controls.bar.setMaximum(maximum);
  controls.bar.setIndeterminate(maximum <= 0);
  controls.stopBt.setHidden(false);
  controls.stopBt.setEnabled(true);
}

void EncodingDriver::toolProgressed(const ToolProgress& progress) {
  TaskControls& controls = interface_.encoding;
  controls.wheel.setTurning(progress.isTurning);
  controls.percent.setText(progress.percent);
  controls.bar.setIndeterminate(progress.isIndeterminate);
  controls.bar.setValue(progress.value);
}

void EncodingDriver::toolEnded() {
  TaskControls& controls = interface_.encoding;
  logControls("pre  pre ");
  controls.bar.setValue(0);
  controls.bar.setIndeterminate(false);
  controls.percent.setText("");
  controls.wheel.setTurning(false);
  controls.stopBt.setHidden(true);
  controls.stopBt.setEnabled(false);
  logControls("post post");
}

void EncodingDriver::ended(const JobEnd& end) {
  debugFormat("RESET GUI…");
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
  debugFormat("…RAZ GUI done");
  mirror_.show(static_cast<const ConversionJob*>(nullptr));
  logFormat("enc > encFin        : {} - end (pre-[self encSend:@encBatch])", end.source);
  jobEnded.emit(end);
  goOn();
}

}  // namespace tessarin
