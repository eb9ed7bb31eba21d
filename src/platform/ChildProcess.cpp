#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <thread>
#include <utility>

#include "classShared/Outcome.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "platform/childStart.h"

namespace tessarin {

namespace {

// How often a child without an exit descriptor is asked for while it is waited for.
constexpr std::chrono::milliseconds askingInterval(5);

// Children that were killed and did not go in time; reaped when the next one is started.
class LeftBehind {
 public:
  void add(pid_t pid) {
    const std::lock_guard<std::mutex> lock(mutex_);
    pids_.push_back(pid);
  }
  void reap() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::erase_if(pids_, [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
  }

 private:
  std::mutex mutex_;
  std::vector<pid_t> pids_;
};

LeftBehind& leftBehind() {
  static LeftBehind children;
  return children;
}

// The texts as exec wants them; they are borrowed.
std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (const std::string& text : texts)
    result.push_back(const_cast<char*>(text.c_str()));  // exec does not write to them
  result.push_back(nullptr);
  return result;
}

// With SIGCHLD ignored, as some starters leave it, the kernel reaps children itself and their exit
// status is lost.
void makeChildrenWaitable() {
  struct sigaction action {};
  ::sigaction(SIGCHLD, nullptr, &action);
  if (action.sa_handler != SIG_IGN)
    return;
  action.sa_handler = SIG_DFL;
  ::sigaction(SIGCHLD, &action, nullptr);
}

// Makes the new process, with all signals blocked so that no handler of ours runs in it. By
// vfork(2): it borrows our memory until it has become the program, so the start costs the same from
// a window that holds hundreds of megabytes. That is safe for two reasons: nothing but
// async-signal-safe calls happens before, and this thread stands still as long. Never inlined: the
// compiler must not keep anything of the caller's in what the new process overwrites.
__attribute__((noinline)) pid_t makeProcess(const ChildStart& start) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t pid = ::vfork();
  if (pid == 0)
    becomeProgram(start);
  const int error = errno;
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return pid;
}

// What the new process reports; nothing when it has become the program, which closes the pipe.
std::optional<StartFailure> readFailure(int descriptor) {
  StartFailure failure{};
  if (readSome(descriptor, &failure, sizeof failure) == sizeof failure)
    return failure;
  return std::nullopt;
}

std::string words(const StartFailure& failure, const ChildSetup& setup) {
  switch (failure.step) {
    case StartFailure::Step::folder:
      return fmt::format("'{}' cannot be entered: {}", setup.workingFolder,
                         systemReason(failure.error));
    case StartFailure::Step::streams:
      return fmt::format("no standard streams for '{}': {}", setup.program,
                         systemReason(failure.error));
    case StartFailure::Step::program:
      break;
  }
  return fmt::format("'{}' cannot be started: {}", setup.program, systemReason(failure.error));
}

Descriptor openExitDescriptor(pid_t pid) {
  return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

}  // namespace

Outcome<ChildProcess> ChildProcess::start(const ChildSetup& setup) {
  leftBehind().reap();
  makeChildrenWaitable();

  const Descriptor nullDevice(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nullDevice.isOpen())
    return Failure{"/dev/null cannot be opened: " + systemReason(errno)};
  const auto number = [&](const ChildStream& stream, int own) {
    switch (stream.kind_) {
      case ChildStream::Kind::nullDevice:
        return nullDevice.number();
      case ChildStream::Kind::inherited:
        return own;
      case ChildStream::Kind::log:
        return logDescriptor();
      case ChildStream::Kind::descriptor:
        break;
    }
    return stream.number_;
  };

  TESSARIN_TAKE(Pipe report, makePipe());
  // The report's end must not lie where the child puts its standard streams.
  Descriptor reportEnd(::fcntl(report.writeEnd.number(), F_DUPFD_CLOEXEC, 3));
  report.writeEnd.close();
  if (!reportEnd.isOpen())
    return Failure{"no descriptor: " + systemReason(errno)};

  std::vector<std::string> arguments = setup.arguments;
  arguments.insert(arguments.begin(), setup.program);
  const std::vector<char*> argumentPointers = pointers(arguments);
  const std::vector<char*> environmentPointers =
      setup.environment ? pointers(*setup.environment) : std::vector<char*>();

  ChildStart start{};
  start.program = setup.program.c_str();
  start.arguments = argumentPointers.data();
  start.environment = setup.environment ? environmentPointers.data() : ::environ;
  start.workingFolder = setup.workingFolder.empty() ? nullptr : setup.workingFolder.c_str();
  start.standard = {number(setup.input, STDIN_FILENO), number(setup.output, STDOUT_FILENO),
                    number(setup.error, STDERR_FILENO)};
  start.report = reportEnd.number();
  start.parent = ::getpid();
  start.ownSession = setup.ownSession;
  const pid_t pid = makeProcess(start);
  if (pid < 0)
    return Failure{fmt::format("no new process for '{}': {}", setup.program, systemReason(errno))};

  ChildProcess child(pid, setup.ownSession,
                     setup.exitDescriptor ? openExitDescriptor(pid) : Descriptor());
  reportEnd.close();  // ours; the child's goes with its exec
  if (const auto failure = readFailure(report.readEnd.number())) {
    child.wait();
    return Failure{words(*failure, setup)};
  }
  return child;
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, -1)),
      leadsGroup_(other.leadsGroup_),
      exitDescriptor_(std::move(other.exitDescriptor_)),
      exitStatus_(other.exitStatus_),
      killed_(other.killed_) {}

std::optional<ExitStatus> ChildProcess::exitStatus() {
  reap(WNOHANG);
  return exitStatus_;
}

ExitStatus ChildProcess::wait() {
  while (!reap(0)) {
  }
  return *exitStatus_;
}

std::optional<ExitStatus> ChildProcess::waitFor(std::chrono::milliseconds longest) {
  const auto deadline = std::chrono::steady_clock::now() + longest;
  while (!exitStatus()) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0)
      break;
    if (exitDescriptor_.isOpen()) {
      pollfd entry{exitDescriptor_.number(), POLLIN, 0};
      ::poll(&entry, 1, static_cast<int>(std::min<std::int64_t>(left.count(), 60000)));
    } else {
      std::this_thread::sleep_for(std::min(left, askingInterval));
    }
  }
  return exitStatus_;
}

// Takes the exit status when the child has exited; true when there is one now.
bool ChildProcess::reap(int options) {
  if (exitStatus_ || pid_ < 0)
    return true;
  int status = 0;
  const pid_t pid = ::waitpid(pid_, &status, options);
  if (pid == pid_) {
    exitStatus_ =
        WIFSIGNALED(status) ? ExitStatus{0, WTERMSIG(status)} : ExitStatus{WEXITSTATUS(status), 0};
  } else if (pid < 0 && errno != EINTR) {
    // Somebody else in this process has reaped it; how it ended is lost.
    exitStatus_ = ExitStatus{EXIT_FAILURE, 0};
  }
  return exitStatus_.has_value();
}

void ChildProcess::sendSignal(int signal) {
  // Not yet reaped, so the number cannot have passed to another process or group.
  if (pid_ > 0 && isRunning())
    ::kill(leadsGroup_ ? -pid_ : pid_, signal);
}

void ChildProcess::suspend() {
  sendSignal(SIGSTOP);
}

void ChildProcess::resume() {
  sendSignal(SIGCONT);
}

void ChildProcess::kill() {
  if (!killed_)
    killed_ = std::chrono::steady_clock::now();
  sendSignal(SIGKILL);
}

void ChildProcess::end() {
  if (pid_ < 0 || exitStatus())
    return;
  kill();
  if (!waitFor(std::chrono::ceil<std::chrono::milliseconds>(*killed_ + goingTime -
                                                            std::chrono::steady_clock::now()))) {
    logFormat("child process       :-( {} does not go", pid_);
    leftBehind().add(pid_);
  }
}

}  // namespace tessarin
