// Runs the batch row by row: a step machine whose steps are flags in the preference store.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/BatchTable.h"
#include "core/StepFlags.h"
#include "core/ToolTasks.h"
#include "core/batchSummary.h"
#include "core/fileState.h"
#include "core/jobPlan.h"
#include "core/outputPlace.h"
#include "encoding/outputName.h"
#include "ffmpeg/packetMeter.h"
#include "ffmpeg/runTroubles.h"
#include "movie/movieIndex.h"

namespace tessarin {

// How the job of one row ended.
struct JobEnd {
  enum class Kind {
    converted,
    kept,     // the output was there already and the user wanted it kept
    failed,   // for the reason given
    stopped,  // by the user
  };
  Kind kind = Kind::failed;
  std::string source;
  std::string output;  // the movie; of a failed job what is left of it, "" when nothing is
  // In the user's language; of a converted job what is damaged in it, "" when nothing is.
  std::string reason;
  // Of a converted job: pictures of the source that are damaged or missing in the movie.
  std::size_t damagedPictures = 0;
  bool hasDamagedSound = false;
  double duration = 0;  // seconds of the movie
  double elapsed = 0;   // seconds that the job took
};

// A movie that is whole and about to be moved to its name.
struct FinishedMovie {
  std::string source;
  std::string path;    // where it is
  std::string output;  // where it goes to
  bool isUndamaged = true;
};

class EncodingDriver {
 public:
  EncodingDriver(CoreServices& services, Interface& interface, BatchTable& table, ToolTasks& tasks);
  ~EncodingDriver();

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
  bool measuresSeconds() const { return !isExporting_; }

  // The user's start: works on the rows that are not finished (BatchTable::isFinished), those that
  // failed before and those that come meanwhile too, and leaves the others alone. When there are
  // none it says so, and the batch has ended.
  void iba_batchGoBt();
  // Works on these rows only, those that are finished too.
  void convertRows(const std::vector<int>& rows);
  // Pauses, resumes or stops, by the selected segment of the stop control.
  void iba_taskStopBt();
  // The stop of iba_taskStopBt, whatever the control shows.
  void stop();
  // The step flags, in their order.
  const std::vector<std::string>& encArray() const { return steps_.names(); }

  // A drop makes the encoding wait for the analysis of the new sources. A pause that the user
  // asked for stays after it.
  void suspendForAnalysis();
  void resumeAfterAnalysis();

  // Performs the step of this name later, from the loop.
  void encSend(const std::string& stepName);

 private:
  bool mayBegin();
  void offerFolder(const FolderRefusal& refusal);
  void begin(const std::vector<int>& rows);
  void enc(const std::string& stepName);
  void stepBatch();
  void stepProcesses();
  void stepDeb();
  void stepV();
  void stepQtEnc();
  void stepFin();

  void startRow(int row);
  bool isWanted(int row) const;
  int nextRow() const;
  void askForFolder(const std::string& folder);
  void leaveOut(const std::vector<int>& rows);
  void endOfBatch();
  void tellOfEnd();
  void resetPause();
  bool hasRoom(const JobPlan& plan);
  void checkOverwriting(const JobPlan& plan);
  void answerOverwriting(const JobPlan& plan, const std::string& answer);
  void keep(const std::string& output);
  void startEncoding(const JobPlan& plan, bool replace);
  void startSlowing();
  void takeSlowed();
  void startExport();
  void startTask(const Arguments& command, ParseMode parseMode, double maximum);
  void taskEnded(const TaskEnd& end);
  void startCheck();
  void startMeasuring();
  void judgeMeasure(const TaskEnd& end);
  void startReading();

  // Ends the job in hand: its remaining steps are dropped, encFin follows.
  void dropJobSteps();
  void fail(const std::string& reason);
  // The cause is the system's, "" when it is not known.
  std::string whyDestination(const std::string& cause = "") const;
  void purgeIntermediates(const Dico& current);
  Outcome<void> moveIntoPlace(JobEnd& end);
  void finishJob(JobEnd end);
  void writeReadMe(const JobEnd& end);

  Dico job() const;
  void storeJob(Dico job);
  bool takeJobFlag(std::string_view name);

  CoreServices& services_;
  Interface& interface_;
  BatchTable& table_;
  ToolTasks& tasks_;
  StepFlags steps_;
  OutputNames outputNames_;
  BatchTroubles batchTroubles_;
  std::optional<std::set<std::string>> only_;  // the sources of convertRows; nothing: all
  bool stopAsked_ = false;                     // encStopInt
  bool wasStopped_ = false;
  bool suspendedForAnalysis_ = false;
  bool isPauseHeld_ = false;    // the user's, during an analysis
  std::function<void()> held_;  // to be done after the analysis
  std::string readMe_;
  bool isAsking_ = false;   // for a folder; the batch waits for the answer
  unsigned questions_ = 0;  // tells a late answer from one to the open question
  // Of the job in hand.
  Row row_;
  std::string output_;                   // where its movie goes to
  std::optional<JobEnd::Kind> outcome_;  // settled before encFin; nothing: judge the output
  std::string reason_;
  unsigned jobNumber_ = 0;    // tells a late answer from one for this job
  bool hasBegun_ = false;     // its folder is there
  bool isReplacing_ = false;  // what has the movie's name
  PrivateFolder folder_;
  std::string folderPath_;    // of the folder that it has or will have
  std::string work_;          // where its movie is made
  bool isExporting_ = false;  // its last task is the export's
  // What looks at the movie behind the last tool that makes it.
  enum class CheckStep { before, measuring, reading, after };
  CheckStep check_ = CheckStep::before;
  std::optional<JobPlan> plan_;  // once it is made
  std::optional<FileState> sourceState_;
  RunTroubles troubles_;  // of the first tool, which reads the source
  PacketMeter meter_;
  MovieIndex movie_;
  std::size_t damagedPictures_ = 0;
  std::size_t damagedSound_ = 0;
  std::chrono::steady_clock::time_point taskStart_;
  RunLoop::Id next_ = 0;
};

}  // namespace tessarin
