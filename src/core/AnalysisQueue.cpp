#include "core/AnalysisQueue.h"

#include <fmt/format.h>

#include <unordered_set>

#include "classShared/log.h"
#include "core/admittedSources.h"
#include "core/stepState.h"
#include "encoding/outputName.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

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
      taskEnded(end);
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
