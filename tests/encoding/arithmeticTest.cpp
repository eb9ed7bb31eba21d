#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "encoding/arithmetic.h"
#include "support/LogCapture.h"

namespace tessarin {
namespace {

class Arithmetic : public testing::Test {
 protected:
  test::LogCapture log_{false};
};

TEST_F(Arithmetic, estimatesTheSizeByTheFormat) {
  EXPECT_FLOAT_EQ(encDstPoidsEstimatif(60, 100, 0), 111.0F);
  EXPECT_FLOAT_EQ(encDstPoidsEstimatif(60, 100, 1), 360.0F);
  EXPECT_FLOAT_EQ(encDstPoidsEstimatif(60, 100, 2), 540.0F);
  EXPECT_FLOAT_EQ(encDstPoidsEstimatif(60, 100, 3), 540.0F);
  EXPECT_TRUE(log_.lines().empty()) << "only with the debug flag";
}

TEST_F(Arithmetic, fitsTheBitRateIntoASize) {
  EXPECT_EQ(bitrateLimited(4000, 3600), 9128);
  EXPECT_EQ(bitrateLimited(1, 3600), -189) << "cut towards 0: the sound is too large already";
  EXPECT_EQ(bitrateLimited(700, 0), 0);
  EXPECT_EQ(bitrateLimited(700, std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(bitrateLimited(700, 1e-9), std::numeric_limits<int>::max());
}

TEST_F(Arithmetic, findsADivisorNearTheWantedOne) {
  struct Case {
    int a;
    int b;
    int wanted;
    int expected;
    const char* pass;
  };
  const Case cases[] = {
      {1920, 1080, 120, 120, "the wanted one"},
      {1440, 1080, 100, 72, "around: the smallest from 67 to 149"},
      {134, 268, 100, 67, "around: the first is tried"},
      {149, 298, 100, 149, "around: the last before 150"},
      {52, 104, 100, 52, "below: from 50 to 65"},
      {66, 132, 100, 11, "66 lies in no pass: below ends before it, around begins behind it"},
      {85, 85, 10, 5, "below comes before above"},
      {157, 314, 100, 157, "above: from 150 to 199"},
      {199, 398, 10, 199, "primes: the largest"},
      {43 * 3, 43 * 3, 1000, 3, "primes: 43 is not in the list"},
      {1920, 1081, 500, 1, "no common divisor"},
      {1920, 1080, 0, 5, "0 divides nothing"},
      {-1440, 1080, 100, 72, "a negative size"},
  };
  for (const Case& one : cases)
    EXPECT_EQ(nbsSousMultipleCommun(one.a, one.b, one.wanted), one.expected) << one.pass;
  EXPECT_TRUE(log_.has("nbsSousMultipleCommun: fin 72"));
}

TEST_F(Arithmetic, roundsToMultiplesWithTiesUp) {
  EXPECT_EQ(nbMultipleArrondi(1085, 16), 1088);
  EXPECT_EQ(nbMultipleArrondi(1080, 16), 1088);
  EXPECT_EQ(nbMultipleArrondi(1072, 16), 1072);
  EXPECT_EQ(nbMultipleArrondi(1079, 16), 1072);
  EXPECT_EQ(nbMultipleArrondi(4, 3), 6) << "half of 3 is cut to 1";
  EXPECT_EQ(nbMultipleArrondi(-13, 16), 0) << "the remainder has the number's sign";
  EXPECT_EQ(nbMultipleArrondi(7, 0), 7);
  EXPECT_TRUE(log_.has("nbMultipleArrondi    :-) 1088"));
  EXPECT_TRUE(log_.has("nbMultipleArrondi    :-) 1072"));
}

TEST_F(Arithmetic, roundsToDecimals) {
  EXPECT_EQ(nbArrondi(2.5, 0), 3);
  EXPECT_EQ(nbArrondi(-2.2, 0), -1) << "half up, then cut towards 0";
  EXPECT_EQ(nbArrondi(-2.25, 1), -2.3F);
  EXPECT_EQ(nbArrondi(2.25, 1), 2.3F);
  EXPECT_EQ(nbArrondi(1.7777, 2), 1.78F);
  EXPECT_EQ(nbArrondi(0, 3), 0);
  EXPECT_TRUE(log_.has("nbArrondi            : -1.000000"));
}

TEST_F(Arithmetic, namesAspectRatios) {
  const std::pair<double, const char*> cases[] = {
      {1.7777, "16:9"}, {1.76, "16:9"}, {1.3333, "4:3"},    {1.5, "3:2"},   {2.35, "47:20"},
      {0.05, "1:1"},    {-0.05, "1:1"}, {1.01, "1:1"},      {-1.5, "-3:2"}, {1.25, "5:4"},
      {1.8, "9:5"},     {0, "1:1"},     {1.0309, "103:100"}};
  for (const auto& [ratio, text] : cases)
    EXPECT_EQ(float2FractionStr(ratio), text) << ratio;
  EXPECT_EQ(float2FractionStr(std::numeric_limits<double>::quiet_NaN()), "1:1");
  EXPECT_EQ(float2FractionStr(std::numeric_limits<double>::infinity()), "1:1");
  EXPECT_TRUE(log_.has("float2FractionStr : 47:20 (<-2.350)"));
}

}  // namespace
}  // namespace tessarin
