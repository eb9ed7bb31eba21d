#include "process/ToolRun.h"

#include <algorithm>
#include <utility>

#include "classShared/log.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

using std::chrono::steady_clock;

// A look that comes this much too late was held up by a stop of the whole program: the tool has
// not been listened to, so nothing is known about it.
constexpr std::chrono::seconds heldUp(2);

// What is kept of the errors for the log.
constexpr std::size_t longestErrors = 8u << 10;

void appendUpTo(std::string& text, std::string_view bytes, std::size_t size) {
  text.append(bytes.substr(0, size - std::min(text.size(), size)));
}

}  // namespace

std::optional<std::string> reportOf(ToolResult result) {
  if (result.isOverdue || result.status == taskLauncher::abortedStatus)
    return std::nullopt;
  auto text = decodedOutput(std::move(result.output));
  return text && !isBlankOutput(*text) ? text : std::nullopt;
}

Outcome<void> ToolRun::start(const Arguments& command, const ToolLimits& limits, Ended ended,
                             Heard heard) {
  cancel();
  if (command.empty())
    return Failure();
  name_ = fileName(command.front());
  limits_ = limits;
  result_ = {};
  errors_.clear();
  launcher_ = std::make_unique<taskLauncher>(loop_);
  launcher_->setDelegate(this);
  launcher_->dontConvertDataToString(true);
  launcher_->tellErrorsApart(!limits.keepsErrors);
  if (launcher_->launchTasksWithArguments(command) != taskLauncher::launched) {
    const std::string failure = launcher_->launchFailure();
    launcher_.reset();
    return Failure{failure};
  }
  ended_ = std::move(ended);
  heardOutput_ = std::move(heard);
  started_ = heard_ = steady_clock::now();
  watchTime();
  return {};
}

void ToolRun::cancel() {
  loop_.cancel(std::exchange(timer_, 0));
  if (!launcher_)
    return;
  launcher_->setDelegate(nullptr);
  launcher_->tasklauncherTerminate();
  launcher_.reset();
  ended_ = nullptr;
}

void ToolRun::watchTime() {
  auto due = steady_clock::time_point::max();
  if (limits_.whole.count() > 0)
    due = started_ + limits_.whole;
  if (limits_.silence.count() > 0)
    due = std::min(due, heard_ + limits_.silence);
  if (due == steady_clock::time_point::max())
    return;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - steady_clock::now());
  timer_ = loop_.runAfter(std::max(left, std::chrono::milliseconds(0)), [this, due] {
    timer_ = 0;
    look(due);
  });
}

void ToolRun::look(steady_clock::time_point due) {
  const auto now = steady_clock::now();
  if (now - due > heldUp) {
    started_ = heard_ = now;
  } else if (limits_.whole.count() > 0 && now >= started_ + limits_.whole) {
    logFormat("tool run            :-( {} is not ready after {} s", name_,
              std::chrono::duration<double>(limits_.whole).count());
    result_.isOverdue = true;
  } else if (limits_.silence.count() > 0 && now >= heard_ + limits_.silence) {
    logFormat("tool run            :-( {} says nothing for {} s", name_,
              std::chrono::duration<double>(limits_.silence).count());
    result_.isOverdue = true;
  }
  if (result_.isOverdue)
    launcher_->tasklauncherTerminate();
  else
    watchTime();
}

void ToolRun::taskLauncherDidReceiveNewData(taskLauncher&, std::string_view bytes) {
  heard_ = steady_clock::now();
  appendUpTo(result_.output, bytes, limits_.output);
  if (heardOutput_)
    heardOutput_(result_.output);
}

void ToolRun::taskLauncherDidReceiveNewError(taskLauncher&, std::string_view bytes) {
  heard_ = steady_clock::now();
  appendUpTo(errors_, bytes, longestErrors);
}

void ToolRun::taskLauncherTaskDidEnd(taskLauncher& launcher) {
  loop_.cancel(std::exchange(timer_, 0));
  result_.status = launcher.terminationStatus();
  if (!errors_.empty())
    logFormat("{}: {}", name_, errors_);
  launcher.setDelegate(nullptr);
  // This is a call of the launcher's own: it goes when the loop is free.
  loop_.runSoon([over = std::shared_ptr<taskLauncher>(std::move(launcher_))] {});
  const Ended ended = std::exchange(ended_, nullptr);
  ended(std::move(result_));
}

}  // namespace tessarin
