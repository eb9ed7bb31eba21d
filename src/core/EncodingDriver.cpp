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

namespace {

// Stands for the row before the first one, when the first row was removed: no path is like it.
constexpr const char* beforeFirstRow = "totoCestLePlusBeau";

}  // namespace

EncodingDriver::EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table,
                               ToolTasks& tasks)
    : services_(services),
      interface_(interface),
      table_(table),
      tasks_(tasks),
      steps_(services.preferences, encSteps) {
  tasks_.ended.connect([this](const TaskEnd& end) {
    if (!end.isAnalysis)
      taskEnded(end);
  });
  tasks_.measured.connect([this](const Dico& values) {
    Dico measured = job();
    if (measured.empty())
      return;
    measured.merge(values);
    storeJob(std::move(measured));
  });
}

EncodingDriver::~EncodingDriver() {
  services_.loop.cancel(next_);
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
    next_ = services_.loop.runSoon([this] {
      next_ = 0;
      batchEnded.emit();
    });
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
  encSend("encBatch");
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
  const std::string image = control.segments()[pauseSegment].image;
  const std::string look = contains(lowerCase(image), "hud") ? "Hud" : "";
  if (contains(image, "btPause")) {
    tasks_.tasklauncherSuspend();
    control.setImage(pauseSegment, "btPlay" + look);
  } else {
    tasks_.tasklauncherResume();
    control.setImage(pauseSegment, "btPause" + look);
  }
}

void EncodingDriver::stop() {
  logLine("process             : stop");
  if (!isBatchRunning() || stopAsked_)
    return;
  stopAsked_ = true;
  suspendedForAnalysis_ = false;
  held_ = nullptr;
  resetPause();
  interface_.batchReport.setText(localisationString("D_action_stop"));
  if (job().empty()) {  // between two rows
    encSend("encBatch");
    return;
  }
  interface_.encoding.action.setText("");
  const int row = table_.encBatchInprogressRowIdentification();
  if (table_.has(row))
    table_.mark(row, RowMark::failure);
  outcome_ = JobEnd::Kind::stopped;
  reason_ = localisationString("D_action_stop");
  debugFormat("sender stop…");
  logFormat("sender stop         : btStop (analysis={} || enc={})", tasks_.isRunning(true) ? 1 : 0,
            tasks_.isRunning(false) ? 1 : 0);
  dropJobSteps();
  logLine("process             : stop (pre-enc)");
  if (tasks_.isRunning(false))
    tasks_.taskLauncherDone(false);
  else
    encSend("encProcesses");
}

void EncodingDriver::suspendForAnalysis() {
  if (suspendedForAnalysis_)
    return;
  // A pause of the user's own outlasts the analysis, and cannot be ended during it.
  if (tasks_.isEncodingSuspended()) {
    interface_.encoding.stopBt.setEnabled(false);
    isPauseHeld_ = true;
    return;
  }
  suspendedForAnalysis_ = true;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() >= 2 && contains(control.segments()[pauseSegment].image, "btPause")) {
    control.setEnabled(false);
    control.select(pauseSegment);
    iba_taskStopBt();
  } else {
    tasks_.tasklauncherSuspend();
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
    tasks_.tasklauncherResume();
  }
  if (const auto held = std::exchange(held_, nullptr))
    held();
}

// The pause control as it is while a task runs.
void EncodingDriver::resetPause() {
  SegmentedControl& control = interface_.encoding.stopBt;
  if (!control.has(pauseSegment))
    return;
  const std::string& image = control.segments()[pauseSegment].image;
  control.setImage(pauseSegment, contains(lowerCase(image), "hud") ? "btPauseHud" : "btPause");
  control.select(-1);
}

// ---- The machine

void EncodingDriver::encSend(const std::string& stepName) {
  services_.loop.cancel(next_);
  next_ = services_.loop.runSoon([this, stepName] {
    next_ = 0;
    enc(stepName);
  });
}

void EncodingDriver::enc(const std::string& stepName) {
  if (!isBatchRunning())
    return;
  if (suspendedForAnalysis_) {
    held_ = [this, stepName] { encSend(stepName); };
    return;
  }
  logFormat("enc                 : {} - begin", stepName);
  if (stepName == "encBatch")
    stepBatch();
  else
    stepProcesses();
}

void EncodingDriver::stepBatch() {
  if (stopAsked_) {
    logLine("enc stop            = 1");
    services_.preferences.prefWrite(StateKey::encoded, cancelled);
    services_.preferences.prefRemove(StateKey::job);
    steps_.remove(steps_.last());
    endOfBatch();
    return;
  }
  int row = nextRow();
  if (!services_.preferences.prefReadString(StateKey::encoded).empty())
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
  return table_.encBatchInprogressRowIdentification() + 1;
}

void EncodingDriver::startRow(int row) {
  ++jobNumber_;
  outcome_.reset();
  reason_.clear();
  hasBegun_ = false;
  isReplacing_ = false;
  folderPath_.clear();
  work_.clear();
  isExporting_ = false;
  check_ = CheckStep::before;
  plan_.reset();
  row_ = table_.row(row);
  output_.clear();
  sourceState_ = fileState(table_.sourcePath(row));
  troubles_ = RunTroubles();
  damagedPictures_ = 0;
  damagedSound_ = 0;
  readMe_.clear();
  taskStart_ = std::chrono::steady_clock::now();
  Dico job = jobRecord(row_, "");
  table_.mark(row, RowMark::current);
  services_.preferences.prefWrite(StateKey::encoded, table_.sourcePath(row));
  job.set("encDeb", 1);
  debugFormat("processEncDico      - write encDeb ? {}", 1);
  storeJob(std::move(job));
  encSend("encProcesses");
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
          encSend("encBatch");
      });
}

// Removes these rows, and tells of them; the batch goes on behind the row before the first.
void EncodingDriver::leaveOut(const std::vector<int>& rows) {
  std::vector<std::string> paths;
  paths.reserve(rows.size());
  for (const int row : rows)
    paths.push_back(table_.sourcePath(row));
  if (!rows.empty())
    services_.preferences.prefWrite(
        StateKey::encoded, rows.front() > 0 ? table_.sourcePath(rows.front() - 1) : beforeFirstRow);
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
  encSend("encBatch");
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
  services_.preferences.prefRemove(StateKey::encoded);
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

void EncodingDriver::stepProcesses() {
  if (takeJobFlag("encDeb"))
    stepDeb();
  else if (takeJobFlag("encV"))
    stepV();
  else if (takeJobFlag("encQtEnc"))
    stepQtEnc();
  else if (hasBegun_ && !outcome_ && check_ == CheckStep::before)
    startCheck();
  else
    stepFin();
}

// ---- The job record

Dico EncodingDriver::job() const {
  const Value* stored = services_.preferences.prefRead(StateKey::job);
  return stored && stored->dico() ? *stored->dico() : Dico();
}

void EncodingDriver::storeJob(Dico job) {
  services_.preferences.prefWrite(StateKey::job, std::move(job));
}

bool EncodingDriver::takeJobFlag(std::string_view name) {
  const bool isSet = job().flag(name);
  if (isSet)
    services_.preferences.prefDeleteChildDico(StateKey::job, name);
  return isSet;
}

}  // namespace tessarin
