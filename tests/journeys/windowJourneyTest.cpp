// The program with a window as a process: its start, its second copy and its end.
#include <signal.h>
#include <sys/stat.h>

#include "Journey.h"
#include "support/places.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class WindowProgramJourney : public test::Journey {
 protected:
  WindowProgramJourney() {
    ::mkdir(folder.file("runtime").c_str(), 0700);
    setVariable("XDG_RUNTIME_DIR", folder.file("runtime"));
    setVariable("QT_QPA_PLATFORM", "offscreen");
    setVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  }

  static std::string window() { return test::builtFile("bin/tessarin-gui"); }
  std::string logText() const {
    const auto text = readWholeFile(folder.file("home/Library/Logs/Tessarin/Details.log"));
    return text ? text.value() : "";
  }
  // A window whose start has ended.
  Run startedWindow() {
    Run run = startProgram(window(), {});
    EXPECT_TRUE(eventually([this] { return contains(logText(), "first paint"); }));
    return run;
  }
  Result ended(Run& run, int signal = SIGTERM) {
    ::kill(run.process.pid(), signal);
    return finish(run);
  }
};

// Where each of these texts begins in the whole, which has them in this order.
void expectInOrder(const std::string& whole, const std::vector<std::string>& texts) {
  std::size_t from = 0;
  for (const std::string& text : texts) {
    const std::size_t at = whole.find(text, from);
    ASSERT_NE(at, std::string::npos) << "missing or too early: " << text;
    from = at + text.size();
  }
}

TEST_F(WindowProgramJourney, StartsInOrderAndLeavesNothingBehind) {
  Run run = startedWindow();
  EXPECT_TRUE(eventually([this] { return !namesIn(folder.file("temporary")).empty(); }));
  const Result result = ended(run);
  EXPECT_EQ(result.status, 0);
  expectInOrder(result.err + logText(), {"only one opened app :-)",
                                         "no backslash in path:-)",
                                         "post old processes  :-)",
                                         "dnd                 - post",
                                         "localisations       - post",
                                         "redirectStdoutToFile…",
                                         "TMPFOLDER           : ",
                                         "arch                ? ",
                                         "app                 : Tessarin - ",
                                         "QT's user folder    ? 0",
                                         "qt aic              :-",
                                         "qt mts              :-",
                                         "qt prores dec       :-",
                                         "prores enc          :-",
                                         "PREFERENCES         - begin",
                                         "PREFERENCES         - end",
                                         "awakeFromNib        - end",
                                         "appDidFinishLaunchin- begin",
                                         "updatePrefBt        ? 1",
                                         "applicationWillTerminate:"});
  const auto resume = readWholeFile(folder.file("home/Library/Logs/Tessarin/Resume.log"));
  ASSERT_TRUE(resume);
  EXPECT_THAT(resume.value(), HasSubstr("start date    : "));
  EXPECT_TRUE(pathExists(folder.file("home/config/Tessarin/preferences.plist")));
}

// Also without a screen.
TEST_F(WindowProgramJourney, TellsHowItIsCalledAndItsVersionWithoutAWindow) {
  setVariable("QT_QPA_PLATFORM", "nosuchscreen");
  for (const auto& [option, text] :
       {std::pair{"--help", "tessarin-gui ["}, {"--version", "0.1."}}) {
    Run run = startProgram(window(), {option});
    const Result result = finish(run);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr(text));
  }
}

TEST_F(WindowProgramJourney, ASecondCopyHandsItsFilesOverAndEnds) {
  // An old name, which is not UTF-8.
  const std::string clip = tinyClip("K\xF6ln.mts", "0.2");
  Run first = startedWindow();
  Run second = startProgram(window(), {clip});
  EXPECT_EQ(finish(second).status, 0);
  EXPECT_TRUE(
      eventually([&] { return contains(logText(), "analysis            - end (all src)"); }));
  EXPECT_THAT(logText(), HasSubstr("analysis new file   : " + clip));

  // Without files it says so, and waits until that was read.
  Run third = startProgram(window(), {});
  EXPECT_TRUE(eventually([&] {
    const auto said = readWholeFile(third.errPath);
    return said && contains(said.value(), "APP number of copy  :-( 2");
  }));
  third.process.kill();
  finish(third);
  EXPECT_EQ(ended(first).status, 0);
}

TEST_F(WindowProgramJourney, ABatchThatASignalEndedIsThereForTheNextStart) {
  const std::string clip = tinyClip("x.mts", "0.4");
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) exec $real -readrate 0.0001 \"$@\" ;; esac\n"
      "exec $real \"$@\"");
  Run first = startProgram(window(), {clip});
  EXPECT_TRUE(
      eventually([&] { return contains(logText(), "analysis            - end (all src)"); }));
  ::kill(first.process.pid(), SIGKILL);
  finish(first);
  Run second = startProgram(window(), {});
  EXPECT_TRUE(eventually([&] { return contains(logText(), "recovery            ? 1"); }));
  EXPECT_EQ(ended(second).status, 0);
  leavesTemporaryFiles = true;  // those of the window that was killed
}

}  // namespace
}  // namespace tessarin
