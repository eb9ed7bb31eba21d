#include <gmock/gmock.h>
#include <unistd.h>

#include "platform/Descriptor.h"
#include "views/QtRunLoop.h"

namespace tessarin {
namespace {

using namespace std::chrono_literals;

TEST(QtRunLoop, RunsTasksInTheOrderOfTheirMomentsThenOfAsking) {
  QtRunLoop loop;
  std::string order;
  loop.runAfter(20ms, [&] {
    order += "d";
    loop.stop(7);
  });
  loop.runSoon([&] {
    order += "a";
    loop.runSoon([&] { order += "c"; });
  });
  loop.runSoon([&] { order += "b"; });
  const auto never = loop.runSoon([&] { order += "!"; });
  loop.cancel(never);
  EXPECT_EQ(loop.run(), 7);
  EXPECT_EQ(order, "abcd");
}

TEST(QtRunLoop, AWatchEndsItselfAndTheEndOfAPipeIsSeen) {
  QtRunLoop loop;
  auto pipe = makePipe();
  ASSERT_TRUE(pipe);
  int calls = 0;
  RunLoop::Id id = 0;
  id = loop.watchReadable(pipe->readEnd.number(), [&] {
    char byte = 0;
    ++calls;
    if (::read(pipe->readEnd.number(), &byte, 1) > 0)
      return;
    loop.cancel(id);
    pipe->readEnd.close();
    loop.runAfter(20ms, [&] { loop.stop(0); });
  });
  ASSERT_EQ(::write(pipe->writeEnd.number(), "ab", 2), 2);
  pipe->writeEnd.close();
  loop.run();
  EXPECT_EQ(calls, 3);
}

}  // namespace
}  // namespace tessarin
