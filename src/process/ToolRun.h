// A tool that is run to its end beside the program, for its whole output.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "classShared/Outcome.h"
#include "process/taskLauncher.h"

namespace tessarin {

// What a run may take. Time in which the program itself was stopped does not count.
struct ToolLimits {
  std::chrono::milliseconds whole{0};    // from start to end; 0: any
  std::chrono::milliseconds silence{0};  // without a byte of output; 0: any
  std::size_t output = 64u << 20;        // bytes that are kept; what comes after is dropped
  bool keepsErrors = true;               // else the start of standard error goes to the log
};

// For questions that are answered from the first bytes of a file, or from none.
inline constexpr ToolLimits quickQuestion{std::chrono::seconds(30), {}, 16u << 20};

struct ToolResult {
  bool isOverdue = false;  // a limit of time was over, and the tool was ended
  int status = 0;          // as taskLauncher::terminationStatus
  std::string output;      // as it came; of a tool that was ended what it had said by then
};

// The output as text for readers of reports: nothing when the tool did not end by itself, said
// nothing but blanks, or something that is not UTF-8.
std::optional<std::string> reportOf(ToolResult result);

// Runs one command, or commands with "|" between them as taskLauncher takes them, one run at a
// time. Destroying it ends the run without a word.
class ToolRun final : private TaskLauncherDelegate {
 public:
  using Ended = std::function<void(ToolResult)>;
  using Heard = std::function<void(std::string_view output)>;

  explicit ToolRun(RunLoop& loop) : loop_(loop) {}
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;
  ~ToolRun() override { cancel(); }

  // A run that is under way is cancelled first. `ended` is called once, from the loop, when all
  // processes are gone; it may start the next run, and may destroy this object. When the
  // command cannot be started it fails with the system's reason, "" when there is no such program:
  // then nothing is called. `heard` is called whenever the tool has said something, with all of its
  // output so far.
  Outcome<void> start(const Arguments& command, const ToolLimits& limits, Ended ended,
                      Heard heard = {});
  // Ends the run; its end is not told any more.
  void cancel();
  bool isRunning() const { return launcher_ != nullptr; }

 private:
  void taskLauncherDidReceiveNewData(taskLauncher&, std::string_view bytes) override;
  void taskLauncherDidReceiveNewError(taskLauncher&, std::string_view bytes) override;
  void taskLauncherTaskDidEnd(taskLauncher&) override;
  // Arranges for a look when the next limit may be over.
  void watchTime();
  void look(std::chrono::steady_clock::time_point due);

  RunLoop& loop_;
  std::unique_ptr<taskLauncher> launcher_;
  std::string name_;  // of the program, for the log
  ToolLimits limits_;
  Ended ended_;
  Heard heardOutput_;
  ToolResult result_;
  std::string errors_;
  std::chrono::steady_clock::time_point started_;
  std::chrono::steady_clock::time_point heard_;
  RunLoop::Id timer_ = 0;
};

}  // namespace tessarin
