// The child processes of the application: one for the analysis, one for the encoding.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "core/CoreServices.h"
#include "core/Interface.h"
#include "ffmpeg/runTroubles.h"
#include "process/ToolRun.h"
#include "process/progress.h"
#include "process/taskLauncher.h"

namespace tessarin {

// A pipeline to start.
struct TaskStart {
  std::vector<Arguments> commands;  // joined by pipes; the first element of each is the program
  double progressMax = 0;           // the value that means 100 %; not above 0: unknown
  ParseMode parseMode = ParseMode::none;  // how the output is read
  TaskControls* controls = nullptr;       // where it is shown; null: nowhere
  SegmentedControl* stopBt = nullptr;     // without `controls`: what stops it; null: nothing
  bool isOther = false;                   // an analysis task
  ToolLimits limits;                      // of an analysis task
  // The files that an encoding task reads and writes, whose names its lines may hold.
  std::string source = {};
  std::string output = {};
  // Takes the lines of standard output that an encoding task prints; none: they are read as those
  // of standard error.
  std::function<void(std::string_view line)> takeOutputLine = {};
};

// How a task ended, as its owner sees it.
struct TaskEnd {
  bool isAnalysis = false;
  int status = 0;          // of the last process; taskLauncher::abortedStatus when it was ended
  bool isOverdue = false;  // an analysis task was ended for a limit of its time
  int signal = 0;          // that ended the last process; 0: none did
  std::string lastOutput = {};           // the end of what an encoding task printed
  RunTroubles troubles = RunTroubles();  // of an encoding task
};

// Starts pipelines, reads their progress, suspends, resumes and ends them. At most one encoding
// and one analysis task run at a time.
class ToolTasks final : public TaskLauncherDelegate {
 public:
  explicit ToolTasks(CoreServices& services);
  ~ToolTasks() override;

  // The task is over and its controls are back to idle; the owning machine may go on.
  Signal<const TaskEnd&> ended;
  // What the tool measured: values for the job in hand ("normalizedVolumedetect", "normalized").
  Signal<const Dico&> measured;

  // Fails when the pipeline cannot be launched, with a reason in the user's language.
  Outcome<void> tasklauncherStart(TaskStart start);

  void tasklauncherSuspend();
  void tasklauncherResume();
  bool isEncodingSuspended() const;
  bool isRunning(bool other) const { return side(other).isUnderWay; }

  // Ends the task of one side, if any, and lets its machine continue.
  void taskLauncherDone(bool other);
  // Ends both without continuing anything.
  void endAll();

  // The complete output of the analysis task that has ended; nothing when none was collected since
  // it was last taken.
  std::optional<std::string>& analysisTaskVerboseMStr() { return analysisOutput_; }

 private:
  struct Side {
    std::unique_ptr<taskLauncher> launcher;  // of the encoding
    bool isUnderWay = false;
    TaskStart start;
    std::optional<double> previousTime;
    std::array<std::string, 2> unfinishedLines;  // of standard output and standard error
    RunTroubles troubles;
    std::string loudnessText;  // output since a loudness report began
    std::string lastOutput;
    std::optional<int> status;  // set when the task told its end
    bool isOverdue = false;
    int signal = 0;
  };

  Outcome<void> startLauncher();
  Outcome<void> startAnalysisRun();
  void taskDidEnd(Side& side, int status);

  void taskLauncherDidReceiveNewData(taskLauncher& launcher, std::string_view bytes) override;
  void taskLauncherDidReceiveNewError(taskLauncher& launcher, std::string_view bytes) override;
  void receive(taskLauncher& launcher, std::string_view bytes, bool isError);
  void taskLauncherTaskDidEnd(taskLauncher& launcher) override;
  void taskLauncherTaskDidSuspend(taskLauncher& launcher) override;

  Side& side(bool other) { return other ? other_ : encoding_; }
  const Side& side(bool other) const { return other ? other_ : encoding_; }
  void readLine(Side& side, std::string_view line, bool isError);
  void readLoudness(Side& side, std::string_view line);
  void showProgress(Side& side, std::string_view line);
  void prepareControls(const Side& side);
  void resetControls(const Side& side);
  void release(Side& side);
  static void logMembers(const char* when, const Side& side);

  CoreServices& services_;
  Side encoding_;
  Side other_;
  ToolRun analysisRun_;
  std::optional<std::string> analysisOutput_;
  std::string progressActionStrBeforePause_;
};

}  // namespace tessarin
