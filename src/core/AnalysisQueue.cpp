#include "core/AnalysisQueue.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "classShared/log.h"
#include "core/Preset.h"
#include "core/storedRow.h"
#include "encoding/outputName.h"
#include "encoding/outputPreset.h"
#include "jobs/admittedSources.h"
#include "jobs/newRow.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

AnalysisQueue::AnalysisQueue(CoreServices& services, Interface& interface, BatchTable& table,
                             KnownClips& known)
    : services_(services),
      interface_(interface),
      table_(table),
      mirror_(services.preferences),
      waiting_(services.preferences, services.loop),
      known_(known),
      folderSearch_(services.loop),
      partSearch_(services.loop),
      next_(services.loop, [this] {
        return services_.asksDisksFirst && !stopAsked_ && !waiting_.empty()
                   ? std::vector{waiting_.paths().front()}
                   : std::vector<std::string>();
      }) {}

// ---- Taking sources in

void AnalysisQueue::draggedFiles(const std::vector<std::string>& dropped) {
  logFormat("drag'n'drop         -> draggedFiles : {}", dropped.size());
  if (dropped.empty())
    return;
  debugFormat("getOPENPERM()       ? {:d}", openPermitted_);
  if (!openPermitted_)
    return;
  searchFolders(
      [dropped](const std::string& movies) { return expandDroppedPaths(dropped, movies); });
}

void AnalysisQueue::takeTogether(const std::vector<std::string>& paths) {
  logFormat("drag'n'drop         -> takeTogether : {}", paths.size());
  if (!paths.empty() && openPermitted_)
    searchFolders([paths](const std::string& movies) { return expandAllPaths(paths, movies); });
}

void AnalysisQueue::searchFolders(const Expand& expand) {
  const std::string movies = outputFolder(interface_.destination.text());
  if (!services_.asksDisksFirst) {
    takeSources(expand(movies));
    return;
  }
  beginSet();
  interface_.analysisStopBt.setHidden(false);
  interface_.analysisStopBt.setEnabled(true);
  const auto found = std::make_shared<std::vector<std::string>>();
  folderSearch_.ask([expand, movies, found] { *found = expand(movies); },
                    [this, found] { takeSet(std::move(*found)); });
}

void AnalysisQueue::takeSources(std::vector<std::string> paths) {
  if (!openPermitted_)
    return;
  beginSet();
  takeSet(std::move(paths));
}

void AnalysisQueue::beginSet() {
  showBusy();
  openPermitted_ = false;
  isUnderWay_ = true;
  if (interface_.batchGoBt.state() == 1) {
    interface_.batchGoBt.setEnabled(false);
    encodingSuspended_ = true;
    encodingToSuspend.emit();
    logLine("was in progress     : to suspend");
  }
}

void AnalysisQueue::takeSet(std::vector<std::string> paths) {
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
    interface_.analysisStopBt.setHidden(true);
    interface_.analysisStopBt.setEnabled(false);
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
  interface_.analysisStopBt.setHidden(false);
  interface_.analysisStopBt.setEnabled(true);
  lookForParts(paths);
}

// The beginnings and ends of a card's files are read, where there may be parts of a recording.
void AnalysisQueue::lookForParts(const std::vector<std::string>& paths) {
  constexpr ToolLimits limits{std::chrono::minutes(10)};
  const Arguments search = arePartsApart_ ? Arguments() : partSearch(paths);
  if (search.empty()) {
    lookForRecordings();
    return;
  }
  const Outcome<void> started =
      partSearch_.start(search, limits, [this, search](const ToolResult& result) {
        takeParts(search, result);
        lookForRecordings();
      });
  if (!started) {
    logFormat("parts               :-( not found out ({})", started.reason());
    arePartsUnknown_ = true;
    lookForRecordings();
  }
}

void AnalysisQueue::takeParts(const Arguments& search, const ToolResult& result) {
  if (result.isOverdue || result.status != 0) {
    logFormat("parts               :-( not found out ({})", result.status);
    arePartsUnknown_ = true;
    return;
  }
  found_ = foundParts(search, result.output);
  std::vector<std::string> paths(waiting_.paths().begin(), waiting_.paths().end());
  leaveOutParts(paths, found_);
  logFormat("parts               : {} recordings of several files, {} doubtful",
            found_.recordings.size(), found_.doubtful.size());
  if (paths.size() < waiting_.size())
    waiting_.assign(paths);
}

// All of a tape is read, as long as that takes. What goes on in other files is no tape.
void AnalysisQueue::lookForRecordings() {
  std::vector<std::string> paths(waiting_.paths().begin(), waiting_.paths().end());
  std::erase_if(paths, [this](const std::string& path) { return filesFrom(path).size() > 1; });
  const Arguments search = areTapesSplit_ ? recordingSearch(paths) : Arguments();
  if (search.empty()) {
    leaveOutKnown();
    return;
  }
  constexpr ToolLimits limits{{}, std::chrono::minutes(2)};
  const Outcome<void> started = partSearch_.start(
      search, limits,
      [this, search](const ToolResult& result) {
        takeRecordings(search, result);
        leaveOutKnown();
      },
      [this, search](std::string_view output) { showSearch(search, output); });
  if (!started) {
    takeRecordings(search, {false, taskLauncher::abortedStatus, {}});
    leaveOutKnown();
  }
}

void AnalysisQueue::showSearch(const Arguments& search, std::string_view output) {
  const auto stand = standOfSearch(search, output);
  if (!stand)
    return;
  interface_.analysisCaptionStr.setText(fmt::format("{:.0f} %", 100 * stand->fraction));
  advanced.emit({stand->tape, 0, 0, stand->fraction});
}

void AnalysisQueue::takeRecordings(const Arguments& search, const ToolResult& result) {
  TapeRecordings tapes;
  if (result.isOverdue || result.status != 0) {
    logFormat("tapes               :-( not split ({})", result.status);
    tapes.unclear = search;
  } else {
    tapes = foundRecordings(search, result.output);
    logFormat("tapes               : {} of several recordings", tapes.recordings.size());
  }
  found_.unsplit = tapes.unclear;
  std::vector<std::string> paths(waiting_.paths().begin(), waiting_.paths().end());
  tessarin::splitTapes(paths, tapes);
  waiting_.assign(freshOf(paths));
}

// A recording of several files is one clip: its parts by themselves are others.
void AnalysisQueue::leaveOutKnown() {
  if (!areOnlyNew_) {
    goOn();
    return;
  }
  std::vector<KnownClips::Files> clips;
  for (const std::string& path : waiting_.paths())
    clips.push_back(filesFrom(path));
  known_.find(std::move(clips), [this](const KnownClips::Finding& finding) {
    const std::unordered_set<std::string> known(finding.known.begin(), finding.known.end());
    std::vector<std::string> paths(waiting_.paths().begin(), waiting_.paths().end());
    std::erase_if(paths, [&known](const std::string& path) { return known.contains(path); });
    for (const std::string& path : finding.known)
      logFormat("converted before    : {}", path);
    waiting_.assign(paths);
    leftOut.emit(finding);
    goOn();
  });
}

// The files of a clip that has no row yet.
std::vector<std::string> AnalysisQueue::filesFrom(const std::string& path) const {
  std::vector<std::string> files{path};
  if (const auto known = found_.recordings.find(path); known != found_.recordings.end())
    for (const Source::Part& part : known->second.furtherParts)
      files.push_back(part.path);
  const std::size_t parts = files.size();
  for (std::size_t part = 0; part < parts; ++part)
    for (const Source::SoundFile& sound : soundFilesOf(found_, files[part]))
      files.push_back(sound.path);
  return files;
}

// Of a recording whose first file cannot be read the others are sources of their own.
void AnalysisQueue::giveBackParts(const std::string& path) {
  const auto recording = found_.recordings.extract(path);
  std::vector<std::string> paths;
  if (!recording.empty())
    for (const Source::Part& part : recording.mapped().furtherParts)
      paths.push_back(part.path);
  if (paths.empty())
    return;
  paths.insert(paths.end(), waiting_.paths().begin(), waiting_.paths().end());
  waiting_.assign(paths);
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
  abandon();
  next_.set([this] {
    logLine("analysis stop       = 1");
    waiting_.clear();
    end();
  });
}

void AnalysisQueue::abandon() {
  next_.clear();
  folderSearch_.cancel();
  partSearch_.cancel();
  known_.cancel();
  for (const InHand& source : inHand_)
    source.job->abandon();
}

std::vector<std::string> AnalysisQueue::sourcesWithoutRow() const {
  std::vector<std::string> paths;
  const auto add = [&](const std::string& path) {
    for (std::string& file : filesFrom(path))
      paths.push_back(std::move(file));
  };
  for (const InHand& source : inHand_)
    if (!source.isTold)
      add(source.job->path());
  std::for_each(waiting_.paths().begin(), waiting_.paths().end(), add);
  return paths;
}

bool AnalysisQueue::hasSourcesWithoutRow() const {
  return !waiting_.empty() || std::any_of(inHand_.begin(), inHand_.end(),
                                          [](const InHand& source) { return !source.isTold; });
}

// ---- One source after the other

// Leaves what has been told behind, and takes as many sources as may be analysed now.
void AnalysisQueue::goOn() {
  while (!inHand_.empty() && inHand_.front().isTold) {
    logLine("analysis            - end of current src");
    inHand_.pop_front();
    ++passed_;
  }
  const auto running = [this] {
    return std::count_if(inHand_.begin(), inHand_.end(),
                         [](const InHand& source) { return !source.finding; });
  };
  while (!waiting_.empty() && running() < mostJobs_)
    takeNextSource();
  if (inHand_.empty())
    end();
  else
    showFirst();
}

void AnalysisQueue::takeNextSource() {
  const std::string next = waiting_.takeFirst();
  logFormat("analysis new file   : {}", next);
  logFormat("srcsMDico           ? new current src: '{}' (remaining={}, next: '{}')", next,
            waiting_.size(), waiting_.empty() ? "none/end" : waiting_.paths().front());
  if (verboseLevel(2))
    debugFormat("reliquat = {}", waiting_.size());
  const int lane = freeLane();
  inHand_.push_back({std::make_unique<AnalysisJob>(
      services_.loop, services_.asksDisksFirst, next, soundFilesOf(found_, next), lane,
      [this, lane](AnalysisJob::Finding finding) { sourceEnded(lane, std::move(finding)); },
      [this](const AnalysisJob& job) {
        if (inHand_.front().job.get() == &job)
          mirror_.show(&job);
      })});
  inHand_.back().job->start();
}

// The smallest number that no job under way has.
int AnalysisQueue::freeLane() const {
  int lane = 0;
  while (std::any_of(inHand_.begin(), inHand_.end(),
                     [lane](const InHand& source) { return source.job->lane() == lane; }))
    ++lane;
  return lane;
}

// The source that the others wait for is the one that is shown.
void AnalysisQueue::showFirst() {
  const AnalysisJob& job = *inHand_.front().job;
  mirror_.showAnalysed(job.path());
  mirror_.show(&job);
  showCaption();
  advanced.emit({job.path(), passed_ + 1, passed_ + inHand_.size() + waiting_.size()});
}

void AnalysisQueue::showCaption() {
  // The last source counts as one that waits: so the caption of the first of three is "0/2" and
  // that of the last "1/2".
  const std::size_t waiting = std::max<std::size_t>(1, waiting_.size() + inHand_.size() - 1);
  if (taken_ == 0)
    taken_ = waiting;
  interface_.analysisCaptionStr.setText(fmt::format("{}/{}", taken_ - waiting, taken_));
  debugFormat("analysisCaptionStr  : {}", interface_.analysisCaptionStr.text());
  debugFormat("batch, c'est parti  : '{}'", inHand_.front().job->path());
}

void AnalysisQueue::sourceEnded(int lane, AnalysisJob::Finding finding) {
  const auto ended = std::find_if(inHand_.begin(), inHand_.end(),
                                  [lane](const InHand& each) { return each.job->lane() == lane; });
  ended->finding = std::move(finding);
  tellFindings();
  if (stopAsked_)
    return;  // by whoever was told
  // The job that tells this has to be over before it may go.
  next_.set([this] { goOn(); });
}

// In the order of the sources: what comes early waits.
void AnalysisQueue::tellFindings() {
  for (InHand& source : inHand_) {
    if (!source.finding || stopAsked_)
      return;
    if (std::exchange(source.isTold, true))
      continue;
    if (source.finding->source)
      appendRow(*std::move(source.finding->source));
    else {
      giveBackParts(source.job->path());
      refused.emit(source.job->path(), source.finding->reason);
    }
  }
}

void AnalysisQueue::appendRow(Source source) {
  takeFurtherParts(source, found_);
  if (std::exchange(arePartsUnknown_, false))
    source.remarks.push_back({Source::Remark::Kind::partsUnknown, 0});
  source.keepsSurround = interface_.surround.isChecked();
  source.soundChoice = interface_.chosenSound();
  source.slowSound = interface_.chosenSlowSound();
  const int segment = interface_.editingSoft.selected();
  const int size = interface_.sizeOut.selected();
  Row row =
      newRow(std::move(source), {applicationTable[static_cast<std::size_t>(segment)].firstTarget,
                                 size, interface_.chosenSpeed()});
  if (size <= rowSameAsSource)
    row.choice.sizeOut = presetAutoComputedFromSrc(row, chosenSizes(interface_));
  if (debugMode())
    debugFormat("md                  : {}", recordOfRow(row).description());
  const int index = table_.append(std::move(row));
  table_.iba_outSpeedCell(index);
  if (const auto wish = chosenWish(interface_))
    if (const auto choice = nearestChoice(table_.row(index), *wish, chosenSizes(interface_))) {
      table_.set(index, &Row::choice, *choice);
      table_.iba_outSpeedCell(index);
    }
  rowReady.emit(index);
  interface_.batchDrawer.setShown(true);
}

void AnalysisQueue::end() {
  logLine("analysis stop       : final end");
  inHand_.clear();
  waiting_.clear();
  found_ = {};
  arePartsUnknown_ = false;
  passed_ = 0;
  taken_ = 0;
  mirror_.showAnalysed("");
  mirror_.show(static_cast<const AnalysisJob*>(nullptr));
  interface_.analysisCaptionStr.setText("");
  stopAsked_ = false;
  isUnderWay_ = false;
  interface_.analysisStopBt.setHidden(true);
  interface_.analysisStopBt.setEnabled(false);
  openPermitted_ = true;
  showIdle();
  if (table_.count() > 0)
    interface_.batchDrawer.setShown(true);
  allowStart();
  logLine("analysis            - end (all src)");
  finished.emit();
}

}  // namespace tessarin
