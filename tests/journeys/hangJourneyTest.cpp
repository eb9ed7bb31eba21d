// Tools that are not at work any more, whatever they do instead: who stops the run does not wait.
#include <signal.h>
#include <sys/stat.h>

#include "Journey.h"
#include "support/places.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;

class HangJourney : public test::Journey {
 protected:
  // ffmpeg does this instead where its arguments match; "$mark" says that it has come so far.
  void hangWhere(const std::string& pattern, const std::string& instead) {
    std::filesystem::remove(mark_);
    useFfmpeg("mark=" + test::quoted(mark_) + "\ncase \" $* \" in " + pattern + ") : >\"$mark\"\n" +
              instead + " ;; esac\nexec \"$real\" \"$@\"");
  }

  // Sends the signal once the tool hangs; the run has to be over within a second.
  Result stopped(Run& run, int signal) {
    EXPECT_TRUE(eventually([this] { return pathExists(mark_); }));
    ::kill(run.process.pid(), signal);
    EXPECT_TRUE(run.process.waitFor(1s)) << "still there after a second";
    return finish(run);
  }

  const std::string mark_ = folder.file("mark");
};

TEST_F(HangJourney, ASignalIsAnsweredWhateverTheToolDoes) {
  const std::string clip = tinyClip("x.mts");
  const Arguments convert = {"-d", destination(), clip};
  const Arguments aic = {"-d", destination(), "--format", "aic", clip};
  const struct {
    const char* run;
    Arguments arguments;
  } runs[] = {{"*' -codecs '*", {"analyse", clip}},  // kept afterwards, so the first one
              {"*' yuv4mpegpipe '*", {"analyse", clip}},
              {"*' yuv4mpegpipe '*", {"plan", clip}},
              {"*' -vf select'*", {"analyse", clip}},
              {"*' -c:v '*", convert},
              {"*showinfo*", aic},
              {"*setpts=PTS*", aic}};
  const char* const ways[] = {
      "exec sleep 600",
      "trap '' INT TERM HUP; while :; do sleep 1; done",
      "exec cat /dev/zero >&2",         // floods, without a line end
      "exec >&- 2>&-; exec sleep 600",  // closes its pipes and lives on
      "kill -STOP $$; exec sleep 600",  // is stopped
      "sleep 600 & exec sleep 600"};    // a child of its own keeps the pipes open
  std::size_t way = 0;
  int signal = SIGINT;
  for (const auto& [pattern, arguments] : runs)
    for (int round = 0; round < 2; ++round) {
      const std::string instead = ways[way++ % std::size(ways)];
      SCOPED_TRACE(std::string(pattern) + ": " + instead);
      hangWhere(pattern, instead);
      setVariable("XDG_STATE_HOME", folder.file("state" + std::to_string(way)));
      Run run = start(arguments);
      signal = signal == SIGINT ? SIGTERM : SIGINT;
      EXPECT_EQ(stopped(run, signal).status, 1);
      EXPECT_THAT(movies(), IsEmpty());
      EXPECT_THAT(namesIn(folder.file("temporary")), IsEmpty());
    }
}

TEST_F(HangJourney, AnFfmpegThatDoesNotAnswerAsOneIsToldAtTheStart) {
  const std::string clip = tinyClip("x.mts");
  for (const char* instead : {"exit 0", "echo no more processes >&2; exit 126"}) {
    hangWhere("*", instead);
    const Result result = tessarin({"analyse", clip});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errorLines().size(), 1u) << result.err;
    EXPECT_THAT(result.err, HasSubstr("does not work as ffmpeg"));
  }
}

TEST_F(HangJourney, TheWindowCanBeLeftWhileFfmpegSaysNothing) {
  ::mkdir(folder.file("runtime").c_str(), 0700);
  setVariable("XDG_RUNTIME_DIR", folder.file("runtime"));
  setVariable("QT_QPA_PLATFORM", "offscreen");
  setVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  const std::string preferences = "home/config/Tessarin/preferences.plist";
  hangWhere("*' -codecs '*", "exec sleep 600");
  Run run = startProgram(test::builtFile("bin/tessarin-gui"), {});
  EXPECT_EQ(stopped(run, SIGTERM).status, 0);
  // The choices were not applied yet: what stands for them in the window is nobody's.
  EXPECT_FALSE(contains(folder.read(preferences), "destination"));
}

}  // namespace
}  // namespace tessarin
