#include <gmock/gmock.h>

#include "platform/NotificationCenter.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

class NotificationCenterTest : public testing::Test {
 protected:
  NotificationCenter::Function note(const std::string& text) {
    return [this, text] { calls_.push_back(text); };
  }

  NotificationCenter center_;
  std::vector<std::string> calls_;
};

TEST_F(NotificationCenterTest, nameAndObjectSelectTheObservers) {
  center_.addObserver("stop", 7, note("seven"));
  center_.addObserver("stop", std::nullopt, note("any"));
  center_.addObserver("stop", 8, note("eight"));
  center_.addObserver("go", 7, note("go"));
  center_.post("stop", 7);
  EXPECT_THAT(calls_, ElementsAre("seven", "any"));
}

TEST_F(NotificationCenterTest, observersMayComeAndGoWhileOneIsCalled) {
  NotificationCenter::Id self = 0;
  NotificationCenter::Id removed = 0;
  self = center_.addObserver("stop", 1, [&] {
    calls_.push_back("self");
    center_.remove(self);
    center_.remove(removed);
    center_.addObserver("stop", 1, note("new"));
  });
  removed = center_.addObserver("stop", 1, note("removed"));
  center_.addObserver("stop", 1, note("last"));
  center_.post("stop", 1);
  EXPECT_THAT(calls_, ElementsAre("self", "last"));
  center_.post("stop", 1);
  EXPECT_THAT(calls_, ElementsAre("self", "last", "last", "new"));
}

}  // namespace
}  // namespace tessarin
