#include "core/EncodingDriver.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/batchSummary.h"
#include "core/missingSources.h"
#include "core/movieNames.h"
#include "core/stepState.h"
#include "prefs/utilsAlert.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin {

EncodingDriver::EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table)
    : services_(services),
      interface_(interface),
      table_(table),
      mirror_(services.preferences),
      destination_(services.loop),
      next_(services.loop, [this] { return disks(); }) {
  const auto recount = [this] { isWaitingCounted_ = false; };
  table_.rowAppended.connect([recount](int) { recount(); });
  for (auto* change : {&table_.rowsPutBack, &table_.rowsChanged, &table_.rowsRemoved})
    change->connect([recount](const std::vector<int>&) { recount(); });
}

void EncodingDriver::abandon() {
  next_.clear();
  destination_.cancel();
  services_.loop.cancel(std::exchange(patience_, 0));
  for (const InHand& each : inHand_)
    each.job->abandon();
}

// ---- Starting, pausing, stopping

void EncodingDriver::iba_batchGoBt() {
  logLine("-------------------- iba_batchGoBt");
  whenDestinationAnswers([this] { beginUnfinished(); });
}

void EncodingDriver::beginUnfinished() {
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
  std::vector<std::string> sources;
  sources.reserve(rows.size());
  for (const int row : rows)
    sources.push_back(table_.sourcePath(row));
  if (!sources.empty())
    whenDestinationAnswers([this, sources = std::move(sources)] { beginOnly(sources); });
}

void EncodingDriver::beginOnly(const std::vector<std::string>& sources) {
  std::vector<int> rows;
  for (const std::string& source : sources)
    if (const int row = table_.rowOfSource(source); row >= 0)
      rows.push_back(row);
  if (rows.empty() || !mayBegin())
    return;
  only_.emplace(sources.begin(), sources.end());
  begin(rows);
}

// It may be on a share that hangs; the user is told what is waited for, and may choose another.
void EncodingDriver::whenDestinationAnswers(std::function<void()> act) {
  if (!services_.asksDisksFirst || table_.count() == 0 || isBatchRunning()) {
    act();
    return;
  }
  constexpr std::chrono::milliseconds patience(500);
  const std::string folder = interface_.destination.text();
  services_.loop.cancel(patience_);
  patience_ = services_.loop.runAfter(patience, [this, folder] {
    patience_ = 0;
    interface_.batchReport.setText(localisationString("D_go_waits", "", folder));
  });
  destination_.askFor({expandTilde(folder)}, [this, folder, act = std::move(act)] {
    services_.loop.cancel(std::exchange(patience_, 0));
    interface_.batchReport.setText("");
    // Who has chosen another one meanwhile will press once more.
    if (interface_.destination.text() == folder)
      act();
  });
}

// That the next step works with.
std::vector<std::string> EncodingDriver::disks() const {
  if (!services_.asksDisksFirst || !isBatchRunning() || stopAsked_)
    return {};
  std::vector<std::string> paths{expandTilde(interface_.destination.text())};
  if (const int row = nextRow(); table_.has(row))
    paths.push_back(table_.sourcePath(row));
  return paths;
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
  if (const auto refusal = refusalOfNames(interface_)) {
    services_.alerts.show({*refusal, ""});
    batchRefused.emit(*refusal);
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
  notBegun_.clear();
  table_.changeTogether([&] {
    for (const int row : rows) {
      const Row& entry = table_.row(row);
      notBegun_.insert_or_assign(entry.path(), Before{entry.mark, entry.choice});
      table_.mark(row, RowMark::waiting);
    }
  });
  interface_.batchGoBt.setEnabled(false);
  interface_.batchGoBt.setState(1);
  interface_.batchReport.setText("");
  stopAsked_ = false;
  isAsking_ = false;
  questions_.clear();
  ++batch_;
  batchTroubles_ = {};
  isWaitingCounted_ = false;
  meter_.start();
  outputNames_ = reserved_;
  names_ = namesOf(interface_);
  givenNames_ = interface_.names.text();
  removeLeftFolders(outputFolder(interface_.destination.text()));
  for (int row = 0; row < table_.count(); ++row)
    if (table_.isFinished(row))
      outputNames_[table_.row(row).movie] = table_.sourcePath(row);
  begun_.clear();
  last_.clear();
  mirror_.showEncoded("");
  clashes_.clear();
  search_.reset();
  // Whoever has answered for all movies is not asked.
  if (services_.preferences.prefReadString(StateKey::replaceFiles).empty())
    search_.emplace(table_, rows, outputFolder(interface_.destination.text()), outputNames_, names_,
                    clash_);
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
  services_.alerts.show(clashQuestion(movies), [this, batch = batch_](AlertAnswer reply) {
    // The batch may have been stopped meanwhile, and another begun.
    if (batch != batch_ || !std::exchange(isAsking_, false) || !isBatchRunning())
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
  TextField& action = interface_.encoding.action;
  actionBeforePause_ = action.text();
  action.setText(localisationString("D_action_pause"));
  next_.hold();
  for (const InHand& each : inHand_) {
    each.job->hold();
    each.job->suspend();
  }
  meter_.pause();
}

void EncodingDriver::resume() {
  logLine("process             : resume");
  interface_.encoding.action.setText(actionBeforePause_);
  meter_.resume();
  for (const InHand& each : inHand_) {
    each.job->resume();
    each.job->release();
  }
  next_.release();
  watchForWaiting();
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
  questions_.clear();
  if (!shown()) {  // between two rows
    goOn();
    return;
  }
  interface_.encoding.action.setText("");
  logFormat("sender stop         : btStop (analysis={:d} || enc={:d})", isAnalysing, hasTool());
  for (const InHand& each : inHand_)
    if (!each.job->isOver())
      each.job->stop();
}

void EncodingDriver::suspendForAnalysis() {
  if (suspendedForAnalysis_)
    return;
  // A pause of the user's own outlasts the analysis, and cannot be ended during it.
  if (isPaused_) {
    interface_.encoding.stopBt.setEnabled(false);
    isPauseHeld_ = true;
    return;
  }
  suspendedForAnalysis_ = true;
  SegmentedControl& control = interface_.encoding.stopBt;
  if (control.count() >= 2) {
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
    showPause(false);
  }
}

// ---- One row after the other

void EncodingDriver::goOn() {
  next_.set([this] { nextJobs(); });
  watchForWaiting();
}

// Where no tool shows what is done, and it takes long, the user is told what is waited for, and can
// stop the batch.
void EncodingDriver::watchForWaiting() {
  constexpr std::chrono::milliseconds patience(500);
  services_.loop.cancel(std::exchange(patience_, 0));
  if (!services_.asksDisksFirst || !isBatchRunning() || stopAsked_)
    return;
  patience_ = services_.loop.runAfter(patience, [this] {
    patience_ = 0;
    const std::string waiting = waitingText();
    if (!isBatchRunning() || hasTool() || isPaused_ || suspendedForAnalysis_ || waiting.empty())
      return;
    isWaitingTold_ = true;
    interface_.encoding.action.setText(waiting);
    showStop(true);
  });
}

void EncodingDriver::waitingEnds() {
  if (isWaitingTold_)
    showAction("");
}

// "" where neither a disk nor the look at a movie is waited for.
std::string EncodingDriver::waitingText() const {
  const std::string& destination = interface_.destination.text();
  for (const InHand& each : inHand_) {
    const std::string& source = each.job->row().path();
    if (each.job->isOver())
      continue;
    if (each.job->waitsForDisk())
      return localisationString("D_disk_waits", "", source, destination);
    if (each.job->isLooking())
      return localisationString("D_action_check", "", fileName(source));
  }
  if (!next_.waitsForDisk())
    return "";
  const int row = nextRow();
  return table_.has(row)
             ? localisationString("D_disk_waits", "", table_.sourcePath(row), destination)
             : localisationString("D_go_waits", "", destination);
}

void EncodingDriver::showStop(bool isShown) {
  SegmentedControl& stop = interface_.encoding.stopBt;
  stop.select(-1);
  stop.setHidden(!isShown);
  stop.setEnabled(isShown);
}

// Leaves the jobs that are over behind, and begins as many as may run.
void EncodingDriver::nextJobs() {
  logFormat("enc                 : {} - begin", "encBatch");
  waitingEnds();
  std::erase_if(inHand_, [](const InHand& each) { return each.job->isOver(); });
  showInHand();
  if (!isBatchRunning())
    return;
  if (stopAsked_) {
    if (!inHand_.empty())
      return;
    logLine("enc stop            = 1");
    mirror_.showEncoded(cancelled);
    endOfBatch();
    return;
  }
  if (search_) {
    lookForClashes();
    return;
  }
  while (static_cast<int>(inHand_.size()) < mostJobs_ && !isAsking_) {
    const int row = nextRow();
    if (!last_.empty())
      debugFormat("batch, c'est parti  : suivantes…");
    if (!table_.has(row)) {
      if (inHand_.empty())
        endOfBatch();
      return;
    }
    if (!takeRow(row))
      return;
  }
}

// Begins the row's job. False when its source is not there, and something else is done first.
bool EncodingDriver::takeRow(int row) {
  debugFormat("new indexBatchInt   # {}", row);
  if (verboseLevel(2))
    debugFormat("reste {} src(s)", table_.count() - row);
  if (pathExists(fileOfSource(table_.sourcePath(row)))) {
    startRow(row);
    return true;
  }
  if (const auto folder = goneFolder(table_, row))
    askForFolder(*folder);
  else
    leaveOut({row});
  return false;
}

// Tells the table, and the world outside, which sources are being worked on.
void EncodingDriver::showInHand() {
  std::vector<std::string> sources;
  for (const InHand& each : inHand_)
    sources.push_back(each.job->row().path());
  if (!sources.empty())
    mirror_.showEncoded(sources.front());
  table_.setInProgress(std::move(sources));
}

bool EncodingDriver::isWanted(int row) const {
  return table_.row(row).mark == RowMark::waiting &&
         (!only_ || only_->contains(table_.sourcePath(row))) &&
         !begun_.contains(table_.sourcePath(row));
}

// The first row of the list, as it is now, that is to be begun; -1 for none.
int EncodingDriver::nextRow() const {
  for (int row = 0; row < table_.count(); ++row)
    if (isWanted(row))
      return row;
  return -1;
}

std::vector<int> EncodingDriver::wantedRowsBelow(const std::string& folder) const {
  std::vector<int> rows = missingRowsBelow(table_, 0, folder);
  std::erase_if(rows, [this](int row) { return !isWanted(row); });
  return rows;
}

void EncodingDriver::startRow(int row) {
  table_.mark(row, RowMark::current);
  const Row& entry = table_.row(row);
  last_ = entry.path();
  begun_.insert(last_);
  notBegun_.erase(last_);
  ConversionJob::Order order;
  order.row = entry;
  order.destination = interface_.destination.text();
  order.output = outputOfRow(entry, outputFolder(order.destination), outputNames_, names_, clash_);
  order.leavesOthers = clash_ == Clash::other && order.output != ownMovie(entry);
  order.flavour = services_.preferences.text(PrefKey::prores);
  const auto segment = static_cast<std::size_t>(entry.choice.target);
  if (segment < interface_.editingSoft.segments().size())
    order.format = interface_.editingSoft.segments()[segment].label;
  order.isOnSource = table_.isSourceFile(order.output);
  order.asksDisksFirst = services_.asksDisksFirst;
  ConversionJob::Host& host = *this;
  inHand_.push_back(
      {std::make_unique<ConversionJob>(services_.loop, services_.alerts, host, std::move(order)),
       workOf(table_.row(row)), static_cast<int>(begun_.size())});
  showInHand();
  debugFormat("processEncDico      - write encDeb ? {}", 1);
  inHand_.back().job->start();
}

// Nothing vanishes from the list while the user may bring the folder back.
void EncodingDriver::askForFolder(const std::string& folder) {
  const std::size_t clips = wantedRowsBelow(folder).size();
  logFormat("folder is away      ? {} ({})", folder, clips);
  interface_.encoding.action.setText(localisationString("D_action_pause"));
  isAsking_ = true;
  services_.alerts.show(
      goneFolderQuestion(folder, clips), [this, batch = batch_, folder](AlertAnswer reply) {
        // The batch may have been stopped meanwhile, and another begun.
        if (batch != batch_ || !std::exchange(isAsking_, false) || !isBatchRunning())
          return;
        logFormat("folder is away      = {}", reply.button);
        interface_.encoding.action.setText("");
        if (reply.button == stopAnswer)
          stop();
        else if (reply.button == leaveOutAnswer)
          leaveOut(wantedRowsBelow(folder));
        else
          goOn();
      });
}

// Removes these rows, and tells of them; the batch goes on with the others.
void EncodingDriver::leaveOut(const std::vector<int>& rows) {
  std::vector<std::string> paths;
  paths.reserve(rows.size());
  for (const int row : rows)
    paths.push_back(table_.sourcePath(row));
  if (!rows.empty())
    last_ = rows.front() > 0 ? table_.sourcePath(rows.front() - 1) : "";
  if (inHand_.empty())
    mirror_.showEncoded(last_.empty() ? beforeFirstRow : last_);
  table_.remove(rows);
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

// A movie that was to be made once more, and was not begun, is as good as before.
void EncodingDriver::putMarksBack() {
  table_.changeTogether([this] {
    for (const auto& [source, before] : std::exchange(notBegun_, {}))
      if (const int row = table_.rowOfSource(source); row >= 0 &&
                                                      table_.row(row).mark == RowMark::waiting &&
                                                      table_.row(row).choice == before.choice)
        table_.mark(row, before.mark);
  });
}

void EncodingDriver::endOfBatch() {
  logLine("enc ended           :-)");
  services_.loop.cancel(std::exchange(patience_, 0));
  if (!hasTool())
    showStop(false);
  putMarksBack();
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
  interface_.encoding.left.setText("");
  last_.clear();
  mirror_.showEncoded("");
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
  if (wasStopped_ || services_.preferences.integer(PrefKey::alertEnd) != 1 ||
      (services_.isEndTold && services_.isEndTold()))
    return;
  services_.alerts.show(
      {localisationString("D_fin_GUI"),
       endText(countRows(table_), batchTroubles_),
       {},
       "",
       batchTroubles_.isEmpty() ? Alert::Style::information : Alert::Style::warning});
}

}  // namespace tessarin
