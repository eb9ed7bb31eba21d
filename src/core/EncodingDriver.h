// Works through the rows of the batch: decides which are next, and has their jobs done.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "core/batchSummary.h"
#include "core/clashes.h"
#include "core/stepState.h"
#include "encoding/outputName.h"
#include "jobs/BatchProgress.h"
#include "jobs/ConversionJob.h"
#include "jobs/LaterStep.h"

namespace tessarin {

class EncodingDriver final : private ConversionJob::Host {
 public:
  // All are borrowed.
  EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table);

  // The row's source and its planned output, before the job starts.
  Signal<const std::string&, const std::string&> jobStarted;
  // The row's source, and the folder (outputPlace.h) that its job is about to make and to write
  // everything into.
  Signal<const std::string&, const std::string&> folderBegins;
  Signal<const FinishedMovie&> movieFinished;
  Signal<const JobEnd&> jobEnded;
  // progress() has changed.
  Signal<> progressed;
  // The batch cannot start, for this reason in the user's language.
  Signal<const std::string&> batchRefused;
  // Every row has been worked on, or the user stopped the batch.
  Signal<> batchEnded;

  bool isBatchRunning() const { return interface_.batchGoBt.state() == 1; }
  // The pattern for the names of its movies, as it was given when it began.
  const std::string& namesOfBatch() const { return givenNames_; }
  // Of this batch, or of the one that ended last.
  const BatchTroubles& troubles() const { return batchTroubles_; }
  // Whether the user stopped the batch that ended last.
  bool wasStopped() const { return wasStopped_; }

  // Of the batch that runs; of none all is 0.
  BatchProgress progress() const;
  // How many rows are converted at the same time, from the next one on; 1 at the start. The
  // controls show the job that was begun first of those under way.
  void setJobs(int jobs) { mostJobs_ = jobs; }

  // The user's start: asks once about all movies that are there already, then works on the rows
  // that are not finished (BatchTable::isFinished), those that failed before and those that come
  // meanwhile too, and leaves the others alone. When there are none it says so, and the batch has
  // ended.
  void iba_batchGoBt();
  // Movies of others, and their sources: no row is given such a name from the next start on.
  void reserve(OutputNames names) { reserved_ = std::move(names); }
  // What becomes, from the next row on, of names that are there already; `left` at the start.
  void setClash(Clash clash) { clash_ = clash; }
  // Works on these rows only, those that are finished too.
  void convertRows(const std::vector<int>& rows);
  // Pauses, resumes or stops all jobs, by the selected segment of the stop control. While they are
  // paused none is begun.
  void iba_taskStopBt();
  // The stop of iba_taskStopBt, whatever the control shows.
  void stop();
  // Ends the tools without a word; the driver is of no further use.
  void abandon();
  ~EncodingDriver() { services_.loop.cancel(patience_); }

  // A drop makes the encoding wait for the analysis of the new sources. A pause that the user
  // asked for stays after it.
  void suspendForAnalysis();
  void resumeAfterAnalysis();

 private:
  // A job under way, and what is to be shown of it.
  struct InHand {
    std::unique_ptr<ConversionJob> job;
    double work = 0;  // workOf() its row
    int number = 0;   // from 1 in every batch
    std::string action = {};
    ToolProgress tool = {};
  };
  // A job that asks whether a movie may be replaced.
  struct Question {
    std::string output;
    std::function<void(bool)> answered;
  };

  // A row as it was when the batch began.
  struct Before {
    RowMark mark;
    Choice choice;
  };

  void watchForWaiting();
  void waitingEnds();
  std::string waitingText() const;
  void showStop(bool isShown);
  void whenDestinationAnswers(std::function<void()> act);
  void beginUnfinished();
  void beginOnly(const std::vector<std::string>& sources);
  bool mayBegin();
  std::vector<std::string> disks() const;
  void offerFolder(const FolderRefusal& refusal);
  void begin(const std::vector<int>& rows);
  void lookForClashes();
  void askAboutClashes(const std::vector<std::string>& movies);
  void goOn();
  void nextJobs();
  bool takeRow(int row);
  bool isWanted(int row) const;
  int nextRow() const;
  // Those of missingRowsBelow that the batch would come to.
  std::vector<int> wantedRowsBelow(const std::string& folder) const;
  void startRow(int row);
  void askForFolder(const std::string& folder);
  void leaveOut(const std::vector<int>& rows);
  void putMarksBack();
  void endOfBatch();
  void tellOfEnd();
  void showInHand();
  void askNextQuestion();

  void pause();
  void resume();
  void showPause(bool isPaused);
  void logControls(const char* when) const;

  const InHand* shown() const;
  bool isShown(const ConversionJob& job) const;
  InHand& entryOf(const ConversionJob& job);
  bool hasTool() const;
  void showAction(const std::string& action);
  void showTool();
  void showTool(const ToolProgress& tool);
  static BatchMeter::InHand measured(const InHand& entry);
  std::vector<BatchMeter::InHand> measured() const;
  void countWaiting() const;
  void tellProgress();

  void begins(const ConversionJob& job) override;
  void changed(const ConversionJob& job) override;
  void takesStep(const ConversionJob& job) override;
  void mayReplace(const std::string& output, std::function<void(bool)> answered) override;
  void makesFolder(const std::string& source, const std::string& folder) override;
  void hasMovie(const FinishedMovie& movie) override;
  std::string otherOutput(const std::string& output) override;
  void toolBegins(const ConversionJob& job, const std::string& action, double maximum) override;
  void toolProgressed(const ConversionJob& job, const ToolProgress& progress) override;
  void toolEnded(const ConversionJob& job) override;
  void ended(const ConversionJob& job, const JobEnd& end) override;

  CoreServices& services_;
  Interface& interface_;
  BatchTable& table_;
  StateMirror mirror_;
  Clash clash_ = Clash::left;
  OutputNames reserved_;
  OutputNames outputNames_;
  NamePattern names_;       // of the batch that runs
  std::string givenNames_;  // and their text
  BatchTroubles batchTroubles_;
  std::optional<std::set<std::string>> only_;  // the sources of convertRows; nothing: all
  std::set<std::string> begun_;                // the sources of this batch that were
  std::map<std::string, Before> notBegun_;     // and those that were not, yet
  std::string last_;                           // of them the last; "" before the first
  bool stopAsked_ = false;                     // encStopInt
  bool wasStopped_ = false;
  bool suspendedForAnalysis_ = false;
  bool isPaused_ = false;     // as the control shows it
  bool isPauseHeld_ = false;  // the user's, during an analysis
  std::string actionBeforePause_;
  bool isAsking_ = false;              // for a folder or clashes; the batch waits for the answer
  std::optional<ClashSearch> search_;  // before the first row
  std::set<std::string> clashes_;      // that the user was asked about at the start
  bool mayReplaceClashes_ = false;     // his answer
  std::deque<Question> questions_;     // the first one is open
  unsigned batch_ = 0;                 // tells an answer to an earlier batch's question from others
  int mostJobs_ = 1;
  std::vector<InHand> inHand_;  // in the order in which they were begun

  BatchMeter meter_;
  mutable bool isWaitingCounted_ = false;
  mutable int waitingRows_ = 0;
  mutable double waitingWork_ = 0;  // workOf() them
  DiskQuestion destination_;        // before a batch
  RunLoop::Id patience_ = 0;        // with a disk
  bool isWaitingTold_ = false;
  LaterStep next_;
};

}  // namespace tessarin
