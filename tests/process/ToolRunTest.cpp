#include <gtest/gtest.h>

#include "platform/PollRunLoop.h"
#include "process/ToolRun.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/children.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using namespace std::chrono_literals;
using test::childPath;

class ToolRunTest : public testing::Test {
 protected:
  ~ToolRunTest() override {
    test::loopFor(loop_, 0ms);  // what a run leaves to the loop goes before descriptors count
    EXPECT_FALSE(test::hasChildren());
    EXPECT_EQ(test::openDescriptors(), descriptors_);
  }

  // Starts the tool and serves the loop until its end was told.
  std::optional<ToolResult> resultOf(const Arguments& command, const ToolLimits& limits) {
    std::optional<ToolResult> told;
    ToolRun run(loop_);
    if (run.start(command, limits, [&](ToolResult result) { told = std::move(result); }))
      test::loopUntil(loop_, [&] { return told.has_value(); });
    return told;
  }

  const std::size_t descriptors_ = test::openDescriptors();
  const test::LogCapture log_;
  PollRunLoop loop_;
};

TEST_F(ToolRunTest, TellsWhatAToolSaidAndHowItEnded) {
  const auto both = resultOf({"/bin/sh", "-c", "echo out; echo \351rr >&2; exit 3"}, {});
  ASSERT_TRUE(both);
  EXPECT_EQ(both->status, 3);
  EXPECT_FALSE(both->isOverdue);
  EXPECT_EQ(both->output.size(), 8u);
  EXPECT_EQ(reportOf(*both), std::nullopt);  // no UTF-8

  ToolLimits apart;
  apart.keepsErrors = false;
  const auto out = resultOf({"/bin/sh", "-c", "echo out; echo err >&2"}, apart);
  ASSERT_TRUE(out);
  EXPECT_EQ(reportOf(*out), "out\n");
  EXPECT_TRUE(log_.mentions("sh: err"));

  EXPECT_FALSE(resultOf({"/nowhere/tool"}, {}));
  EXPECT_FALSE(resultOf({}, {}));
}

TEST_F(ToolRunTest, KeepsNoMoreOfAFloodThanWasAskedFor) {
  ToolLimits limits;
  limits.output = 100000;
  const auto result = resultOf({childPath("childFlood"), "3000000"}, limits);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 0);
  EXPECT_EQ(result->output.size(), 100000u);
}

// What a tool can do that is not at work any more, and one that is.
TEST_F(ToolRunTest, EndsAToolThatIsOverdueWhateverItDoes) {
  const Arguments hanging[] = {
      {childPath("childHang")},                         // ignores every signal
      {"/bin/sh", "-c", "kill -STOP $$"},               // stopped
      {childPath("childCloseAndLive"), "600000", "0"},  // its pipes are closed
      {"/bin/sh", "-c", "sleep 600 & exec sleep 600"},  // with a child of its own
      {"/bin/sh", "-c", "exec yes ''"},                 // says something for ever
      {"/bin/sleep", "600", "|", "/bin/cat"},
  };
  for (const Arguments& command : hanging) {
    const auto result = resultOf(command, {150ms, {}});
    ASSERT_TRUE(result) << testing::PrintToString(command);
    EXPECT_TRUE(result->isOverdue) << testing::PrintToString(command);
    EXPECT_EQ(reportOf(*result), std::nullopt) << testing::PrintToString(command);
  }
  // Only silence counts against a tool that says something now and then.
  const std::string slow = "for i in 1 2 3 4 5 6 7 8; do echo $i; sleep 0.1; done";
  EXPECT_EQ(resultOf({"/bin/sh", "-c", slow}, {{}, 400ms})->status, 0);
  EXPECT_TRUE(resultOf({"/bin/sh", "-c", slow + "; sleep 600"}, {{}, 400ms})->isOverdue);
}

TEST_F(ToolRunTest, ACancelledRunIsGoneAtOnceAndTellsNothing) {
  bool isTold = false;
  const auto told = [&](const ToolResult&) { isTold = true; };
  ToolRun run(loop_);
  ASSERT_TRUE(run.start({childPath("childHang")}, {}, told));
  test::loopFor(loop_, 20ms);
  run.cancel();
  EXPECT_FALSE(run.isRunning());
  EXPECT_FALSE(test::hasChildren());
  ASSERT_TRUE(run.start({"/bin/sleep", "600"}, {20ms, {}}, told));
  ASSERT_TRUE(run.start({"/bin/true"}, {}, told));  // in the place of the other
  EXPECT_FALSE(isTold);
  EXPECT_TRUE(test::loopUntil(loop_, [&] { return isTold; }));
}

TEST_F(ToolRunTest, ItsEndMayBeginTheNextRunOrBeTheEndOfItself) {
  auto run = std::make_unique<ToolRun>(loop_);
  int ends = 0;
  ASSERT_TRUE(run->start({"/bin/true"}, {}, [&](const ToolResult&) {
    ++ends;
    EXPECT_TRUE(run->start({"/bin/true"}, {}, [&](const ToolResult&) {
      ++ends;
      run.reset();
    }));
  }));
  EXPECT_TRUE(test::loopUntil(loop_, [&] { return !run; }));
  EXPECT_EQ(ends, 2);
}

}  // namespace
}  // namespace tessarin
