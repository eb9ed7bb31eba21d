#include "jobs/JobTool.h"

#include <fmt/format.h>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "jobs/failureReason.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

// What is kept of the output, to tell why the tool failed.
constexpr std::size_t longestLastOutput = 8u << 10;

// A loudness report is a few lines; anything longer is no such report.
constexpr std::size_t longestLoudnessReport = 4u << 10;

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

Outcome<void> JobTool::start(ToolStart start) {
  release();
  start_ = std::move(start);
  progress_ = {0, start_.progressMax, start_.progressMax <= 0};
  previous_ = -1;
  unfinishedLines_ = {};
  troubles_ = RunTroubles(start_.source, start_.output);
  loudnessText_.clear();
  lastOutput_.clear();
  status_.reset();
  signal_ = 0;
  const std::string program = start_.command.front();
  debugFormat("2 progressMax={:f}", start_.progressMax);
  debugFormat("3 taskParseInt={}", static_cast<int>(start_.parseMode));
  if (progress_.isIndeterminate)
    logFormat("Progress Max Value  : {:.3f}", start_.progressMax);
  debugFormat("alloc class         : task ({})", program);
  auto launcher = std::make_unique<taskLauncher>(loop_);
  launcher->setDelegate(this);
  // The launcher's text form loses every chunk with a byte above 127, and names have those.
  launcher->dontConvertDataToString(true);
  launcher->tellErrorsApart(true);
  const bool isLaunched =
      launcher->launchTasksWithArguments(start_.command) == taskLauncher::launched;
  logFormat("#3 failureInt={} ({})",
            static_cast<int>(isLaunched ? taskLauncher::launched : taskLauncher::programNotFound),
            program);
  debugFormat("tLEncStart - end    : Converting next step/file");
  if (!isLaunched)
    return Failure{whyNotStarted(program, launcher->launchFailure())};
  launcher_ = std::move(launcher);
  return {};
}

void JobTool::suspend() {
  if (launcher_)
    launcher_->suspend();
}

void JobTool::resume() {
  if (launcher_)
    launcher_->resume();
}

void JobTool::taskLauncherDidReceiveNewData(taskLauncher& launcher, std::string_view bytes) {
  receive(launcher, bytes, false);
}

void JobTool::taskLauncherDidReceiveNewError(taskLauncher& launcher, std::string_view bytes) {
  receive(launcher, bytes, true);
}

void JobTool::receive(taskLauncher& launcher, std::string_view bytes, bool isError) {
  debugFormat("tl didReceiveNewStr - deb : '{}'", bytes);
  if (&launcher != launcher_.get()) {
    logFormat("tl didReceiveNewStr :-( failure: {}", bytes);
    return;
  }
  if (start_.parseMode == ParseMode::none)
    return;
  if (!start_.takeOutputLine || isError) {
    lastOutput_.append(bytes);
    keepEnd(lastOutput_, longestLastOutput);
  }

  // A piece of output ends anywhere: only whole lines are read, the rest waits for its end.
  std::string& unfinished = unfinishedLines_[isError ? 1 : 0];
  const std::size_t end = bytes.find_last_of("\r\n");
  if (end == std::string_view::npos) {
    unfinished.append(bytes);
    keepEnd(unfinished, longestLastOutput);
    return;
  }
  const std::string lines =
      std::exchange(unfinished, bytes.substr(end + 1)) + std::string(bytes.substr(0, end));
  for (const std::string_view line : splitLines(lines))
    readLine(line, isError);
}

void JobTool::readLine(std::string_view line, bool isError) {
  if (start_.takeOutputLine && !isError) {
    start_.takeOutputLine(line);
    return;
  }
  troubles_.addLine(line);
  if (start_.parseMode == ParseMode::time)
    readLoudness(line);
  readProgress(line);
}

void JobTool::readLoudness(std::string_view line) {
  const bool begins =
      contains(line, "Integrated loudness:") || contains(line, "[Parsed_volumedetect");
  if (!begins && loudnessText_.empty())
    return;
  loudnessText_.append(line).append("\n");
  Dico values;
  captureLoudness(loudnessText_, values);
  if (!values.empty() || loudnessText_.size() > longestLoudnessReport)
    loudnessText_.clear();
  if (!values.empty())
    measured.emit(values);
}

void JobTool::readProgress(std::string_view line) {
  const auto value = progressValue(start_.parseMode, line);
  if (!value)
    return;
  const auto display = progressStep(previous_, *value, start_.progressMax, start_.parseMode,
                                    progress_.percent, localisationString("th"));
  if (!display)
    return;
  progress_.isTurning = display->wheelTurns;
  if (display->percentText) {
    progress_.percent = *display->percentText;
    if (!progress_.percent.empty())
      logFormat("progress            : {}", progress_.percent);
  }
  if (display->starts)
    progress_.isIndeterminate = false;
  if (display->barValue)
    progress_.value = *display->barValue;
  previous_ = display->previous;
  progressed.emit(progress_);
}

void JobTool::taskLauncherTaskDidEnd(taskLauncher& launcher) {
  if (&launcher != launcher_.get())
    return;
  const std::string& program = start_.command.front();
  const int status = launcher.terminationStatus();
  logTaskEnd(program, status);
  status_ = status;
  signal_ = launcher.terminationSignal();
  for (const bool isError : {false, true})
    if (const std::string line = std::exchange(unfinishedLines_[isError ? 1 : 0], {});
        !line.empty())
      readLine(line, isError);
  end();
}

void JobTool::taskLauncherTaskDidSuspend(taskLauncher&) {
  logLine("task suspended");
}

void JobTool::end() {
  logFormat("tlDone              : {} (isAnalysis=0)",
            launcher_ ? start_.command.front() : std::string("none"));
  if (!launcher_)
    return;
  const ToolEnd end{status_.value_or(taskLauncher::abortedStatus), signal_, std::move(lastOutput_),
                    std::move(troubles_)};
  release();
  ended.emit(end);
}

void JobTool::release() {
  if (!launcher_)
    return;
  launcher_->setDelegate(nullptr);
  launcher_->tasklauncherTerminate();
  // This may run inside one of the launcher's own callbacks: it goes when the loop is free.
  loop_.runSoon([ended = std::shared_ptr<taskLauncher>(std::move(launcher_))] {});
}

}  // namespace tessarin
