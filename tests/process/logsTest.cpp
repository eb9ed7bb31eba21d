#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/ChildProcess.h"
#include "process/logs.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class LogsTest : public testing::Test {
 protected:
  LogsTest() {
    std::filesystem::create_directories(std::filesystem::path(resumeLogPath()).parent_path());
  }

  const test::TestBundle bundle_;
  const test::ScopedTemporaryFolder folder_;
  const test::ScopedEnvironment home_{"HOME", folder_.path()};
};

TEST_F(LogsTest, theSummaryLogBeginsWithItsDate) {
  const std::string name = "Library/Logs/" + Bundle::main().name() + "/Resume.log";
  resumeLogAppend(std::nullopt);
  const std::string begun = folder_.read(name);
  EXPECT_THAT(begun, MatchesRegex("\xEF\xBB\xBFstart date    : "
                                  "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8} [+-][0-9]{4}"));
  resumeLogAppend(std::nullopt);
  resumeLogAppend("\nÉté.MTS\n");
  resumeLogAppend("done");
  EXPECT_EQ(folder_.read(name), begun + "\nÉté.MTS\ndone");
}

TEST_F(LogsTest, redirectionTakesEverythingToTheFileAndWorksOnce) {
  const std::string path = folder_.write("Details.log", "before\n");
  const auto redirectAndWrite = [&] {
    const bool missing = redirectStdoutToFile(folder_.file("missing/Details.log"));
    const bool first = redirectStdoutToFile(path);
    const bool second = redirectStdoutToFile(folder_.file("other.log"));
    std::puts("output");
    std::fflush(stdout);
    logLine("line");
    Outcome<ChildProcess> child = ChildProcess::start({"/bin/sh", {"-c", "echo child >&2"}});
    child->wait();
    std::_Exit(!missing && first && !second ? 0 : 1);
  };
  EXPECT_EXIT(redirectAndWrite(), testing::ExitedWithCode(0), "missing/Details.log");
  const std::string text = folder_.read("Details.log");
  EXPECT_THAT(text, StartsWith("before\n"));
  EXPECT_THAT(text, HasSubstr("] if (newStdout || newStderr)\n"));
  EXPECT_THAT(text, HasSubstr("output\n"));
  EXPECT_THAT(text, HasSubstr("] line\nchild\n"));
  EXPECT_NE(::access(folder_.file("other.log").c_str(), F_OK), 0);
}

TEST_F(LogsTest, aProgramMayKeepItsTerminalAndSendOnlyItsLog) {
  ASSERT_TRUE(sendLogToFile(folder_.file("Details.log")));
  logLine("line");
  EXPECT_FALSE(sendLogToFile(folder_.file("missing/Details.log")));
  logLine("next");
  setLogDescriptor(-1);
  EXPECT_THAT(folder_.read("Details.log"), MatchesRegex(".*\\] line\n.*\\] next\n"));
}

TEST_F(LogsTest, aLogIsKeptToASizeWhileSeveralProcessesWriteToIt) {
  const std::string path = folder_.write("Details.log", std::string(longestLog + 1, 'o'));
  // Each writes more than a log holds, in lines that have to stay whole.
  constexpr int processes = 3;
  constexpr int lines = 2 * static_cast<int>(longestLog) / 10000;
  const auto write = [&] {
    setLogBeginning([] { logLine("begun"); });
    if (!sendLogToFile(path))
      std::_Exit(1);
    for (int line = 0; line < lines; ++line) {
      logLine(std::string(10000, 'x'));
      ::usleep(100);
    }
    std::_Exit(0);
  };
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process) {
    children.push_back(::fork());
    if (children.back() == 0)
      write();
  }
  for (const pid_t child : children) {
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  // What others write while one of them begins a new log.
  constexpr std::size_t slack = longestLog;
  for (const char* name : {"Details.log", "Previous-Details.log"}) {
    const std::string text = folder_.read(name);
    EXPECT_GT(text.size(), 0u) << name;
    EXPECT_LT(text.size(), longestLog + slack) << name;
    EXPECT_TRUE(contains(text, "] begun\n")) << name;
    for (const std::string_view line : splitLines(text))
      ASSERT_TRUE(contains(line, "] begun") || line.size() > 10000) << name << ": " << line;
  }
}

}  // namespace
}  // namespace tessarin
