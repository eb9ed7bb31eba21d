#include <gmock/gmock.h>
#include <unistd.h>

#include "process/pipelines.h"
#include "process/taskBloquante.h"
#include "process/toolEnvironment.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/ScriptedAlerts.h"
#include "support/TestBundle.h"
#include "support/children.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using test::childPath;
using testing::AllOf;
using testing::HasSubstr;
using testing::Optional;

class PipelinesTest : public testing::Test {
 protected:
  ~PipelinesTest() override {
    EXPECT_FALSE(test::hasChildren());
    EXPECT_EQ(test::openDescriptors(), descriptors_);
  }

  const std::size_t descriptors_ = test::openDescriptors();
  const test::LogCapture log_;
};

// What both array runners answer alike.
using Runner = std::optional<std::string> (*)(const Arguments&);
class ArrayRunnersTest : public PipelinesTest, public testing::WithParamInterface<Runner> {
 protected:
  static std::optional<std::string> run(const Arguments& arguments) {
    return GetParam()(arguments);
  }
};

TEST_P(ArrayRunnersTest, outputIsGivenUnchangedUnlessItIsBlank) {
  const auto print = [](const std::string& text) { return run({"/usr/bin/printf", text}); };
  EXPECT_EQ(print("7\\n"), "7\n");
  EXPECT_EQ(print("  \\n"), "  \n");
  EXPECT_EQ(print("Été à Köln 日本"), "Été à Köln 日本");
  EXPECT_EQ(print("Caf\\351"), std::nullopt);  // Latin-1
  for (const char* blank : {"", " ", "\\n", " \\n"})
    EXPECT_EQ(print(blank), std::nullopt) << blank;
}

TEST_P(ArrayRunnersTest, outputsOfEverySizeFit) {
  const auto text = run({"/bin/sh", "-c", "head -c 3000000 /dev/zero | tr '\\0' x"});
  EXPECT_EQ(text.value_or("").size(), 3000000U);
}

TEST_P(ArrayRunnersTest, twoToolsAreConnected) {
  EXPECT_EQ(run({"/usr/bin/printf", "b\\na\\n", "|", "/usr/bin/sort", "-r"}), "b\na\n");
  EXPECT_EQ(run({"/usr/bin/printf", "%s", "http://x|y", "|", "/bin/cat"}), "http://x|y");
}

TEST_P(ArrayRunnersTest, listsThatCannotRunAreRefusedAndStartNothing) {
  const test::ScopedTemporaryFolder folder;
  const std::string trace = folder.file("trace");
  for (const Arguments& arguments :
       std::vector<Arguments>{{},
                              {""},
                              {"sh", "-c", "echo x"},  // PATH is not searched
                              {"/nowhere/tool", "x"},
                              {"/usr/bin/touch", trace, "|"},
                              {"/usr/bin/touch", trace, "|", "/nowhere/tool"},
                              {"/usr/bin/touch", trace, "|", "|", "/bin/cat"}})
    EXPECT_EQ(run(arguments), std::nullopt) << testing::PrintToString(arguments);
  EXPECT_NE(::access(trace.c_str(), F_OK), 0);
  EXPECT_EQ(run({folder.write("text", "no program"), "x"}), std::nullopt);
  EXPECT_TRUE(log_.mentions("cannot be started: Permission denied"));
}

TEST_P(ArrayRunnersTest, toolsReadNothingAndGetTheToolEnvironment) {
  const test::ScopedEnvironment language("LC_CTYPE", "C");
  const test::ScopedEnvironment home("HOME", "/home/somebody");
  const auto report = run({childPath("childReport"), "~/x"});
  EXPECT_THAT(report, Optional(AllOf(HasSubstr("environment LC_CTYPE=en_US.UTF-8\n"),
                                     HasSubstr("argument /home/somebody/x\n"),
                                     HasSubstr("input empty\n"))));
}

INSTANTIATE_TEST_SUITE_P(
    runners, ArrayRunnersTest,
    testing::Values(&taskArrayPipes,
                    [](const Arguments& arguments) { return taskArray1PipeMax(arguments, true); }),
    [](const auto& which) { return which.index == 0 ? "taskArrayPipes" : "taskArray1PipeMax"; });

TEST_F(PipelinesTest, taskArrayPipesTakesAnyNumberOfToolsAndTheLastOnesErrors) {
  EXPECT_EQ(taskArrayPipes({"/usr/bin/printf", "b\\na\\n", "|", "/usr/bin/sort", "|", "/bin/sh",
                            "-c", "cat; echo err >&2"}),
            "a\nb\nerr\n");
  const test::ScopedEnvironment language("LC_CTYPE", "C");
  EXPECT_THAT(taskArrayPipes({"/bin/echo", "x", "|", "/usr/bin/env"}),
              Optional(HasSubstr("LC_CTYPE=en_US.UTF-8\n")));
  EXPECT_EQ(taskArrayPipes({"/bin/true", "|", "/nowhere/tool", "|", "/bin/cat"}), std::nullopt);
  EXPECT_TRUE(log_.has("taskArrayPipes      :-( tool !present '/nowhere/tool'"));
}

TEST_F(PipelinesTest, taskArray1PipeMaxShowsASecondPipeAsAMistake) {
  test::ScriptedAlerts alerts;
  setUserAlerts(&alerts);
  EXPECT_EQ(taskArray1PipeMax({"/bin/echo", "x", "|", "/bin/cat", "|", "/bin/cat"}, false),
            std::nullopt);
  setUserAlerts(nullptr);
  ASSERT_EQ(alerts.shown.size(), 1u);
  EXPECT_EQ(alerts.shown[0].message,
            "taskArray1PipeMax is limited to one pipe only (actually) :-(");
  EXPECT_EQ(alerts.shown[0].informative, "/bin/echo x | /bin/cat | /bin/cat");
  EXPECT_EQ(alerts.shown[0].style, Alert::Style::critical);
}

TEST_F(PipelinesTest, taskArray1PipeMaxTellsItsTwoToolsApart) {
  EXPECT_EQ(taskArray1PipeMax({"/bin/echo"}, true), std::nullopt);  // no arguments
  EXPECT_EQ(taskArray1PipeMax({"/bin/echo", "|", "/bin/cat"}, true), std::nullopt);
  EXPECT_EQ(taskArray1PipeMax({"/bin/sh", "-c", "echo out; echo err >&2"}, false), "out\n");
  const test::ScopedEnvironment language("LC_CTYPE", "C");
  EXPECT_THAT(taskArray1PipeMax({"/bin/echo", "x", "|", childPath("childReport")}, false),
              Optional(HasSubstr("environment LC_CTYPE=C\n")));
}

TEST_F(PipelinesTest, taskWithStrArgsRunsTheWorkingFoldersTools) {
  const test::ScopedTemporaryFolder folder;
  const test::TestBundle bundle(folder.file("App with blanks"), "en");
  const std::string tool = folder.writeScript("App with blanks/tools/speak", "echo \"$0\"");
  setWorkFolderPath(folder.file("work"));
  const Outcome<void> prepared = prepareWorkFolder(Bundle::main());
  EXPECT_TRUE(prepared) << prepared.reason();
  EXPECT_EQ(taskWithStrArgs(tool + " && " + tool),
            folder.file("work/app.app/Contents/Resources/tools/speak") + "\n" +
                folder.file("work/app.app/Contents/Resources/tools/speak"));
  setWorkFolderPath(std::nullopt);
}

TEST_F(PipelinesTest, taskWithStrArgsTakesOneLineEndOff) {
  EXPECT_EQ(taskWithStrArgs("printf '7\\n'"), "7");
  EXPECT_EQ(taskWithStrArgs("printf '7\\n\\n'"), "7\n");
  EXPECT_EQ(taskWithStrArgs("echo err >&2"), std::nullopt);
  EXPECT_EQ(taskWithStrArgs("echo"), std::nullopt);
  EXPECT_TRUE(log_.has("str                 :-/ ''"));
}

TEST_F(PipelinesTest, taskWithStrArgsDoesNotWaitForWhatTheShellLeavesBehind) {
  const std::string pid = taskWithStrArgs("sleep 60 & echo $!").value_or("");
  ASSERT_GT(std::atoi(pid.c_str()), 1);
  ::kill(std::atoi(pid.c_str()), SIGKILL);
}

TEST_F(PipelinesTest, taskBloquanteRunsAShellLineWithItsParameters) {
  taskBloquante runner;
  EXPECT_EQ(runner.verbose({"echo \"$0-$1\"; echo err >&2", "a b", "c"}), "a b-c\nerr");
  EXPECT_TRUE(log_.has("verboseStr argsArray : (echo \"$0-$1\"; echo err >&2, a b, c)"));
  EXPECT_EQ(runner.verbose({"printf '7\\n\\n'"}), "7\n");
  EXPECT_EQ(runner.verbose({"echo"}), std::nullopt);
  EXPECT_EQ(runner.verbose({}), std::nullopt);
  EXPECT_EQ(runner.verbose({"printf 'a\\000b'"}), "a");  // up to the zero byte
  EXPECT_EQ(runner.verbose({"cat; echo end"}), "end");   // an empty standard input
  EXPECT_EQ(runner.verbose({"head -c 300000 /dev/zero | tr '\\0' x"}).value_or("").size(), 300000U);
}

}  // namespace
}  // namespace tessarin
