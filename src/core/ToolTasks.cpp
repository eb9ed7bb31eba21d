#include "core/ToolTasks.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "core/failureReason.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

// What is kept of an encoding's output, to tell why it failed.
constexpr std::size_t longestLastOutput = 8u << 10;

// A loudness report is a few lines; anything longer is no such report.
constexpr std::size_t longestLoudnessReport = 4u << 10;

const char* sideName(bool other) {
  return other ? "Other" : "";
}

// A control in the log.
template <class Control>
std::string idText(const Control* control) {
  return control ? fmt::format("{}", fmt::ptr(control)) : "nil";
}

SegmentedControl* stopControl(const TaskStart& start) {
  return start.controls ? &start.controls->stopBt : start.stopBt;
}

// The commands as the launcher takes them: one list with "|" between the commands.
Arguments joined(const std::vector<Arguments>& commands) {
  Arguments list;
  for (const Arguments& command : commands) {
    if (!list.empty())
      list.push_back("|");
    list.insert(list.end(), command.begin(), command.end());
  }
  return list;
}

// Bytes 0x80 to 0xBF continue a UTF-8 sequence.
bool continuesSequence(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

void keepEnd(std::string& text, std::size_t length) {
  if (text.size() <= length)
    return;
  std::size_t start = text.size() - length;
  while (start < text.size() && continuesSequence(text[start]))
    ++start;
  text.erase(0, start);
}

}  // namespace

ToolTasks::ToolTasks(CoreServices& services) : services_(services), analysisRun_(services.loop) {}

ToolTasks::~ToolTasks() {
  endAll();
}

Outcome<void> ToolTasks::tasklauncherStart(TaskStart start) {
  const bool other = start.isOther;
  Side& side = this->side(other);
  release(side);
  side.start = std::move(start);
  side.previousTime = -1.0;
  side.troubles = RunTroubles(side.start.source, side.start.output);
  debugFormat("2 progressMax={:f}", side.start.progressMax);
  debugFormat("3 taskParseInt={}", static_cast<int>(side.start.parseMode));
  const TaskControls* shown = side.start.controls;
  debugFormat("4 progressId={}", idText(shown ? &shown->bar : nullptr));
  debugFormat("5 progressWheelId={}", idText(shown ? &shown->wheel : nullptr));
  debugFormat("7 progressPercentId={}", idText(shown ? &shown->percent : nullptr));
  debugFormat("8 stopBtId={}", idText(stopControl(side.start)));
  if (other) {
    analysisOutput_.emplace();
    debugFormat("analysisTaskVerboseM:-) alloc");
  }
  prepareControls(side);

  debugFormat("alloc class         : task{} ({})", sideName(other), joined(side.start.commands)[0]);
  const Outcome<void> started = other ? startAnalysisRun() : startLauncher();
  side.isUnderWay = started.ok();
  const std::string program = side.start.commands.front().front();
  logFormat("#3 failureInt={} ({})",
            static_cast<int>(started ? taskLauncher::launched : taskLauncher::programNotFound),
            program);
  debugFormat("tLEncStart - end    : Converting next step/file");
  if (started)
    return {};
  resetControls(side);
  release(side);
  return Failure{whyNotStarted(program, started.reason())};
}

Outcome<void> ToolTasks::startLauncher() {
  encoding_.launcher = std::make_unique<taskLauncher>(services_.loop);
  encoding_.launcher->setDelegate(this);
  // The launcher's text form loses every chunk with a byte above 127, and names have those.
  encoding_.launcher->dontConvertDataToString(true);
  encoding_.launcher->tellErrorsApart(true);
  if (encoding_.launcher->launchTasksWithArguments(joined(encoding_.start.commands)) !=
      taskLauncher::launched)
    return Failure{encoding_.launcher->launchFailure()};
  return {};
}

Outcome<void> ToolTasks::startAnalysisRun() {
  return analysisRun_.start(joined(other_.start.commands), other_.start.limits,
                            [this](ToolResult result) {
                              analysisOutput_ = std::move(result.output);
                              other_.isOverdue = result.isOverdue;
                              taskDidEnd(other_, result.status);
                            });
}

void ToolTasks::tasklauncherSuspend() {
  logLine("process             : suspend");
  if (TaskControls* controls = encoding_.start.controls) {
    progressActionStrBeforePause_ = controls->action.text();
    controls->action.setText(localisationString("D_action_pause"));
  }
  if (encoding_.launcher)
    encoding_.launcher->suspend();
}

void ToolTasks::tasklauncherResume() {
  logLine("process             : resume");
  if (TaskControls* controls = encoding_.start.controls)
    controls->action.setText(progressActionStrBeforePause_);
  if (encoding_.launcher)
    encoding_.launcher->resume();
}

bool ToolTasks::isEncodingSuspended() const {
  return encoding_.launcher && encoding_.launcher->isSuspended();
}

void ToolTasks::taskLauncherDidReceiveNewData(taskLauncher& launcher, std::string_view bytes) {
  receive(launcher, bytes, false);
}

void ToolTasks::taskLauncherDidReceiveNewError(taskLauncher& launcher, std::string_view bytes) {
  receive(launcher, bytes, true);
}

void ToolTasks::receive(taskLauncher& launcher, std::string_view bytes, bool isError) {
  debugFormat("tl didReceiveNewStr - deb : '{}'", bytes);
  if (&launcher != encoding_.launcher.get()) {
    logFormat("tl didReceiveNewStr :-( failure: {}", bytes);
    return;
  }
  Side& side = encoding_;
  if (side.start.parseMode == ParseMode::none)
    return;
  if (!side.start.takeOutputLine || isError) {
    side.lastOutput.append(bytes);
    keepEnd(side.lastOutput, longestLastOutput);
  }

  // A piece of output ends anywhere: only whole lines are read, the rest waits for its end.
  std::string& unfinished = side.unfinishedLines[isError ? 1 : 0];
  const std::size_t end = bytes.find_last_of("\r\n");
  if (end == std::string_view::npos) {
    unfinished.append(bytes);
    keepEnd(unfinished, longestLastOutput);
    return;
  }
  const std::string lines =
      std::exchange(unfinished, bytes.substr(end + 1)) + std::string(bytes.substr(0, end));
  for (const std::string_view line : splitLines(lines))
    readLine(side, line, isError);
}

void ToolTasks::readLine(Side& side, std::string_view line, bool isError) {
  if (side.start.takeOutputLine && !isError) {
    side.start.takeOutputLine(line);
    return;
  }
  side.troubles.addLine(line);
  if (side.start.parseMode == ParseMode::time)
    readLoudness(side, line);
  showProgress(side, line);
}

void ToolTasks::readLoudness(Side& side, std::string_view line) {
  const bool begins =
      contains(line, "Integrated loudness:") || contains(line, "[Parsed_volumedetect");
  if (!begins && side.loudnessText.empty())
    return;
  side.loudnessText.append(line).append("\n");
  Dico values;
  captureLoudness(side.loudnessText, values);
  if (!values.empty() || side.loudnessText.size() > longestLoudnessReport)
    side.loudnessText.clear();
  if (!values.empty())
    measured.emit(values);
}

void ToolTasks::showProgress(Side& side, std::string_view line) {
  TaskControls* controls = side.start.controls;
  if (!side.previousTime)
    return;
  if (!controls)
    return;
  const auto value = progressValue(side.start.parseMode, line);
  if (!value)
    return;
  const auto display =
      progressStep(*side.previousTime, *value, side.start.progressMax, side.start.parseMode,
                   controls->percent.text(), localisationString("th"));
  if (!display)
    return;
  controls->wheel.setTurning(display->wheelTurns);
  if (display->percentText) {
    controls->percent.setText(*display->percentText);
    if (!display->percentText->empty())
      logFormat("progress            : {}", *display->percentText);
  }
  if (display->starts)
    controls->bar.setIndeterminate(false);
  if (display->barValue)
    controls->bar.setValue(*display->barValue);
  side.previousTime = display->previous;
}

void ToolTasks::taskLauncherTaskDidEnd(taskLauncher& launcher) {
  if (&launcher != encoding_.launcher.get())
    return;
  encoding_.signal = launcher.terminationSignal();
  taskDidEnd(encoding_, launcher.terminationStatus());
}

void ToolTasks::taskDidEnd(Side& side, int status) {
  const std::string program = side.start.commands.back().front();
  logFormat("tlTaskDidEnd        : {}", program);
  if (status == taskLauncher::abortedStatus)
    logLine("tlTaskDidEnd        : tl interrupted");
  else if (status != 0)
    logFormat("tlTaskDidEnd        : tl task failed, error :-( {} ({})", status, program);
  else
    logLine("tlTaskDidEnd        : we are done.");
  side.status = status;
  for (const bool isError : {false, true})
    if (const std::string line = std::exchange(side.unfinishedLines[isError ? 1 : 0], {});
        !line.empty())
      readLine(side, line, isError);
  taskLauncherDone(&side == &other_);
}

void ToolTasks::taskLauncherTaskDidSuspend(taskLauncher&) {
  logLine("task suspended");
}

void ToolTasks::taskLauncherDone(bool other) {
  Side& side = this->side(other);
  logFormat("tlDone              : {} (isAnalysis={})",
            side.isUnderWay ? side.start.commands.back().front() : "none", other ? 1 : 0);
  if (!side.isUnderWay)
    return;
  TaskEnd end{other,
              side.status.value_or(taskLauncher::abortedStatus),
              side.isOverdue,
              side.signal,
              std::move(side.lastOutput),
              std::move(side.troubles)};
  resetControls(side);
  logMembers("pre  pre ", side);
  release(side);
  logMembers("post post", side);
  ended.emit(end);
}

void ToolTasks::logMembers(const char* when, const Side& side) {
  const TaskControls* shown = side.start.controls;
  debugFormat(
      "{} progressId={}, progressWheelId={}, progressPercentId={}, stopBtId={}, prevTime={}", when,
      idText(shown ? &shown->bar : nullptr), idText(shown ? &shown->wheel : nullptr),
      idText(shown ? &shown->percent : nullptr), idText(stopControl(side.start)),
      side.previousTime ? fmt::format("{}", *side.previousTime) : "nil");
}

void ToolTasks::endAll() {
  for (Side* side : {&encoding_, &other_}) {
    if (!side->isUnderWay)
      continue;
    resetControls(*side);
    release(*side);
  }
}

void ToolTasks::prepareControls(const Side& side) {
  if (TaskControls* controls = side.start.controls) {
    const bool known = side.start.progressMax > 0;
    progressActionStrBeforePause_.clear();
    controls->bar.setValue(0);
    controls->bar.setMaximum(side.start.progressMax);
    controls->bar.setIndeterminate(!known);
    if (!known)
      logFormat("Progress Max Value  : {:.3f}", side.start.progressMax);
  }
  if (SegmentedControl* stop = stopControl(side.start)) {
    stop->setHidden(false);
    stop->setEnabled(true);
  }
}

void ToolTasks::resetControls(const Side& side) {
  if (TaskControls* controls = side.start.controls) {
    controls->bar.setValue(0);
    controls->bar.setIndeterminate(false);
    controls->percent.setText("");
    controls->wheel.setTurning(false);
  }
  if (SegmentedControl* stop = stopControl(side.start)) {
    stop->setHidden(true);
    stop->setEnabled(false);
  }
}

void ToolTasks::release(Side& side) {
  if (&side == &other_)
    analysisRun_.cancel();
  if (side.launcher) {
    side.launcher->setDelegate(nullptr);
    side.launcher->tasklauncherTerminate();
    // This may run inside one of the launcher's own callbacks: it goes when the loop is free.
    services_.loop.runSoon([ended = std::shared_ptr<taskLauncher>(std::move(side.launcher))] {});
  }
  side = Side();
}

}  // namespace tessarin
