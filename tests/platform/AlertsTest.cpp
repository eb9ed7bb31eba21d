#include <gtest/gtest.h>

#include "platform/Alerts.h"
#include "support/LogCapture.h"

namespace tessarin {
namespace {

TEST(AlertsTest, withoutAFrontAlertsGoToTheLogAndTheFirstButtonAnswers) {
  const test::LogCapture log;
  AlertAnswer answer{9, true};
  const Alert question{"Overwrite?", "It is there.", {"No", "Yes"}, "Always"};
  userAlerts().show(question, [&](AlertAnswer given) { answer = given; });
  EXPECT_EQ(answer.button, 0U);
  EXPECT_FALSE(answer.checked);
  userAlerts().show({"Done", ""});
  EXPECT_TRUE(log.has("alert               : Overwrite? / It is there."));
  EXPECT_TRUE(log.has("alert               : Done"));
}

}  // namespace
}  // namespace tessarin
