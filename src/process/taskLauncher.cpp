#include "process/taskLauncher.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "platform/Alerts.h"
#include "platform/Bundle.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "process/chain.h"

namespace tessarin {

namespace {

// A pipe of the system holds this much; one read per turn of the loop takes it all.
constexpr std::size_t readSize = 65536;

// How long after the last command's exit its output may stay open in the hands of a process that
// it left behind, before the run ends all the same.
constexpr std::chrono::milliseconds outputGrace(500);

bool somethingAt(const std::string& path) {
  return fileState(path).has_value();
}

// The path of a program; nothing when it is neither a path nor a resource. Programs of the system
// are refused on purpose: callers say which program they mean.
std::optional<std::string> resolveProgram(const std::string& name) {
  if (somethingAt(name))
    return name;
  auto resource = Bundle::main().pathForResource(withoutExtension(name), pathExtension(name));
  if (resource && somethingAt(*resource))
    return resource;
  return std::nullopt;
}

}  // namespace

taskLauncher::taskLauncher(RunLoop& loop) : loop_(loop) {}

taskLauncher::~taskLauncher() {
  if (!tasks_)
    userAlerts().show({"taskLauncher.m :-( try to release a yet-released task", ""});
  stopListening();
}

int taskLauncher::launchTasksWithArguments(const Arguments& arguments) {
  if (arguments.empty())
    return noArguments;
  if (tasks_ && !tasks_->empty()) {
    logLine("taskLauncher        :-( launched before");
    return launchedBefore;
  }
  terminateNoAbort_ = false;
  isRunning_ = true;
  isSuspended_ = false;
  const auto segments = splitCommands(arguments);
  if (!segments)
    return emptyCommand;

  tasks_.emplace();
  auto commands = commandsOf(*segments);
  if (!commands)
    return programNotFound;
  Outcome<Pipe> output = makePipe();
  Outcome<Pipe> error = makePipe();
  if (!output || !error) {
    launchFailure_ = output ? error.reason() : output.reason();
    logFormat("taskLauncher        :-( {}", launchFailure_);
    return programNotFound;
  }
  Outcome<std::vector<ChildProcess>> children =
      startChain(std::move(*commands), ChildStream::descriptor(output->writeEnd.number()),
                 ChildStream::descriptor(error->writeEnd.number()));
  if (!children) {
    launchFailure_ = children.reason();
    logFormat("taskLauncher        :-( {}", launchFailure_);
    return programNotFound;
  }
  tasks_ = std::move(*children);

  buffer_.resize(readSize);
  stdErr_.descriptor = std::move(error->readEnd);
  output_.descriptor = std::move(output->readEnd);
  watchStream(stdErr_);
  watchStream(output_);
  // The first processes of a chain are watched, too, so that they are reaped when they exit.
  for (ChildProcess& task : *tasks_) {
    const bool last = &task == &tasks_->back();
    exitWatches_.push_back(std::make_unique<ExitWatch>(
        loop_, task, last ? RunLoop::Task([this] { lastTaskExited(); }) : RunLoop::Task([] {})));
  }
  return launched;
}

std::optional<std::vector<ChildSetup>> taskLauncher::commandsOf(
    const std::vector<Arguments>& segments) const {
  std::vector<ChildSetup> commands;
  commands.reserve(segments.size());
  for (const Arguments& segment : segments) {
    const auto program = resolveProgram(segment.front());
    if (!program) {
      logFormat("taskLauncher        :-( '{}' not found", segment.front());
      return std::nullopt;
    }
    commands.push_back(toolCommand(*program, Arguments(segment.begin() + 1, segment.end())));
  }
  return commands;
}

// ---- Reading

void taskLauncher::watchStream(Stream& stream) {
  setNonBlocking(stream.descriptor.number());
  stream.watch =
      loop_.watchReadable(stream.descriptor.number(), [this, &stream] { gotData(stream); });
}

void taskLauncher::closeStream(Stream& stream) {
  if (stream.watch != 0)
    loop_.cancel(std::exchange(stream.watch, 0));
  stream.descriptor.close();
  stream.owed = 0;
}

// Takes one piece; the other stream and everybody else on the loop get their turn before the next.
void taskLauncher::gotData(Stream& stream) {
  const auto count = readSome(stream.descriptor.number(), buffer_.data(), buffer_.size());
  if (count < 0 && errno == EAGAIN)
    return;
  if (count > 0) {
    const auto size = static_cast<std::size_t>(count);
    stream.owed -= std::min(stream.owed, size);
    sendNotificationWithData(stream, {buffer_.data(), size});
    if (isRunning_)
      endIfOver();
    return;
  }
  // The end of the stream. It is not read again until the exit, which would take all the
  // processor's time: the exit has a watch of its own.
  closeStream(stream);
  endIfOver();
}

void taskLauncher::lastTaskExited() {
  lastTaskExited_ = true;
  for (Stream* stream : {&stdErr_, &output_}) {
    if (stream->descriptor.isOpen())
      stream->owed = bytesWaiting(stream->descriptor.number());
  }
  grace_ = loop_.runAfter(outputGrace, [this] {
    graceIsOver_ = true;
    endIfOver();
  });
  endIfOver();
}

// Ends the run when the last process has exited and all that it wrote was delivered: both streams
// are at their end, or after the grace what the process itself left in them has been read.
void taskLauncher::endIfOver() {
  if (!lastTaskExited_)
    return;
  const bool atEnd = !stdErr_.descriptor.isOpen() && !output_.descriptor.isOpen();
  const bool cutOff = graceIsOver_ && stdErr_.owed == 0 && output_.owed == 0;
  if (!atEnd && !cutOff)
    return;
  const ExitStatus status = tasks_->back().exitStatus().value_or(ExitStatus{});
  terminationStatus_ = status.number();
  terminationSignal_ = status.signal;
  terminateNoAbort_ = true;
  tasklauncherTerminate();
}

// ---- Ending, stopping and continuing

void taskLauncher::stopListening() {
  closeStream(stdErr_);
  closeStream(output_);
  exitWatches_.clear();
  if (grace_ != 0)
    loop_.cancel(std::exchange(grace_, 0));
  broadcasts().disconnect(std::exchange(listener_, 0));
}

void taskLauncher::tasklauncherTerminate() {
  isRunning_ = false;
  if (!tasks_)
    return;
  stopListening();
  resume();
  for (ChildProcess& task : *tasks_)
    task.kill();
  waitForAll(*tasks_, ChildProcess::goingTime);
  if (!terminateNoAbort_)
    terminationStatus_ = abortedStatus;
  notifyThatTaskEnded();
}

void taskLauncher::suspend() {
  if (!tasks_ || isSuspended_)
    return;
  std::for_each(tasks_->rbegin(), tasks_->rend(), [](ChildProcess& task) { task.suspend(); });
  isSuspended_ = true;
  if (delegate_ != nullptr)
    delegate_->taskLauncherTaskDidSuspend(*this);
}

void taskLauncher::resume() {
  if (!tasks_ || !isSuspended_)
    return;
  std::for_each(tasks_->begin(), tasks_->end(), [](ChildProcess& task) { task.resume(); });
  isSuspended_ = false;
  if (delegate_ != nullptr)
    delegate_->taskLauncherTaskDidResume(*this);
}

std::int32_t taskLauncher::uid() {
  if (uid_ != 0)
    return uid_;
  uid_ = static_cast<std::int32_t>(std::time(nullptr));
  listener_ = broadcasts().connect([this](std::string_view name, std::int32_t uid) {
    if (uid != uid_)
      return;
    if (name == "fabKillTasks")
      tasklauncherTerminate();
    else if (name == "fabPauseTasks")
      suspend();
    else if (name == "fabResumeTasks")
      resume();
  });
  return uid_;
}

taskLauncher::Broadcasts& taskLauncher::broadcasts() {
  static Broadcasts all;
  return all;
}

// ---- Telling the delegate

void taskLauncher::sendNotificationWithData(const Stream& stream, std::string_view data) {
  if (delegate_ == nullptr)
    return;
  if (errorsApart_ && &stream == &stdErr_)
    delegate_->taskLauncherDidReceiveNewError(*this, data);
  else if (convert_)
    delegate_->taskLauncherDidReceiveNewData(*this, data);
  else
    sendNotificationWithString(data);
}

void taskLauncher::sendNotificationWithString(std::string_view data) {
  if (isAscii(data))
    delegate_->taskLauncherDidReceiveNewString(*this, std::string(data));
}

void taskLauncher::notifyThatTaskEnded() {
  if (delegate_ == nullptr || alreadyNotified_)
    return;
  alreadyNotified_ = true;
  delegate_->taskLauncherTaskDidEnd(*this);
}

void logTaskEnd(std::string_view program, int status) {
  logFormat("tlTaskDidEnd        : {}", program);
  if (status == taskLauncher::abortedStatus)
    logLine("tlTaskDidEnd        : tl interrupted");
  else if (status != 0)
    logFormat("tlTaskDidEnd        : tl task failed, error :-( {} ({})", status, program);
  else
    logLine("tlTaskDidEnd        : we are done.");
}

}  // namespace tessarin
