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

  // The program with another tool in its folder of tools, where this script stands for "$mark" and
  // hangs.
  std::string programWithTool(const std::string& name, const std::string& instead) {
    namespace fs = std::filesystem;
    const std::string own = folder.file("own");
    fs::remove_all(own);
    fs::create_directories(own + "/bin");
    fs::create_directories(own + "/resources/tools");
    fs::copy_file(program(), own + "/bin/tessarin");
    for (const char* place : {"", "/tools"})
      for (const auto& entry : fs::directory_iterator(test::builtFile("resources") + place))
        if (entry.path().filename() != "tools" && entry.path().filename() != name)
          fs::create_symlink(entry.path(),
                             own + "/resources" + place + "/" + entry.path().filename().string());
    const std::string tool =
        folder.write("own/resources/tools/" + name,
                     "#!/bin/sh\n: >" + test::quoted(mark_) + "\n" + instead + "\n");
    fs::permissions(tool, fs::perms::owner_all);
    return own + "/bin/tessarin";
  }

  // Sends the signal once the tool hangs; the run has to be over within a second.
  Result stopped(Run& run, int signal) {
    EXPECT_TRUE(eventually([this] { return pathExists(mark_); }));
    const auto begin = std::chrono::steady_clock::now();
    ::kill(run.process.pid(), signal);
    EXPECT_TRUE(run.process.waitFor(1s)) << "still there after a second";
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
    std::printf("%-16s %-9s over after %.0f ms\n", phase_.c_str(),
                signal == SIGINT ? "SIGINT" : "SIGTERM", time.count());
    return finish(run);
  }

  const std::string mark_ = folder.file("mark");
  std::string phase_;  // at which the tool hangs
};

TEST_F(HangJourney, ASignalIsAnsweredWhateverTheToolDoes) {
  const std::string clip = tinyClip("x.mts");
  const Arguments convert = {"-d", destination(), clip};
  const Arguments aic = {"-d", destination(), "--format", "aic", clip};
  const struct {
    const char* phase;
    const char* run;
    Arguments arguments;
  } runs[] = {{"codec listing", "*' -codecs '*", {"analyse", clip}},  // kept, so the first one
              {"analysis", "*' yuv4mpegpipe '*", {"analyse", clip}},
              {"analysis", "*' yuv4mpegpipe '*", {"plan", clip}},
              {"thumbnail", "*'.jpg '*", {"analyse", tinyClip("long.mts", "11")}},
              {"conversion", "*' -c:v '*", convert},
              {"export", "*showinfo*", aic},
              {"export", "*setparams=*", aic}};
  const char* const ways[] = {
      "exec sleep 600",
      "trap '' INT TERM HUP; while :; do sleep 1; done",
      "exec cat /dev/zero >&2",         // floods, without a line end
      "exec >&- 2>&-; exec sleep 600",  // closes its pipes and lives on
      "kill -STOP $$; exec sleep 600",  // is stopped
      "sleep 600 & exec sleep 600"};    // a child of its own keeps the pipes open
  std::size_t way = 0;
  int signal = SIGINT;
  for (const auto& [phase, pattern, arguments] : runs)
    for (int round = 0; round < 2; ++round) {
      const std::string instead = ways[way++ % std::size(ways)];
      SCOPED_TRACE(std::string(pattern) + ": " + instead);
      hangWhere(pattern, instead);
      phase_ = phase;
      setVariable("XDG_STATE_HOME", folder.file("state" + std::to_string(way)));
      Run run = start(arguments);
      signal = signal == SIGINT ? SIGTERM : SIGINT;
      const Result result = stopped(run, signal);
      EXPECT_EQ(result.status, 1);
      EXPECT_THAT(result.err, HasSubstr(" was stopped.\n"));
      EXPECT_THAT(movies(), IsEmpty());
      EXPECT_THAT(namesIn(folder.file("temporary")), IsEmpty());
    }
}

TEST_F(HangJourney, NorDoesItMatterWhichToolItIs) {
  const std::string clip = tinyClip("x.mts");
  for (const char* name : {"gettimestamps", "movtool"})
    for (const int signal : {SIGINT, SIGTERM}) {
      std::filesystem::remove(mark_);
      const std::string own = programWithTool(name, "exec sleep 600");
      phase_ = name;
      setVariable("XDG_STATE_HOME", folder.file("state" + phase_ + std::to_string(signal)));
      Run run = startProgram(own, {"-d", destination(), "--format", "aic", clip});
      EXPECT_EQ(stopped(run, signal).status, 1);
      EXPECT_THAT(movies(), IsEmpty());
    }
  // The movie is made; what hangs is what reads the source once more to compare the two.
  useFfmpeg("mark=" + test::quoted(mark_) +
            "\ncase \" $* \" in *' -c:v '*) set -- -t 0.6 \"$@\" ;;\n"
            "*' framecrc '*) : >\"$mark\"; exec sleep 600 ;;"
            " esac\nexec \"$real\" \"$@\"");
  const std::string longer = tinyClip("longer.mts", "2");
  for (const int signal : {SIGINT, SIGTERM}) {
    std::filesystem::remove(mark_);
    phase_ = "check";
    setVariable("XDG_STATE_HOME", folder.file("state" + phase_ + std::to_string(signal)));
    Run run = start({"-d", destination(), longer});
    EXPECT_EQ(stopped(run, signal).status, 1);
    EXPECT_THAT(movies(), IsEmpty());
  }
}

TEST_F(HangJourney, ATimeOfRecordingThatCouldNotBeReadIsToldAsSuch) {
  Run run = startProgram(programWithTool("gettimestamps", "kill -SEGV $$"),
                         {"-d", destination(), tinyClip("x.mts")});
  const Result result = finish(run);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("x.mts: when it was recorded could not be read"));
}

TEST_F(HangJourney, RecordingsThatCouldNotBeLookedForAreTold) {
  const std::string own = programWithTool("joinclips", "kill -SEGV $$");
  Run run = startProgram(own, {"analyse", tinyClip("x.mts"), tinyClip("y.mts")});
  EXPECT_EQ(split(finish(run).out, "could not be found out").size() - 1, 1u);
  // What is missing in a clip could not be told either.
  Run conversion = startProgram(own, {"-d", destination(), folder.file("x.mts")});
  EXPECT_EQ(finish(conversion).status, 1);
  EXPECT_THAT(movies(), IsEmpty());
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
