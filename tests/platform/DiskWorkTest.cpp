#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

#include "platform/DiskQuestion.h"
#include "platform/DiskWork.h"
#include "platform/PollRunLoop.h"
#include "support/LoopUntil.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/processState.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(DiskSyncTest, TellsOfEveryFileWhenItIsThereAndOfNoneThatIsForgotten) {
  const test::ScopedTemporaryFolder folder;
  PollRunLoop loop;
  DiskSync sync(loop);
  std::vector<int> there;
  const auto add = [&](int number, const std::string& path) {
    sync.add(path,
             [&there, number](bool isOnDisk) { there.push_back(isOnDisk ? number : -number); });
  };
  int idle = 0;
  add(1, folder.write("one.mov", "1"));
  EXPECT_TRUE(test::hasChildren());
  EXPECT_THAT(there, ElementsAre());
  add(2, folder.write("two.mov", "2"));  // while the first is waited for
  add(3, folder.file("gone.mov"));
  sync.whenIdle([&] { ++idle; });
  EXPECT_EQ(idle, 0);
  EXPECT_TRUE(test::loopUntil(loop, [&] { return idle == 1; }));
  EXPECT_THAT(there, ElementsAre(1, 2, -3));
  EXPECT_FALSE(test::hasChildren());

  add(4, folder.file("one.mov"));
  add(5, folder.file("two.mov"));
  sync.whenIdle([&] { ++idle; });
  sync.clear();
  EXPECT_EQ(idle, 2);
  test::loopFor(loop, std::chrono::milliseconds(100));
  EXPECT_EQ(there.size(), 3u);
}

// A disk that does not answer keeps nobody: the loop goes on, whoever is tired of it gives up, and
// the answer to a former question is none to the next one.
TEST(DiskQuestionTest, WaitsForADiskThatHangsWithoutStandingStill) {
  struct Disk {
    std::atomic<bool> answers = false;
    std::atomic<int> served = 0;
  };
  const auto disk = std::make_shared<Disk>();
  const auto work = [disk] {
    while (!disk->answers)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ++disk->served;
  };
  PollRunLoop loop;
  std::vector<int> answers;
  DiskQuestion first(loop);
  first.ask(work, [&] { answers.push_back(1); });
  test::loopFor(loop, std::chrono::milliseconds(20));
  EXPECT_THAT(answers, ElementsAre());
  first.ask([] {}, [&] { answers.push_back(2); });
  EXPECT_THAT(answers, ElementsAre()) << "never from inside the call";
  EXPECT_TRUE(test::loopUntil(loop, [&] { return !answers.empty(); }));
  first.ask(work, [&] { answers.push_back(3); });
  {
    DiskQuestion gone(loop);
    gone.ask(work, [&] { answers.push_back(4); });
  }
  DiskQuestion impatient(loop);
  impatient.askFor("/", std::chrono::seconds(60),
                   [&](bool isAnswered) { answers.push_back(isAnswered ? 5 : -5); });
  EXPECT_TRUE(test::loopUntil(loop, [&] { return answers.size() == 2; }));
  disk->answers = true;
  EXPECT_TRUE(test::loopUntil(loop, [&] { return answers.size() == 3 && disk->served == 3; }));
  EXPECT_THAT(answers, ElementsAre(2, 5, 3));
}

}  // namespace
}  // namespace tessarin
