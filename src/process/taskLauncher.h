// Runs a command, or commands joined by pipes, beside the program.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/TextAdditions.h"
#include "platform/ChildProcess.h"
#include "platform/ExitWatch.h"
#include "platform/RunLoop.h"
#include "utils/Signal.h"

namespace tessarin {

class taskLauncher;

// What a launcher tells. All calls come from the run loop or from inside the launcher's own
// suspend, resume and tasklauncherTerminate; every one may call the launcher, none may destroy it.
struct TaskLauncherDelegate {
  virtual ~TaskLauncherDelegate() = default;
  // A piece of what the last command wrote on standard output or standard error, as it was read:
  // a line may come in two pieces, with one of the other stream between them.
  virtual void taskLauncherDidReceiveNewString(taskLauncher&, const std::string&) {}
  virtual void taskLauncherDidReceiveNewData(taskLauncher&, std::string_view) {}
  // A piece of standard error as bytes, when tellErrorsApart() asks for it.
  virtual void taskLauncherDidReceiveNewError(taskLauncher&, std::string_view) {}
  // Once, at the end of the run for whatever reason; all processes are gone by then.
  virtual void taskLauncherTaskDidEnd(taskLauncher&) {}
  virtual void taskLauncherTaskDidSuspend(taskLauncher&) {}
  virtual void taskLauncherTaskDidResume(taskLauncher&) {}
};

// One run. Made empty, given its delegate, launched once. Its end comes by itself, after the last
// command has exited and everything that it wrote was delivered, or by tasklauncherTerminate.
// Processes that the last command left behind do not hold up the end, even with the output still
// open in their hands. Processes still running when the launcher is destroyed are killed.
//
// Destroying a launcher that never launched anything is a mistake of the caller's and shown.
class taskLauncher {
 public:
  // terminationStatus() of a run that was ended before it ended itself.
  static constexpr int abortedStatus = -7654312;

  enum LaunchResult : int {
    launched = 0,
    noArguments = 1,
    emptyCommand = 2,
    programNotFound = 3,
    launchedBefore = 4
  };

  explicit taskLauncher(RunLoop& loop);
  taskLauncher(const taskLauncher&) = delete;
  taskLauncher& operator=(const taskLauncher&) = delete;
  ~taskLauncher();

  // Borrowed; null for none.
  void setDelegate(TaskLauncherDelegate* delegate) { delegate_ = delegate; }
  TaskLauncherDelegate* delegate() const { return delegate_; }

  // Yes: output is delivered as bytes. No, the default: as text, and a piece with a byte that is
  // not 7-bit ASCII is dropped. To be set before launching.
  void dontConvertDataToString(bool yes) { convert_ = yes; }
  // Yes: what comes on standard error is told by a call of its own. To be set before launching.
  void tellErrorsApart(bool yes) { errorsApart_ = yes; }

  // Starts the commands; the element "|" stands between them. A program is a path, or the name of
  // a resource of the bundle; PATH and "/usr/bin" are not searched. Arguments get a leading "~"
  // expanded unless they hold "://". A LaunchResult; with another than `launched` nothing runs. A
  // program that is there but cannot be started counts as not found; the log says why. A launcher
  // that has launched refuses a second time and is otherwise left as it is.
  int launchTasksWithArguments(const Arguments& arguments);

  // Why the program of the last launch could not be started, in the system's words; "" when there
  // is no such program, and after a launch.
  const std::string& launchFailure() const { return launchFailure_; }

  // Stops the whole chain, last process first, and lets it go on, first process first. Nothing
  // when it is so already.
  void suspend();
  void resume();
  bool isSuspended() const { return isSuspended_; }

  bool isRunning() const { return isRunning_; }
  // The exit status of the last command (128 + signal when a signal ended it), or abortedStatus;
  // 0 until the end.
  int terminationStatus() const { return terminationStatus_; }
  // The signal that ended the last command; 0 when none did, and for a run that was ended.
  int terminationSignal() const { return terminationSignal_; }

  // Ends the run now: continues a suspended chain, kills and reaps what still runs and tells the
  // delegate, unless it knows. Allowed at any time, from any callback.
  void tasklauncherTerminate();

  // What is told to launchers by whoever knows no more than their number: "fabKillTasks",
  // "fabPauseTasks" or "fabResumeTasks", and the uid of those that are meant.
  using Broadcasts = Signal<std::string_view, std::int32_t>;
  static Broadcasts& broadcasts();
  // The number by which broadcasts reach this launcher, from the first call on. Seconds since 1970:
  // launchers asked within the same second share it.
  std::int32_t uid();

 private:
  // The read end of one of the last process's two streams.
  struct Stream {
    Descriptor descriptor;
    RunLoop::Id watch = 0;
    std::size_t owed = 0;  // bytes that lay in the pipe at the exit and are still to be delivered
  };

  std::optional<std::vector<ChildSetup>> commandsOf(const std::vector<Arguments>& segments) const;
  void watchStream(Stream& stream);
  void closeStream(Stream& stream);
  void gotData(Stream& stream);
  void lastTaskExited();
  void endIfOver();
  void stopListening();

  void sendNotificationWithData(const Stream& stream, std::string_view data);
  void sendNotificationWithString(std::string_view data);
  void notifyThatTaskEnded();

  RunLoop& loop_;
  TaskLauncherDelegate* delegate_ = nullptr;
  std::optional<std::vector<ChildProcess>> tasks_;  // first command first; none before a launch
  std::vector<std::unique_ptr<ExitWatch>> exitWatches_;
  Stream stdErr_;
  Stream output_;
  std::vector<char> buffer_;

  std::string launchFailure_;
  bool alreadyNotified_ = false;
  bool isRunning_ = false;
  bool isSuspended_ = false;
  bool convert_ = false;
  bool errorsApart_ = false;
  bool terminateNoAbort_ = false;  // the run ended by itself
  int terminationStatus_ = 0;
  int terminationSignal_ = 0;

  bool lastTaskExited_ = false;
  bool graceIsOver_ = false;
  RunLoop::Id grace_ = 0;

  std::int32_t uid_ = 0;
  Broadcasts::Id listener_ = 0;
};

// Writes in the log how the run of this program ended; status as taskLauncher tells it.
void logTaskEnd(std::string_view program, int status);

}  // namespace tessarin
