#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Journey.h"
#include "support/processState.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class TerminalJourney : public test::Journey {
 protected:
  // A run on a terminal of its own.
  class Session {
   public:
    Session(const std::string& program, Arguments arguments, std::vector<std::string> environment,
            const std::string& workingFolder) {
      arguments.insert(arguments.begin(), program);
      const std::vector<char*> argumentPointers = pointers(arguments);
      const std::vector<char*> environmentPointers = pointers(environment);
      winsize size{};
      size.ws_row = 24;
      size.ws_col = 80;
      pid_ = ::forkpty(&master_, nullptr, nullptr, &size);
      if (pid_ == 0) {
        if (::chdir(workingFolder.c_str()) == 0)
          ::execve(program.c_str(), argumentPointers.data(), environmentPointers.data());
        ::_exit(127);
      }
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
      if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
      }
      ::close(master_);
    }

    pid_t pid() const { return pid_; }
    const std::string& screen() const { return screen_; }

    void type(const std::string& keys) {
      EXPECT_EQ(::write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Reads until the text has been shown since the last call; false when it never is.
    bool waitFor(const std::string& text) {
      while (!contains(screen_.substr(seen_), text))
        if (!readMore())
          return false;
      seen_ = screen_.find(text, seen_) + text.size();
      return true;
    }

    // Reads to the end; the exit status, or 128 + signal.
    int end() {
      while (readMore()) {
      }
      int state = 0;
      ::waitpid(std::exchange(pid_, 0), &state, 0);
      return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
    }

   private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
      std::vector<char*> list;
      for (std::string& text : texts)
        list.push_back(text.data());
      list.push_back(nullptr);
      return list;
    }

    bool readMore() {
      constexpr int hang = 60000;  // milliseconds
      pollfd terminal{master_, POLLIN, 0};
      if (::poll(&terminal, 1, hang) <= 0) {
        ADD_FAILURE() << "nothing more is shown: " << screen_;
        return false;
      }
      char bytes[4096];
      const ssize_t count = ::read(master_, bytes, sizeof bytes);
      if (count <= 0)
        return false;
      screen_.append(bytes, static_cast<std::size_t>(count));
      return true;
    }

    pid_t pid_ = -1;
    int master_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
  };

  Session open(const Arguments& arguments) {
    return {program(), arguments, environment(), folder.path()};
  }
};

TEST_F(TerminalJourney, TheOverwriteQuestionIsAnsweredByNumber) {
  for (const char* name : {"1.mts", "2.mts", "3.mts", "4.mts"}) {
    tinyClip(name, "0.1");
    folder.write("movies/Tessarin/" + withoutExtension(name) + ".mov", "precious");
  }
  const Arguments arguments = {"-d", destination(), "1.mts", "2.mts", "3.mts", "4.mts"};
  const std::string question = "[1] ";
  Session stopped = open(arguments);
  ASSERT_TRUE(stopped.waitFor(question)) << stopped.screen();
  EXPECT_THAT(stopped.screen(), HasSubstr("4 of the movies exist already"));
  stopped.type("9\n");
  ASSERT_TRUE(stopped.waitFor(question)) << "there is no ninth answer";
  stopped.type("3\n");
  EXPECT_EQ(stopped.end(), 1);
  EXPECT_THAT(stopped.screen(), Not(HasSubstr("was kept")));

  Session kept = open(arguments);
  ASSERT_TRUE(kept.waitFor(question));
  kept.type("\n");
  EXPECT_TRUE(kept.waitFor("4.mov” was there already and was kept"));
  EXPECT_EQ(kept.end(), 1) << "movies were kept";
  EXPECT_EQ(folder.read("movies/Tessarin/1.mov"), "precious");

  Session replaced = open(arguments);
  ASSERT_TRUE(replaced.waitFor(question));
  replaced.type("2\n");
  EXPECT_EQ(replaced.end(), 0);
  for (const char* name : {"1.mov", "2.mov", "3.mov", "4.mov"})
    EXPECT_GT(poidsFile(movie(name), "k"), 10) << name;
}

TEST_F(TerminalJourney, AFolderThatIsAwayIsAskedAbout) {
  for (const char* name : {"0.mts", "card/1.mts", "card/2.mts"})
    tinyClip(name, "0.1");
  // The sound is decoded by another run, which has to have opened the clip by then.
  useFfmpeg(
      "\"$real\" \"$@\"; status=$?\n"
      "case \" $* \" in *' -c:v '*) sleep 1; mv card pulled ;; esac\n"
      "exit $status");
  Session session = open({"--jobs", "1", "-d", destination(), "--overwrite", "replace", "0.mts",
                          "card/1.mts", "card/2.mts"});
  ASSERT_TRUE(session.waitFor("The folder “" + folder.file("card"))) << session.screen();
  ASSERT_TRUE(session.waitFor("(2)"));
  ASSERT_TRUE(session.waitFor("[1] "));
  std::filesystem::rename(folder.file("pulled"), folder.file("card"));
  session.type("1\n");
  // It goes again with the next conversion.
  ASSERT_TRUE(session.waitFor("(1)"));
  ASSERT_TRUE(session.waitFor("[1] "));
  session.type("\x03");  // Ctrl-C
  EXPECT_EQ(session.end(), 1);
  EXPECT_THAT(movies(), ElementsAre("0.mov", "0.txt", "1.mov", "1.txt"));
}

TEST_F(TerminalJourney, ProgressIsShownOnATerminalAndNowhereElse) {
  const std::string clip = tinyClip("x.mts", "1.2");
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) exec $real -readrate 2 \"$@\" ;; esac\nexec $real \"$@\"");
  Session session = open({"-d", destination(), clip});
  EXPECT_EQ(session.end(), 0);
  EXPECT_THAT(session.screen(), testing::ContainsRegex("\r\\[1/1\\] x\\.mts  [1-9][0-9]? %"));
  EXPECT_THAT(session.screen(), HasSubstr("\r[1/1] x.mts  analysing\x1b[K"));
  // The line is gone before the result is told.
  EXPECT_THAT(session.screen(), HasSubstr("\r\x1b[K" + clip + " -> "));
  EXPECT_THAT(session.screen(), Not(HasSubstr("Tessarin[")));  // as log lines begin

  setVariable("TERM", "dumb");
  Session dumb = open({"-d", destination(), "--overwrite", "replace", clip});
  EXPECT_EQ(dumb.end(), 0);
  EXPECT_EQ(dumb.screen(), clip + " -> " + movie("x.mov") + "\r\n");

  const Result piped = tessarin({"-d", destination(), "--overwrite", "replace", clip});
  EXPECT_EQ(piped.out, clip + " -> " + movie("x.mov") + "\n");
  EXPECT_EQ(piped.err, "");
}

TEST_F(TerminalJourney, APlanCannotSteerTheTerminal) {
  Session session = open({"plan", tinyClip("\x1b[2Jx.mts")});
  EXPECT_EQ(session.end(), 0);
  EXPECT_THAT(session.screen(), HasSubstr("# the next line is only to be looked at"));
  EXPECT_THAT(session.screen(), Not(HasSubstr("\x1b[2J")));
}

TEST_F(TerminalJourney, TheKeysOfTheTerminalStopAndInterrupt) {
  const std::string clip = tinyClip("x.mts", "0.4");
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) echo $$ >converter; exec $real -readrate 0.0001 \"$@\" ;; "
      "esac\n"
      "exec $real \"$@\"");
  Session session = open({"-d", destination(), clip});
  ASSERT_TRUE(eventually([this] {
    return pathExists(folder.file("converter")) && leadingInteger(folder.read("converter")) > 0;
  })) << session.screen();
  const auto converter = static_cast<pid_t>(leadingInteger(folder.read("converter")));

  session.type("\x1a");
  EXPECT_TRUE(eventually([&] { return test::processLetter(session.pid()) == 'T'; }));
  EXPECT_TRUE(eventually([&] { return test::processLetter(converter) == 'T'; }));
  ::kill(session.pid(), SIGCONT);
  EXPECT_TRUE(eventually([&] { return test::processLetter(converter) != 'T'; }));

  session.type("\x03");
  EXPECT_EQ(session.end(), 1);
  EXPECT_THAT(session.screen(), HasSubstr("The conversion was stopped."));
  EXPECT_THAT(movies(), testing::IsEmpty());
}

}  // namespace
}  // namespace tessarin
