#include <gtest/gtest.h>

#include <ctime>

#include "support/ScopedEnvironment.h"
#include "utils/times.h"

namespace tessarin {
namespace {

TEST(DurationText, writesHoursMinutesAndSeconds) {
  EXPECT_EQ(durationText(65), "0h01'05\"");
  EXPECT_EQ(durationText(3725), "1h02'05\"");
  EXPECT_EQ(durationText(0), "0h00'00\"");
  EXPECT_EQ(durationText(360000 + 59 * 60 + 59), "100h59'59\"");
  EXPECT_EQ(durationText(-5), "0h00'00\"");
}

TEST(TimeStr2Seconds, readsTimesWithAndWithoutDays) {
  EXPECT_DOUBLE_EQ(timeStr2Seconds("00:01:05.50"), 65.5);
  EXPECT_DOUBLE_EQ(timeStr2Seconds("100:00:00"), 360000);
  EXPECT_DOUBLE_EQ(timeStr2Seconds("2:03:04:05.25"), 2 * 86400 + 3 * 3600 + 4 * 60 + 5.25);
  EXPECT_DOUBLE_EQ(timeStr2Seconds(" 00:00:07.00\n"), 7);
}

TEST(TimeStr2Seconds, answersZeroForOtherForms) {
  for (const char* text : {"", "N/A", "65.5", "01:05", "1:2:3:4:5", "::", "a:b:c", "00:00:-5",
                           "00:00:nan", "00:00:inf", "00:00:5x", "00:00:1e400", "0x1:00:00"})
    EXPECT_EQ(timeStr2Seconds(text), 0) << text;
}

class Dates : public testing::Test {
 protected:
  Dates() { ::tzset(); }
  ~Dates() override { ::tzset(); }
};

TEST_F(Dates, areWrittenInLocalTimeWithTheZone) {
  const Date christmasEve{1293195933.75};  // 2010-12-24 13:05:33.75 UTC
  {
    const test::ScopedEnvironment zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    ::tzset();
    EXPECT_EQ(dateDescription(christmasEve), "2010-12-24 14:05:33 +0100");
    EXPECT_EQ(dateDescription(Date{1277382933}), "2010-06-24 14:35:33 +0200");
  }
  {
    const test::ScopedEnvironment zone("TZ", "EST5");
    ::tzset();
    EXPECT_EQ(dateDescription(christmasEve), "2010-12-24 08:05:33 -0500");
    EXPECT_EQ(dateDescription(Date{-0.5}), "1969-12-31 18:59:59 -0500");
  }
}

}  // namespace
}  // namespace tessarin
