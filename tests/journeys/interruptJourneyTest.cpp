#include <fmt/format.h>
#include <signal.h>

#include "Journey.h"
#include "support/processState.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The conversion would take hours.
const std::string slowConversion =
    "case \" $* \" in *' -c:v '*) exec $real -readrate 0.0001 \"$@\" ;; esac\n"
    "exec $real \"$@\"";

const std::string keptLine =
    "tessarin: an interrupted batch can be finished with tessarin --recover\n";

class InterruptJourney : public test::Journey {
 protected:
  // The only child of the process; 0 while there is none.
  static pid_t childOf(pid_t process) {
    const std::string number = std::to_string(process);
    const auto children = readWholeProc("/proc/" + number + "/task/" + number + "/children");
    return static_cast<pid_t>(leadingInteger(children));
  }

  static bool isGone(pid_t process) {
    const char letter = test::processLetter(process);
    return letter == ' ' || letter == 'Z' || letter == 'X';
  }

  static std::string readWholeProc(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  // A conversion that has begun to write its movie, and its child.
  Run startedConversion(const std::string& clip) {
    useFfmpeg(slowConversion);
    Run run = start({"-d", destination(), "--overwrite", "replace", clip});
    EXPECT_TRUE(eventually([&] {
      child_ = isBeingMade("x.mov") ? childOf(run.process.pid()) : 0;
      return child_ > 0;
    }));
    return run;
  }

  pid_t child_ = 0;
};

TEST_F(InterruptJourney, ASignalEndsTheToolAndTakesThePartialMovieAway) {
  const std::string clip = tinyClip("x.mts", "0.4");
  int rounds = 0;
  for (const std::vector<int>& signals :
       {std::vector<int>{SIGINT}, {SIGTERM}, {SIGHUP}, {SIGINT, SIGTERM}, {SIGINT, SIGINT}}) {
    // The user gives the batch up; the end of a session leaves it to be recovered.
    const std::string state = folder.file("state" + std::to_string(++rounds));
    setVariable("XDG_STATE_HOME", state);
    Run run = startedConversion(clip);
    for (const int signal : signals)
      ::kill(run.process.pid(), signal);
    // The time is no measure, but far from that of the conversion.
    ASSERT_TRUE(run.process.waitFor(std::chrono::seconds(10))) << signals[0];
    const Result result = finish(run);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tessarin: " + clip + ": The conversion was stopped.\n" +
                              (signals[0] == SIGINT ? "" : keptLine));
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isGone(child_));
    EXPECT_THAT(movies(), IsEmpty());
    EXPECT_THAT(namesIn(folder.file("temporary")), IsEmpty());
    EXPECT_EQ(namesIn(state + "/Tessarin/batches").size(), signals[0] == SIGINT ? 0u : 1u);
  }
}

TEST_F(InterruptJourney, AnAnalysisStopsToo) {
  const std::string clip = tinyClip("x.mts");
  useFfmpeg("case \" $* \" in *' yuv4mpegpipe '*) exec sleep 1000 ;; esac\nexec $real \"$@\"");
  for (const int signal : {SIGINT, SIGTERM}) {
    Run run = start({"-d", destination(), clip});
    ASSERT_TRUE(eventually([&] {
      return contains(
          readWholeProc("/proc/" + std::to_string(childOf(run.process.pid())) + "/comm"), "sleep");
    }));
    const pid_t child = childOf(run.process.pid());
    ::kill(run.process.pid(), signal);
    const Result result = finish(run);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tessarin: " + clip + ": The analysis was stopped.\n" +
                              (signal == SIGINT ? "" : keptLine));
    EXPECT_TRUE(isGone(child));
    EXPECT_THAT(movies(), IsEmpty());
  }
}

TEST_F(InterruptJourney, AKilledRunLeavesNoToolAndTheNextRunClearsUp) {
  const std::string clip = tinyClip("x.mts", "0.4");
  Run run = startedConversion(clip);
  const std::vector<std::string> left = namesIn(folder.file("temporary"));
  ASSERT_EQ(left.size(), 1u);
  run.process.sendSignal(SIGKILL);
  EXPECT_EQ(finish(run).status, 128 + SIGKILL);
  EXPECT_TRUE(eventually([this] { return isGone(child_); }));
  EXPECT_EQ(namesIn(folder.file("temporary")), left);
  EXPECT_EQ(tessarin({"analyse", clip}).status, 0);
}

TEST_F(InterruptJourney, AReaderThatGoesAwayIsNoHarm) {
  const std::string clip = tinyClip("x.mts");
  const auto shell = [this](const std::string& line) {
    Run run = startProgram("/bin/sh", {"-c", line});
    return finish(run);
  };
  const std::string program = test::quoted(Journey::program());
  // The reader is gone before the first line; the status is the program's own.
  const auto unread = [&](const std::string& arguments, const std::string& redirection) {
    return shell("{ sleep 0.1; " + program + " " + arguments + "; echo $? >status; } " +
                 redirection + " | true; cat status");
  };
  EXPECT_EQ(unread("analyse x.mts x.mts", "").out, "1\n");
  EXPECT_EQ(unread("gone1 gone2 gone3", "2>&1").out, "1\n");
  // The movies are what matters.
  const Result result = unread("-d movies x.mts", "");
  EXPECT_EQ(result.out, "0\n");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(movies(), ElementsAre("x.mov", "x.txt"));
  // Nor do the streams have to be there at all.
  EXPECT_EQ(shell(program + " -d movies --overwrite replace x.mts <&- >&- 2>&-").status, 0);
  EXPECT_EQ(shell(program + " analyse x.mts | head -1").lines().size(), 1u);
}

TEST_F(InterruptJourney, AFullDiskUnderTheOutputIsTold) {
  const std::string clip = tinyClip("x.mts");
  for (const char* words : {"analyse x.mts", "--help", "--version"}) {
    Run run = startProgram("/bin/sh",
                           {"-c", fmt::format("{} {} >/dev/full", test::quoted(program()), words)});
    const Result result = finish(run);
    EXPECT_EQ(result.status, 1) << words;
    EXPECT_EQ(result.err, "tessarin: standard output: No space left on device\n") << words;
  }
}

}  // namespace
}  // namespace tessarin
