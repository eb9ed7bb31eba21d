#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <thread>

#include "platform/ChildProcess.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/children.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

// Reads to the end of the pipe.
std::string readAll(const Descriptor& descriptor) {
  std::string text;
  char buffer[4096];
  ssize_t count = 0;
  while ((count = ::read(descriptor.number(), buffer, sizeof buffer)) > 0)
    text.append(buffer, static_cast<std::size_t>(count));
  return text;
}

// The child's standard output; its exit status lands in `ended`.
std::string outputOf(ChildSetup setup, ExitStatus* ended = nullptr) {
  Pipe pipe = std::move(*makePipe());
  setup.output = ChildStream::descriptor(pipe.writeEnd.number());
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  pipe.writeEnd.close();
  if (!child) {
    ADD_FAILURE() << child.reason();
    return {};
  }
  std::string text = readAll(pipe.readEnd);
  const ExitStatus status = child->wait();
  if (ended != nullptr)
    *ended = status;
  return text;
}

// Whether every holder of the pipe's other end goes, up to a generous limit.
bool comesToItsEnd(const Descriptor& readEnd) {
  pollfd entry{readEnd.number(), 0, 0};  // asks for the hang-up alone
  return ::poll(&entry, 1, 20000) == 1;
}

// Waits until the process is in the state, up to a generous limit.
bool comesToState(pid_t pid, char letter) {
  for (int round = 0; round < 5000 && test::processLetter(pid) != letter; ++round)
    std::this_thread::sleep_for(milliseconds(2));
  return test::processLetter(pid) == letter;
}

TEST(ChildProcessTest, argumentsEnvironmentAndFolderArriveUnchanged) {
  const test::ScopedTemporaryFolder folder;
  ChildSetup setup{test::childPath("childReport"), {"", "two words", "Été à Köln.MTS", "*;$(x)"}};
  setup.environment = {"ONE=1", "LC_CTYPE=en_US.UTF-8"};
  setup.workingFolder = folder.path();
  const std::string report = outputOf(setup);
  EXPECT_THAT(report, HasSubstr("argument " + setup.program + "\nargument \nargument two words\n" +
                                "argument Été à Köln.MTS\nargument *;$(x)\n" +
                                "environment ONE=1\nenvironment LC_CTYPE=en_US.UTF-8\nfolder "));
  EXPECT_THAT(report, HasSubstr("folder " + folder.path() + "\n"));
}

TEST(ChildProcessTest, startsCleanWhateverOurOwnStateIs) {
  // Descriptors that are not close-on-exec, as libraries leave them, and signals that we ignore,
  // catch or block.
  const int leaked = ::dup(STDERR_FILENO);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGUSR1, [](int) {});
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigaddset(&blocked, SIGUSR2);
  ::sigprocmask(SIG_BLOCK, &blocked, &before);

  const std::string report = outputOf({test::childPath("childReport"), {}});

  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  std::signal(SIGUSR1, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
  ::close(leaked);
  EXPECT_THAT(report, Not(HasSubstr("blocked ")));
  EXPECT_THAT(report, Not(HasSubstr("handled ")));
  EXPECT_THAT(report, HasSubstr("descriptor 2\n"));
  EXPECT_THAT(report, Not(HasSubstr("descriptor " + std::to_string(leaked) + "\n")));
  EXPECT_THAT(report, HasSubstr("parentDeathSignal 9\n"));
  EXPECT_THAT(report, HasSubstr("leadsSession 1\n"));
  EXPECT_THAT(report, HasSubstr("input empty\n"));
}

TEST(ChildProcessTest, whatCannotBeStartedIsAFailureWithItsReason) {
  const test::ScopedTemporaryFolder folder;
  const std::string text = folder.write("text", "no program");
  const std::string damaged = folder.write("damaged", "no program");
  ASSERT_EQ(::chmod(damaged.c_str(), 0700), 0);
  const std::size_t before = test::openDescriptors();

  const auto reasonOf = [](const ChildSetup& setup) {
    const Outcome<ChildProcess> child = ChildProcess::start(setup);
    return child ? std::string("started") : child.reason();
  };
  EXPECT_EQ(reasonOf({"/nowhere/tool", {}}),
            "'/nowhere/tool' cannot be started: No such file or directory");
  EXPECT_EQ(reasonOf({text, {}}), "'" + text + "' cannot be started: Permission denied");
  EXPECT_EQ(reasonOf({damaged, {}}), "'" + damaged + "' cannot be started: Exec format error");
  ChildSetup elsewhere{test::childPath("childReport"), {}};
  elsewhere.workingFolder = "/nowhere";
  EXPECT_EQ(reasonOf(elsewhere), "'/nowhere' cannot be entered: No such file or directory");
  ChildSetup streamless{test::childPath("childReport"), {}};
  streamless.input = ChildStream::descriptor(9999);
  EXPECT_THAT(reasonOf(streamless), HasSubstr("Bad file descriptor"));
  // Longer than the system takes.
  EXPECT_THAT(reasonOf({test::childPath("childReport"), {std::string(1 << 20, 'x')}}),
              HasSubstr("Argument list too long"));

  EXPECT_FALSE(test::hasChildren());
  EXPECT_EQ(test::openDescriptors(), before);
}

TEST(ChildProcessTest, streamsMayLieOnAnyDescriptor) {
  // Standard error on the place of standard output and the other way round.
  const test::ScopedTemporaryFolder folder;
  const int output = ::open(folder.file("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int error = ::open(folder.file("error").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int keptOutput = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  const int keptError = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  ::dup2(error, STDOUT_FILENO);
  ::dup2(output, STDERR_FILENO);
  ChildSetup setup{"/bin/sh", {"-c", "echo out; echo err >&2"}};
  setup.output = ChildStream::descriptor(STDERR_FILENO);
  setup.error = ChildStream::descriptor(STDOUT_FILENO);
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  ::dup2(keptOutput, STDOUT_FILENO);
  ::dup2(keptError, STDERR_FILENO);
  for (const int descriptor : {output, error, keptOutput, keptError})
    ::close(descriptor);
  ASSERT_TRUE(child) << child.reason();
  child->wait();
  EXPECT_EQ(folder.read("output"), "out\n");
  EXPECT_EQ(folder.read("error"), "err\n");
}

TEST(ChildProcessTest, suspendResumeAndKillReachAChildThatIgnoresEverything) {
  Outcome<ChildProcess> child = ChildProcess::start({test::childPath("childHang"), {}});
  ASSERT_TRUE(child);
  EXPECT_TRUE(comesToState(child->pid(), 'S'));
  child->suspend();
  EXPECT_TRUE(comesToState(child->pid(), 'T'));
  child->resume();
  EXPECT_TRUE(comesToState(child->pid(), 'S'));
  child->sendSignal(SIGTERM);
  EXPECT_FALSE(child->waitFor(milliseconds(30)));
  child->suspend();
  child->kill();  // a stopped child, too
  EXPECT_EQ(child->wait().signal, SIGKILL);
  EXPECT_FALSE(child->isRunning());
  child->resume();  // after the end: nothing
  EXPECT_FALSE(test::hasChildren());
}

TEST(ChildProcessTest, killTakesTheHelpersOfAShellAlong) {
  Pipe pipe = std::move(*makePipe());
  ChildSetup setup{"/bin/sh", {"-c", test::childPath("childHang") + " & echo $!; wait"}};
  setup.output = ChildStream::descriptor(pipe.writeEnd.number());
  Outcome<ChildProcess> child = ChildProcess::start(setup);
  pipe.writeEnd.close();
  ASSERT_TRUE(child);
  char text[64] = {};
  ASSERT_GT(::read(pipe.readEnd.number(), text, sizeof text - 1), 0);
  child->kill();
  child->wait();
  const bool helperWent = comesToItsEnd(pipe.readEnd);
  EXPECT_TRUE(helperWent);
  if (!helperWent)
    ::kill(std::atoi(text), SIGKILL);
}

TEST(ChildProcessTest, theExitStatusIsKnownEvenIfChildSignalsWereIgnored) {
  std::signal(SIGCHLD, SIG_IGN);
  ExitStatus ended;
  outputOf({test::childPath("childEnd"), {"exit", "5"}}, &ended);
  std::signal(SIGCHLD, SIG_DFL);
  EXPECT_EQ(ended.number(), 5);
}

TEST(ChildProcessTest, childrenDieWithAProcessThatCrashes) {
  Pipe pipe = std::move(*makePipe());
  const pid_t crashing = ::fork();
  if (crashing == 0) {
    ChildSetup setup{test::childPath("childHang"), {}};
    setup.output = ChildStream::descriptor(pipe.writeEnd.number());
    const Outcome<ChildProcess> child = ChildProcess::start(setup);
    ::kill(::getpid(), SIGKILL);
  }
  pipe.writeEnd.close();
  ::waitpid(crashing, nullptr, 0);
  EXPECT_TRUE(comesToItsEnd(pipe.readEnd));
}

}  // namespace
}  // namespace tessarin
