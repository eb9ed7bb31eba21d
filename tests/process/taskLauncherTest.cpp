#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "process/launcherRecorder.h"
#include "process/taskLauncher.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/children.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using test::childPath;
using test::LauncherRun;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::size_t count(const std::string& text, char letter) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), letter));
}

TEST(TaskLauncherTest, aChainIsConnectedAndItsLastCommandDecides) {
  const struct {
    Arguments arguments;
    const char* text;
    int status;
  } cases[] = {
      {{"/usr/bin/printf", "b\\na\\n", "|", "/usr/bin/sort", "|", "/usr/bin/tr", "ab", "xy"},
       "x\ny\n",
       0},
      {{childPath("childEnd"), "exit", "3", "|", "/bin/cat"}, "ending\n", 0},
      {{"/bin/echo", "x", "|", childPath("childEnd"), "exit", "42"}, "ending\n", 42},
      {{childPath("childEnd"), "signal", "15"}, "ending\n", 128 + SIGTERM},
      {{childPath("childHang"), "|", "/bin/true"}, "", 0},  // outlives the last, and is killed
      {{"/bin/true", "|", "/bin/sh", "-c", "echo $LC_CTYPE"}, "en_US.UTF-8\n", 0},
  };
  for (const auto& [arguments, text, status] : cases) {
    LauncherRun run;
    ASSERT_EQ(run.runToEnd(arguments), 0);
    EXPECT_EQ(run.recorder.text, text) << testing::PrintToString(arguments);
    EXPECT_EQ(run.recorder.statusAtEnd, status) << testing::PrintToString(arguments);
    EXPECT_FALSE(test::hasChildren()) << testing::PrintToString(arguments);
  }
}

TEST(TaskLauncherTest, wrongListsAreRefusedAndNothingRuns) {
  const test::LogCapture log;
  const test::ScopedTemporaryFolder folder;
  const std::string text = folder.write("text", "no program");
  const std::vector<std::pair<int, Arguments>> cases{
      {1, {}},
      {2, {"|"}},
      {2, {"|", "/bin/cat"}},
      {2, {"/bin/cat", "|", "|", "/bin/cat"}},
      {2, {"/bin/cat", "|"}},
      {3, {"ls"}},  // in /usr/bin, but neither a path nor a resource
      {3, {"/nowhere/tool", "argument"}},
      {3, {"/bin/sleep", "60", "|", "/nowhere/tool"}},
      {3, {"/bin/sleep", "60", "|", text}},  // there, but not to be started
      {3, {""}},
  };
  for (const auto& [result, arguments] : cases) {
    LauncherRun run;
    EXPECT_EQ(run.launch(arguments), result) << testing::PrintToString(arguments);
    EXPECT_EQ(run.launcher.isRunning(), result != 1);  // stays set until the owner gives up
    test::loopFor(run.loop, std::chrono::milliseconds(1));
    EXPECT_THAT(run.recorder.events, IsEmpty());
    EXPECT_FALSE(test::hasChildren());
  }
  EXPECT_TRUE(log.has("taskLauncher        :-( '/nowhere/tool' not found"));
  EXPECT_TRUE(
      log.has("taskLauncher        :-( '" + text + "' cannot be started: Permission denied"));
}

TEST(TaskLauncherTest, messagesOfTheFirstCommandsGoToTheLog) {
  const test::ScopedTemporaryFolder folder;
  const Descriptor file(::open(folder.file("log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  setLogDescriptor(file.number());
  LauncherRun run;
  run.runToEnd({"/bin/sh", "-c", "echo message >&2; echo data", "|", "/bin/cat"});
  setLogDescriptor(-1);
  EXPECT_EQ(run.recorder.text, "data\n");
  EXPECT_EQ(folder.read("log"), "message\n");
}

TEST(TaskLauncherTest, piecesThatAreNotAsciiAreDroppedAsTextAndKeptAsData) {
  const test::ScopedTemporaryFolder folder;
  const std::string line = "printf plain; while ! [ -e " + folder.file("go") +
                           " ]; do sleep 0.01; done; printf 'Caf\\303\\251'";
  for (const bool asData : {false, true}) {
    ::unlink(folder.file("go").c_str());
    LauncherRun run;
    run.launcher.dontConvertDataToString(asData);
    ASSERT_EQ(run.launch({"/bin/sh", "-c", line}), 0);
    EXPECT_TRUE(test::loopUntil(run.loop,
                                [&] { return run.recorder.text + run.recorder.data == "plain"; }));
    folder.write("go", "");
    EXPECT_TRUE(run.ends());
    EXPECT_EQ(run.recorder.text, asData ? "" : "plain");
    EXPECT_EQ(run.recorder.data, asData ? "plainCaf\303\251" : "");
  }
}

TEST(TaskLauncherTest, floodsOnBothStreamsArriveWholeInPiecesOfBoundedSize) {
  LauncherRun run;
  ASSERT_EQ(run.runToEnd({childPath("childFlood"), "5000000"}), 0);
  EXPECT_EQ(run.recorder.statusAtEnd, 0);
  EXPECT_EQ(count(run.recorder.text, 'o'), 5000000U);
  EXPECT_EQ(count(run.recorder.text, 'e'), 5000000U);
  for (const std::string& piece : run.recorder.pieces)
    ASSERT_LE(piece.size(), 65536U);
}

TEST(TaskLauncherTest, aCommandThatClosedItsStreamsIsWaitedForWithoutProcessorTime) {
  LauncherRun run;
  const double before = test::processorSeconds();
  ASSERT_EQ(run.launch({childPath("childCloseAndLive"), "700", "9"}), 0);
  ASSERT_TRUE(run.receives("closing"));
  EXPECT_EQ(run.recorder.ends, 0);
  EXPECT_TRUE(run.ends());
  EXPECT_LT(test::processorSeconds() - before, 0.08);
  EXPECT_EQ(run.recorder.statusAtEnd, 9);
}

TEST(TaskLauncherTest, whatACommandLeavesBehindDoesNotHoldUpTheEnd) {
  LauncherRun quiet;
  quiet.runToEnd({"/bin/sh", "-c", "sleep 60 & echo $!; exit 5"});
  EXPECT_EQ(quiet.recorder.statusAtEnd, 5);
  const pid_t left = std::atoi(quiet.recorder.text.c_str());
  ASSERT_GT(left, 1);
  EXPECT_EQ(test::processLetter(left), 'S');  // it may go on, as it would behind a shell
  ::kill(left, SIGKILL);

  LauncherRun noisy;
  noisy.runToEnd({"/bin/sh", "-c", "echo first; yes & exit 6"});
  EXPECT_EQ(noisy.recorder.statusAtEnd, 6);
  EXPECT_THAT(noisy.recorder.text, HasSubstr("first\n"));
}

TEST(TaskLauncherTest, helpersThatEndWithTheCommandAreHeardToTheEnd) {
  LauncherRun run;
  run.runToEnd({"/bin/sh", "-c", "(sleep 0.02; echo late) & echo early"});
  EXPECT_EQ(run.recorder.text, "early\nlate\n");
}

TEST(TaskLauncherTest, terminateKillsWhatIgnoresEverythingAndTellsOnce) {
  LauncherRun run;
  ASSERT_EQ(run.launch({childPath("childHang"), "|", "/bin/cat", "|", childPath("childHang")}), 0);
  ASSERT_TRUE(run.receives("ready"));
  run.launcher.suspend();
  run.launcher.tasklauncherTerminate();
  EXPECT_THAT(run.recorder.events, ElementsAre("suspend", "resume", "end"));
  EXPECT_EQ(run.recorder.statusAtEnd, taskLauncher::abortedStatus);
  EXPECT_FALSE(run.launcher.isRunning());
  EXPECT_FALSE(test::hasChildren());

  run.launcher.tasklauncherTerminate();
  test::loopFor(run.loop, std::chrono::milliseconds(20));
  EXPECT_EQ(run.recorder.ends, 1);
  EXPECT_EQ(run.launcher.terminationStatus(), taskLauncher::abortedStatus);
}

TEST(TaskLauncherTest, terminateWorksFromInsideTheOutputCallback) {
  struct Stopper : test::LauncherRecorder {
    void taskLauncherDidReceiveNewString(taskLauncher& launcher,
                                         const std::string& piece) override {
      LauncherRecorder::taskLauncherDidReceiveNewString(launcher, piece);
      launcher.tasklauncherTerminate();
    }
    void taskLauncherTaskDidEnd(taskLauncher& launcher) override {
      LauncherRecorder::taskLauncherTaskDidEnd(launcher);
      launcher.tasklauncherTerminate();
    }
  } stopper;
  LauncherRun run;
  run.launcher.setDelegate(&stopper);
  ASSERT_EQ(run.launch({childPath("childFlood"), "100000000"}), 0);
  EXPECT_TRUE(test::loopUntil(run.loop, [&] { return stopper.ends > 0; }));
  test::loopFor(run.loop, std::chrono::milliseconds(20));
  EXPECT_EQ(stopper.pieces.size(), 1U);
  EXPECT_EQ(stopper.ends, 1);
  EXPECT_EQ(stopper.statusAtEnd, taskLauncher::abortedStatus);
  EXPECT_FALSE(test::hasChildren());
}

TEST(TaskLauncherTest, suspendStopsTheWholeChainAndResumeContinuesIt) {
  LauncherRun run;
  run.launcher.suspend();  // before the launch: nothing
  ASSERT_EQ(run.launch({"/bin/sh", "-c", "echo $$; exec sleep 60", "|", "/bin/sh", "-c",
                        "read first; echo $first $$.; exec sleep 60"}),
            0);
  ASSERT_TRUE(run.receives("."));
  int first = 0;
  int second = 0;
  ASSERT_EQ(std::sscanf(run.recorder.text.c_str(), "%d %d", &first, &second), 2);
  const auto letters = [&](char letter) {
    return test::loopUntil(run.loop, [&] {
      return test::processLetter(first) == letter && test::processLetter(second) == letter;
    });
  };
  run.launcher.suspend();
  run.launcher.suspend();
  EXPECT_TRUE(run.launcher.isSuspended());
  EXPECT_TRUE(letters('T'));
  run.launcher.resume();
  run.launcher.resume();
  EXPECT_FALSE(run.launcher.isSuspended());
  EXPECT_TRUE(letters('S'));
  EXPECT_THAT(run.recorder.events, ElementsAre("suspend", "resume"));
}

TEST(TaskLauncherTest, theFirstCommandsAreReapedWhileTheLastOneRuns) {
  LauncherRun run;
  ASSERT_EQ(run.launch({childPath("childEnd"), "exit", "0", "|", childPath("childHang")}), 0);
  ASSERT_TRUE(run.receives("ready"));
  EXPECT_TRUE(test::loopUntil(run.loop, [] { return !test::hasZombies(); }));
  test::loopFor(run.loop, std::chrono::milliseconds(20));
  EXPECT_FALSE(test::hasZombies());
  EXPECT_EQ(run.recorder.ends, 0);
}

TEST(TaskLauncherTest, broadcastsReachTheLauncherWithTheirNumber) {
  taskLauncher::Broadcasts& center = taskLauncher::broadcasts();
  LauncherRun run;
  ASSERT_EQ(run.launch({childPath("childHang")}), 0);
  const std::int32_t uid = run.launcher.uid();
  EXPECT_GT(uid, 0);
  EXPECT_EQ(run.launcher.uid(), uid);
  center.emit("fabPauseTasks", uid + 1);
  EXPECT_FALSE(run.launcher.isSuspended());
  center.emit("fabPauseTasks", uid);
  EXPECT_TRUE(run.launcher.isSuspended());
  center.emit("fabResumeTasks", uid);
  EXPECT_FALSE(run.launcher.isSuspended());
  center.emit("fabKillTasks", uid);
  center.emit("fabPauseTasks", uid);  // over: no longer heard
  EXPECT_THAT(run.recorder.events, ElementsAre("suspend", "resume", "end"));
  EXPECT_EQ(run.launcher.terminationStatus(), taskLauncher::abortedStatus);
}

TEST(TaskLauncherTest, destroyingALauncherKillsItsRunAndAnEmptyOneIsShown) {
  const test::LogCapture log;
  {
    LauncherRun run;
    ASSERT_EQ(run.launch({childPath("childHang")}), 0);
  }
  EXPECT_FALSE(test::hasChildren());
  EXPECT_THAT(log.lines(), IsEmpty());
  { const LauncherRun neverLaunched; }
  EXPECT_TRUE(log.mentions("taskLauncher.m :-( try to release a yet-released task"));
}

TEST(TaskLauncherTest, manyRunsLeakNothing) {
  const std::size_t before = test::openDescriptors();
  for (int round = 0; round < 50; ++round) {
    LauncherRun run;
    run.runToEnd({"/bin/echo", "x", "|", "/bin/cat"});
    ASSERT_EQ(run.recorder.text, "x\n");
  }
  EXPECT_EQ(test::openDescriptors(), before);
  EXPECT_FALSE(test::hasChildren());
}

}  // namespace
}  // namespace tessarin
