#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/LogCapture.h"
#include "utils/numbers.h"

namespace tessarin {
namespace {

class Numbers : public testing::Test {
 protected:
  test::LogCapture log_{false};
};

TEST_F(Numbers, readsOneDecimalNumber) {
  const std::pair<const char*, float> cases[] = {
      {"25", 25},   {" 1 920 ", 1920},   {"-12.5", -12.5}, {"+3", 3},
      {".5", 0.5},  {"48000 Hz", 48000}, {"v1.5rc", 1.5},  {"fps25.00fps", 25},
      {"12,5", 12}, {"720x576", 720},    {"1e3", 1000},    {"2e", 2},
      {"7.", 7},    {"Größe 3", 3},      {"1.2.3", 1.2F},  {"0x10", 0},
  };
  for (const auto& [text, value] : cases)
    EXPECT_EQ(str2Float(text), value) << text;
}

TEST_F(Numbers, answersZeroWithoutANumber) {
  EXPECT_EQ(str2Float(std::nullopt), 0);
  for (const char* text : {"", " ", "abc", "-", "+", ".", "-.", "(25", "inf", "-inf", "nan", "-nan",
                           "+-3", "--3", "\t25"})
    EXPECT_EQ(str2Float(text), 0) << text;
}

TEST_F(Numbers, neverAnswersInfinity) {
  EXPECT_EQ(str2Float("1e39"), std::numeric_limits<float>::max());
  EXPECT_EQ(str2Float("-" + std::string(400, '9')), -std::numeric_limits<float>::max());
  EXPECT_EQ(str2Float("1e-60"), 0);
  EXPECT_EQ(str2Float("0." + std::string(400, '0') + "1"), 0);
}

TEST_F(Numbers, readsRatiosAndFallsBackToOne) {
  EXPECT_FLOAT_EQ(fractionStr2Float("16:9"), 16.0F / 9.0F);
  EXPECT_FLOAT_EQ(fractionStr2Float(" 4 : 3 "), 4.0F / 3.0F);
  EXPECT_FLOAT_EQ(fractionStr2Float("2.35"), 2.35F);
  EXPECT_FLOAT_EQ(fractionStr2Float("-16:9"), -16.0F / 9.0F);
  EXPECT_FLOAT_EQ(fractionStr2Float("16:9:3"), 16.0F / 9.0F);
  EXPECT_FLOAT_EQ(fractionStr2Float("1:10"), 0.1F);
  EXPECT_EQ(fractionStr2Float(std::nullopt), 1);
  for (const char* text : {"", ":", "0:1", "16:0", "0:0", ":9", "0.09", "-0.05", "N/A"})
    EXPECT_EQ(fractionStr2Float(text), 1) << text;
  EXPECT_TRUE(log_.has("fractionStr2Float :-/ 2.350 (<-2.35)"));
}

TEST_F(Numbers, readsVersions) {
  EXPECT_FLOAT_EQ(versionToFloat("10.4.11"), 10.0411F);
  EXPECT_FLOAT_EQ(versionToFloat("7.6.6"), 7.0606F);
  EXPECT_FLOAT_EQ(versionToFloat("5.1.8-0+deb12u1"), 5.0108F);
  EXPECT_FLOAT_EQ(versionToFloat("6"), 6);
  EXPECT_FLOAT_EQ(versionToFloat("1.2.3.99"), 1.0203F);
  EXPECT_EQ(versionToFloat(""), 0);
}

}  // namespace
}  // namespace tessarin
