// Takes sources in and has them analysed, in their order.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "core/KnownClips.h"
#include "core/WaitingSources.h"
#include "core/spannedSources.h"
#include "core/stepState.h"
#include "core/tapeRecordings.h"
#include "jobs/AnalysisJob.h"
#include "jobs/LaterStep.h"
#include "process/ToolRun.h"

namespace tessarin {

// How far the analysis of a set of sources is.
struct AnalysisStand {
  std::string path;                     // the source that the others wait for
  std::size_t number = 0;               // which one that is of the set, from 1
  std::size_t count = 0;                // of the set
  std::optional<double> searched = {};  // while a tape is searched for recordings, before all that
};

class AnalysisQueue {
 public:
  // All are borrowed.
  AnalysisQueue(CoreServices& services, Interface& interface, BatchTable& table, KnownClips& known);

  // How many sources are analysed at the same time, from the next one on; 1 at the start. Rows and
  // refusals come in the order of the sources all the same.
  void setJobs(int jobs) { mostJobs_ = jobs; }

  // Whether a new set of sources is accepted (OPENPERM): false while a queue is analysed.
  bool isOpenPermitted() const { return openPermitted_; }
  // Has no effect while a queue is analysed, which says itself when it is over.
  void setOpenPermitted(bool permitted) { openPermitted_ = permitted && !isUnderWay_; }
  // While false (the start value), a source that is in the batch is not queued again.
  void setStu(bool isStu) { isStu_ = isStu; }

  // Whether files that are parts of one recording stay sources of their own, from the next set of
  // sources on; false at the start.
  void keepPartsApart(bool areApart) { arePartsApart_ = areApart; }
  // Whether the recordings of a tape that was captured as one file become sources of their own,
  // likewise.
  void splitTapes(bool areSplit) { areTapesSplit_ = areSplit; }
  // Whether clips that were converted before are left out, likewise.
  void takeOnlyNew(bool areOnlyNew) { areOnlyNew_ = areOnlyNew; }

  // Takes dropped files or a dropped folder in: follows the first path when it is a link, and
  // replaces the list by the files of a folder.
  void draggedFiles(const std::vector<std::string>& paths);
  // Files and folders, all of them, as one set.
  void takeTogether(const std::vector<std::string>& paths);
  // Filters the files, queues what is left and starts the analysis. Links keep their own names.
  void takeSources(std::vector<std::string> paths);
  // The stop control: the sources in hand and those that wait are given up.
  void iba_analysisStopBt();
  // Ends the tools without a word; the queue is of no further use.
  void abandon();

  // The files that have no row yet: those in analysis and those that wait, in order, with all parts
  // of each recording.
  std::vector<std::string> sourcesWithoutRow() const;
  bool hasSourcesWithoutRow() const;
  // How many of them wait; costs the same however many they are.
  std::size_t waitingCount() const { return waiting_.size(); }

  // A new set of sources has been taken in; sourcesWithoutRow() names them.
  Signal<> accepted;
  // Of the set, those that were converted before are left out; told before the first row, and only
  // where that was wanted.
  Signal<const KnownClips::Finding&> leftOut;
  // Another source is waited for, or more of a tape has been searched.
  Signal<const AnalysisStand&> advanced;
  // A source has become this row of the table, with valid choices.
  Signal<int> rowReady;
  // A running encoding has to wait, and may go on.
  Signal<> encodingToSuspend;
  Signal<> encodingToResume;
  // A source gave no row: its path and the reason in the user's language.
  Signal<const std::string&, const std::string&> refused;
  // A queue is over: every source is a row, was refused or was given up.
  Signal<> finished;

 private:
  // A source in hand.
  struct InHand {
    std::unique_ptr<AnalysisJob> job;
    std::optional<AnalysisJob::Finding> finding = {};  // once the job is over
    bool isTold = false;                               // it has become a row, or was refused
  };

  using Expand = std::function<std::vector<std::string>(const std::string& moviesFolder)>;
  void searchFolders(const Expand& expand);
  void beginSet();
  void takeSet(std::vector<std::string> paths);
  void showBusy();
  void showIdle();
  void allowStart();
  void lookForParts(const std::vector<std::string>& paths);
  void takeParts(const Arguments& search, const ToolResult& result);
  void lookForRecordings();
  void showSearch(const Arguments& search, std::string_view output);
  void takeRecordings(const Arguments& search, const ToolResult& result);
  void leaveOutKnown();
  std::vector<std::string> filesFrom(const std::string& path) const;
  void giveBackParts(const std::string& path);
  std::vector<std::string> freshOf(const std::vector<std::string>& paths) const;
  void goOn();
  void takeNextSource();
  int freeLane() const;
  void showFirst();
  void showCaption();
  void sourceEnded(int lane, AnalysisJob::Finding finding);
  void tellFindings();
  void appendRow(Source source);
  void end();

  CoreServices& services_;
  Interface& interface_;
  BatchTable& table_;
  StateMirror mirror_;
  WaitingSources waiting_;
  KnownClips& known_;
  bool arePartsApart_ = false;
  bool areTapesSplit_ = false;
  bool areOnlyNew_ = false;
  DiskQuestion folderSearch_;     // for the files of a set
  ToolRun partSearch_;            // also for recordings, before the first source is analysed
  SpannedSources found_;          // of the set in hand
  bool arePartsUnknown_ = false;  // likewise, until its first row tells that
  std::deque<InHand> inHand_;     // the first one is shown
  int mostJobs_ = 1;
  std::size_t passed_ = 0;  // sources that became a row or were refused
  std::size_t taken_ = 0;   // how many there were, as the caption counts them; 0: not yet known
  bool openPermitted_ = true;
  bool isUnderWay_ = false;
  bool isStu_ = false;
  bool stopAsked_ = false;  // analysisStopInt
  bool encodingSuspended_ = false;
  LaterStep next_;
};

}  // namespace tessarin
