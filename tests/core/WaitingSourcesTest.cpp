#include <gtest/gtest.h>

#include "core/WaitingSources.h"
#include "platform/PollRunLoop.h"
#include "support/LoopUntil.h"

namespace tessarin {
namespace {

class WaitingSourcesTest : public testing::Test {
 protected:
  static std::vector<std::string> paths(std::size_t count) {
    std::vector<std::string> list;
    for (std::size_t index = 0; index < count; ++index)
      list.push_back("/card/" + std::to_string(index) + ".mts");
    return list;
  }
  std::size_t shownCount() const {
    const Value* shown = preferences.prefRead("analysisSrcPathesDico");
    return shown ? shown->dico()->size() : 0;
  }
  std::string shown(const std::string& key) const {
    const Value* record = preferences.prefRead("analysisSrcPathesDico");
    return record ? record->dico()->textOrEmpty(key) : "";
  }

  PollRunLoop loop;
  MemoryUserDomain domain;
  PreferenceStore preferences{domain};
  WaitingSources waiting{preferences, loop};
};

TEST_F(WaitingSourcesTest, AShortQueueIsShownRenumberedAtOnce) {
  waiting.assign(paths(3));
  EXPECT_EQ(shownCount(), 3u);
  EXPECT_EQ(waiting.takeFirst(), "/card/0.mts");
  EXPECT_EQ(shownCount(), 2u);
  EXPECT_EQ(shown("0"), "/card/1.mts");
  EXPECT_EQ(shown("1"), "/card/2.mts");
  waiting.takeFirst();
  waiting.takeFirst();
  EXPECT_TRUE(waiting.empty());
  EXPECT_EQ(preferences.prefRead("analysisSrcPathesDico"), nullptr);
}

TEST_F(WaitingSourcesTest, ALongQueueIsShownSometimesAndComesUpToDate) {
  waiting.assign(paths(WaitingSources::shortQueue + 50));
  EXPECT_EQ(shownCount(), WaitingSources::shortQueue + 50);
  waiting.takeFirst();
  waiting.takeFirst();
  EXPECT_EQ(shown("0"), "/card/0.mts") << "shown for every source";
  ASSERT_TRUE(test::loopUntil(loop, [&] { return shown("0") == "/card/2.mts"; }));
  EXPECT_EQ(shownCount(), WaitingSources::shortQueue + 48);
  // The end of the queue is shown at once, and what was to be shown later does not come after it.
  waiting.takeFirst();
  waiting.clear();
  test::loopFor(loop, 2 * WaitingSources::showInterval);
  EXPECT_EQ(preferences.prefRead("analysisSrcPathesDico"), nullptr);
}

TEST_F(WaitingSourcesTest, NoSourceIsLostBehindTheLastKey) {
  waiting.assign(paths(WaitingSources::mostKeys + 2));
  EXPECT_EQ(shownCount(), WaitingSources::mostKeys);
  EXPECT_EQ(waiting.size(), WaitingSources::mostKeys + 2);
}

}  // namespace
}  // namespace tessarin
