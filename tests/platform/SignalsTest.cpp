#include <gmock/gmock.h>

#include "platform/PollRunLoop.h"
#include "platform/Signals.h"
#include "support/LoopUntil.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(SignalWatchTest, signalsBecomeCallsOfTheLoop) {
  PollRunLoop loop;
  std::vector<int> caught;
  const SignalWatch watch(loop, {SIGUSR1, SIGTERM}, [&](int signal) { caught.push_back(signal); });
  std::raise(SIGTERM);
  std::raise(SIGUSR1);
  std::raise(SIGUSR1);
  EXPECT_THAT(caught, ElementsAre());  // never from inside the handler
  test::loopFor(loop, std::chrono::milliseconds(10));
  EXPECT_THAT(caught, ElementsAre(SIGUSR1, SIGTERM));
}

TEST(SignalWatchTest, theCallMayEndTheWatch) {
  PollRunLoop loop;
  std::optional<SignalWatch> watch;
  watch.emplace(loop, std::vector<int>{SIGUSR1}, [&](int) { watch.reset(); });
  std::raise(SIGUSR1);
  EXPECT_TRUE(test::loopUntil(loop, [&] { return !watch; }));
}

TEST(SignalWatchTest, whatWasBeforeIsPutBackAndIgnoredSignalsStayIgnored) {
  std::signal(SIGUSR1, SIG_DFL);
  std::signal(SIGHUP, SIG_IGN);
  {
    PollRunLoop loop;
    int calls = 0;
    const SignalWatch watch(loop, {SIGUSR1, SIGHUP}, [&](int) { ++calls; });
    std::raise(SIGHUP);
    test::loopFor(loop, std::chrono::milliseconds(10));
    EXPECT_EQ(calls, 0);
  }
  EXPECT_EQ(std::signal(SIGUSR1, SIG_DFL), SIG_DFL);
  EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

}  // namespace
}  // namespace tessarin
