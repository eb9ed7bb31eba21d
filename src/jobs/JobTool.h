// The tool of a conversion: run, read while it runs, paused, ended.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "classShared/Outcome.h"
#include "ffmpeg/runTroubles.h"
#include "process/progress.h"
#include "process/taskLauncher.h"
#include "utils/Signal.h"

namespace tessarin {

struct ToolStart {
  Arguments command;                      // the program first
  ParseMode parseMode = ParseMode::none;  // how the output is read
  double progressMax = 0;                 // the value that means 100 %; not above 0: unknown
  // The files that it reads and writes, whose names its lines may hold.
  std::string source = {};
  std::string output = {};
  // Takes the lines of standard output; none: they are read as those of standard error.
  std::function<void(std::string_view line)> takeOutputLine = {};
};

// How far the tool is, as it is shown.
struct ToolProgress {
  double value = 0;
  double maximum = 0;
  bool isIndeterminate = false;
  bool isTurning = false;
  std::string percent = {};
};

struct ToolEnd {
  int status = 0;               // of the process; taskLauncher::abortedStatus when it was ended
  int signal = 0;               // that ended it; 0: none did
  std::string lastOutput = {};  // the end of what it printed
  RunTroubles troubles = RunTroubles();
};

// One run at a time, any number after each other.
class JobTool final : private TaskLauncherDelegate {
 public:
  explicit JobTool(RunLoop& loop) : loop_(loop) {}
  JobTool(const JobTool&) = delete;
  JobTool& operator=(const JobTool&) = delete;
  // Ends the run without a word.
  ~JobTool() override { release(); }

  Signal<const ToolProgress&> progressed;
  // What the tool measured: values for the job's record ("normalizedVolumedetect", "normalized").
  Signal<const Dico&> measured;
  // Once for each run; the next may be started then.
  Signal<const ToolEnd&> ended;

  // Fails when the tool cannot be launched, with a reason in the user's language.
  Outcome<void> start(ToolStart start);
  bool isRunning() const { return launcher_ != nullptr; }
  void suspend();
  void resume();
  bool isSuspended() const { return launcher_ && launcher_->isSuspended(); }
  // Ends the run, and tells so.
  void end();
  // Likewise without a word.
  void release();

 private:
  void taskLauncherDidReceiveNewData(taskLauncher& launcher, std::string_view bytes) override;
  void taskLauncherDidReceiveNewError(taskLauncher& launcher, std::string_view bytes) override;
  void taskLauncherTaskDidEnd(taskLauncher& launcher) override;
  void taskLauncherTaskDidSuspend(taskLauncher& launcher) override;
  void receive(taskLauncher& launcher, std::string_view bytes, bool isError);
  void readLine(std::string_view line, bool isError);
  void readLoudness(std::string_view line);
  void readProgress(std::string_view line);

  RunLoop& loop_;
  std::unique_ptr<taskLauncher> launcher_;
  // Of the run in hand.
  ToolStart start_;
  ToolProgress progress_;
  double previous_ = -1;
  std::array<std::string, 2> unfinishedLines_;  // of standard output and standard error
  RunTroubles troubles_;
  std::string loudnessText_;  // output since a loudness report began
  std::string lastOutput_;
  std::optional<int> status_;  // once it has ended by itself
  int signal_ = 0;
};

}  // namespace tessarin
