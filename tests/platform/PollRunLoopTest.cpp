#include <gmock/gmock.h>
#include <unistd.h>

#include "platform/Descriptor.h"
#include "platform/PollRunLoop.h"
#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class PollRunLoopTest : public testing::Test {
 protected:
  // A pipe with a byte in it, so that its read end is ready until the byte is taken.
  static Pipe readyPipe() {
    Pipe pipe = std::move(*makePipe());
    EXPECT_EQ(::write(pipe.writeEnd.number(), "x", 1), 1);
    return pipe;
  }

  PollRunLoop loop_;
  std::vector<std::string> calls_;
};

TEST_F(PollRunLoopTest, tasksRunByMomentThenByAge) {
  loop_.runAfter(milliseconds(30), [this] { loop_.stop(7); });
  loop_.runAfter(milliseconds(10), [this] { calls_.push_back("later"); });
  loop_.runSoon([this] { calls_.push_back("first"); });
  loop_.runSoon([this] { calls_.push_back("second"); });
  EXPECT_EQ(loop_.run(), 7);
  EXPECT_THAT(calls_, ElementsAre("first", "second", "later"));
}

TEST_F(PollRunLoopTest, tasksThatAddTheNextOneLeaveTheDescriptorsTheirTurn) {
  const Pipe pipe = readyPipe();
  std::function<void()> again = [&] { loop_.runSoon(again); };
  loop_.runSoon(again);
  loop_.watchReadable(pipe.readEnd.number(), [this] { loop_.stop(0); });
  loop_.runAfter(std::chrono::seconds(5), [this] { loop_.stop(1); });
  EXPECT_EQ(loop_.run(), 0);
}

TEST_F(PollRunLoopTest, cancelWorksFromInsideCallbacks) {
  const Pipe one = readyPipe();
  const Pipe other = readyPipe();
  RunLoop::Id mine = 0;
  RunLoop::Id second = 0;
  mine = loop_.watchReadable(one.readEnd.number(), [&] {
    calls_.push_back("one");
    loop_.cancel(mine);    // the watch whose function runs
    loop_.cancel(second);  // a watch that is ready in the same turn
  });
  second = loop_.watchReadable(other.readEnd.number(), [&] { calls_.push_back("other"); });

  RunLoop::Id later = 0;
  loop_.runSoon([&] { loop_.cancel(later); });  // a task that is due in the same turn
  later = loop_.runSoon([&] { calls_.push_back("later"); });
  test::loopFor(loop_, milliseconds(30));
  EXPECT_THAT(calls_, ElementsAre("one"));
  loop_.cancel(later);  // over already
}

TEST_F(PollRunLoopTest, stopCountsBeforeRunAndEndsTheTurn) {
  loop_.stop(3);
  EXPECT_EQ(loop_.run(), 3);

  const Pipe pipe = readyPipe();
  loop_.watchReadable(pipe.readEnd.number(), [this] {
    calls_.push_back("served");
    loop_.stop(5);
  });
  loop_.runSoon([this] { loop_.stop(4); });
  EXPECT_EQ(loop_.run(), 4);
  EXPECT_THAT(calls_, ElementsAre());
  EXPECT_EQ(loop_.run(), 5);  // what was ready is served by the next run
}

TEST_F(PollRunLoopTest, aWatchWhoseDescriptorWasClosedIsDroppedWithALine) {
  const test::LogCapture log;
  Pipe pipe = readyPipe();
  const std::string number = std::to_string(pipe.readEnd.number());
  loop_.watchReadable(pipe.readEnd.number(), [this] { calls_.push_back("called"); });
  pipe.readEnd.close();
  test::loopFor(loop_, milliseconds(20));
  EXPECT_THAT(log.lines(),
              ElementsAre("run loop            :-( descriptor " + number + " is not open"));
  EXPECT_THAT(calls_, ElementsAre());
}

TEST_F(PollRunLoopTest, waitingUsesNoProcessorTime) {
  Pipe pipe = std::move(*makePipe());
  loop_.watchReadable(pipe.readEnd.number(), [] {});
  const double before = test::processorSeconds();
  test::loopFor(loop_, milliseconds(400));
  EXPECT_LT(test::processorSeconds() - before, 0.1);
}

}  // namespace
}  // namespace tessarin
