#include <gmock/gmock.h>

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

}  // namespace
}  // namespace tessarin
