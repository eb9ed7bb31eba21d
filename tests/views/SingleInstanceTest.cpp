#include <gmock/gmock.h>

#include <thread>

#include "support/LogCapture.h"
#include "support/LoopUntil.h"
#include "support/ScopedTemporaryFolder.h"
#include "views/QtRunLoop.h"
#include "views/SingleInstance.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(SingleInstance, ALaterCopyHandsItsFilesToTheFirst) {
  const test::ScopedTemporaryFolder folder;
  QtRunLoop loop;
  std::vector<std::vector<std::string>> opened;
  SingleInstance first(folder.path());
  ASSERT_TRUE(first.isFirst());
  first.serve([&](const std::vector<std::string>& paths) { opened.push_back(paths); });
  const SingleInstance second(folder.path());
  EXPECT_FALSE(second.isFirst());

  const std::vector<std::string> many(2000, "/media/card/Été à Köln\n.MTS");
  bool taken[3] = {};
  std::thread later([&] {
    taken[0] = second.handOver({"/a b.mts", "/c.mts"});
    taken[1] = second.handOver({});
    taken[2] = second.handOver(many);
  });
  EXPECT_TRUE(test::loopUntil(loop, [&] { return opened.size() == 3; }));
  later.join();
  EXPECT_THAT(taken, testing::Each(true));
  ASSERT_EQ(opened.size(), 3u);
  EXPECT_THAT(opened[0], ElementsAre("/a b.mts", "/c.mts"));
  EXPECT_THAT(opened[1], ElementsAre());
  EXPECT_EQ(opened[2], many);
}

TEST(SingleInstance, TheNextCopyIsFirstAgainAfterAnEnd) {
  const test::ScopedTemporaryFolder folder;
  const test::LogCapture log;
  {
    SingleInstance first(folder.path());
    first.serve([](const std::vector<std::string>&) {});
  }
  EXPECT_TRUE(SingleInstance(folder.path()).isFirst());
  // Without a place for the lock nobody is kept from working.
  EXPECT_TRUE(SingleInstance("").isFirst());
  EXPECT_TRUE(SingleInstance(folder.file("missing")).isFirst());
}

}  // namespace
}  // namespace tessarin
