#include <gtest/gtest.h>

#include <memory>

#include "platform/ExitWatch.h"
#include "platform/PollRunLoop.h"
#include "support/LoopUntil.h"
#include "support/children.h"
#include "support/processState.h"

namespace tessarin {
namespace {

// With and without an exit descriptor of the kernel's.
class ExitWatchTest : public testing::TestWithParam<bool> {
 protected:
  ChildProcess start(const std::string& milliseconds) const {
    ChildSetup setup{test::childPath("childCloseAndLive"), {milliseconds, "4"}};
    setup.exitDescriptor = GetParam();
    return std::move(*ChildProcess::start(setup));
  }

  PollRunLoop loop_;
};

TEST_P(ExitWatchTest, callsOnceAfterTheChildWasReaped) {
  ChildProcess child = start("300");
  int calls = 0;
  std::unique_ptr<ExitWatch> watch;
  watch = std::make_unique<ExitWatch>(loop_, child, [&] {
    ++calls;
    EXPECT_FALSE(test::hasChildren());
    EXPECT_EQ(child.exitStatus().value_or(ExitStatus{}).number(), 4);
    watch.reset();  // allowed from the call
    loop_.stop(0);
  });
  const double before = test::processorSeconds();
  loop_.run();
  EXPECT_LT(test::processorSeconds() - before, 0.1);
  test::loopFor(loop_, std::chrono::milliseconds(80));
  EXPECT_EQ(calls, 1);
}

TEST_P(ExitWatchTest, isSilentOnceItIsGone) {
  ChildProcess child = start("0");
  int calls = 0;
  {
    const ExitWatch watch(loop_, child, [&] { ++calls; });
  }
  child.wait();
  test::loopFor(loop_, std::chrono::milliseconds(80));
  EXPECT_EQ(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(kernels, ExitWatchTest, testing::Bool(), [](const auto& which) {
  return which.param ? "withExitDescriptor" : "without";
});

}  // namespace
}  // namespace tessarin
