// Works through the rows of the batch: decides which is next, and has its job done.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "core/ConversionJob.h"
#include "core/LaterStep.h"
#include "core/batchSummary.h"
#include "core/clashes.h"
#include "core/stepState.h"
#include "encoding/outputName.h"

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
  // The batch cannot start, for this reason in the user's language.
  Signal<const std::string&> batchRefused;
  // Every row has been worked on, or the user stopped the batch.
  Signal<> batchEnded;

  bool isBatchRunning() const { return interface_.batchGoBt.state() == 1; }
  // Of this batch, or of the one that ended last.
  const BatchTroubles& troubles() const { return batchTroubles_; }
  // Whether the user stopped the batch that ended last.
  bool wasStopped() const { return wasStopped_; }

  // Whether the progress bar counts seconds of the movie; an export counts per cent.
  bool measuresSeconds() const { return !job_ || !job_->isExporting(); }

  // The user's start: asks once about all movies that are there already, then works on the rows
  // that are not finished (BatchTable::isFinished), those that failed before and those that come
  // meanwhile too, and leaves the others alone. When there are none it says so, and the batch has
  // ended.
  void iba_batchGoBt();
  // Works on these rows only, those that are finished too.
  void convertRows(const std::vector<int>& rows);
  // Pauses, resumes or stops, by the selected segment of the stop control.
  void iba_taskStopBt();
  // The stop of iba_taskStopBt, whatever the control shows.
  void stop();
  // Ends the tools without a word; the driver is of no further use.
  void abandon();

  // A drop makes the encoding wait for the analysis of the new sources. A pause that the user
  // asked for stays after it.
  void suspendForAnalysis();
  void resumeAfterAnalysis();

 private:
  bool mayBegin();
  void offerFolder(const FolderRefusal& refusal);
  void begin(const std::vector<int>& rows);
  void lookForClashes();
  void askAboutClashes(const std::vector<std::string>& movies);
  void goOn();
  void nextJob();
  bool isWanted(int row) const;
  int nextRow() const;
  void startRow(int row);
  void askForFolder(const std::string& folder);
  void leaveOut(const std::vector<int>& rows);
  void endOfBatch();
  void tellOfEnd();
  void setCurrent(const std::string& source);

  // Of the tool that runs.
  void pause();
  void resume();
  void showPause(bool isPaused);
  void logControls(const char* when) const;

  void begins(const ConversionJob& job) override;
  void changed(const ConversionJob& job) override;
  void takesStep(const ConversionJob& job) override;
  void mayReplace(const std::string& output, std::function<void(bool)> answered) override;
  void makesFolder(const std::string& source, const std::string& folder) override;
  void hasMovie(const FinishedMovie& movie) override;
  std::string otherOutput(const std::string& output) override;
  void toolBegins(const std::string& action, double maximum) override;
  void toolProgressed(const ToolProgress& progress) override;
  void toolEnded() override;
  void ended(const JobEnd& end) override;

  CoreServices& services_;
  Interface& interface_;
  BatchTable& table_;
  StateMirror mirror_;
  OutputNames outputNames_;
  BatchTroubles batchTroubles_;
  std::optional<std::set<std::string>> only_;  // the sources of convertRows; nothing: all
  std::string last_;        // the source that was worked on last or is now; "" before the first
  bool stopAsked_ = false;  // encStopInt
  bool wasStopped_ = false;
  bool suspendedForAnalysis_ = false;
  bool isPaused_ = false;     // as the control shows it
  bool isPauseHeld_ = false;  // the user's, during an analysis
  std::string actionBeforePause_;
  bool isAsking_ = false;              // for a folder or clashes; the batch waits for the answer
  unsigned questions_ = 0;             // tells a late answer from one to the open question
  std::optional<ClashSearch> search_;  // before the first row
  std::set<std::string> clashes_;      // that the user was asked about at the start
  bool mayReplaceClashes_ = false;     // his answer
  std::unique_ptr<ConversionJob> job_;
  LaterStep next_;
};

}  // namespace tessarin
