#include <gmock/gmock.h>

#include "platform/NotificationCenter.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(NotificationCenterTest, observersMayComeAndGoWhileOneIsCalled) {
  NotificationCenter center;
  std::vector<std::string> calls;
  const auto note = [&](const std::string& text) { return [&, text] { calls.push_back(text); }; };
  NotificationCenter::Id self = 0;
  NotificationCenter::Id removed = 0;
  self = center.addObserver("stop", 1, [&] {
    calls.push_back("self");
    center.remove(self);
    center.remove(removed);
    center.addObserver("stop", 1, note("new"));
  });
  removed = center.addObserver("stop", 1, note("removed"));
  center.addObserver("stop", 2, note("other object"));
  center.addObserver("go", 1, note("other name"));
  center.addObserver("stop", std::nullopt, note("last"));
  center.post("stop", 1);
  EXPECT_THAT(calls, ElementsAre("self", "last"));
  center.post("stop", 1);
  EXPECT_THAT(calls, ElementsAre("self", "last", "last", "new"));
}

}  // namespace
}  // namespace tessarin
