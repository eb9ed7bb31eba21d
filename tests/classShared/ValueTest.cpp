#include <gtest/gtest.h>

#include <limits>

#include "classShared/Value.h"

namespace tessarin {
namespace {

TEST(Value, ReadsNumbersOfAnyKindAndNothingElse) {
  EXPECT_EQ(Value(7).integer(), 7);
  EXPECT_EQ(Value(true).integer(), 1);
  EXPECT_EQ(Value(-2.9).integer(), -2);
  EXPECT_EQ(Value(7).number(), 7.0);
  EXPECT_EQ(Value("7").integer(), std::nullopt);
  EXPECT_EQ(Value(7).text(), std::nullopt);
  EXPECT_EQ(Value(1e300).integer(), std::nullopt);
  EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).integer(), std::nullopt);
}

TEST(Dico, DescribesItselfInOneLine) {
  const Dico record{{"list", List{1, "two"}}, {"bytes", Bytes{0x0a, 0xff}}, {"flag", true}};
  EXPECT_EQ(record.description(), "{bytes = <0aff>, flag = 1, list = (1, two)}");
}

TEST(Value, DescribesNumbersAsShortAsTheyWereRead) {
  EXPECT_EQ(Value(static_cast<double>(59.94F)).description(), "59.94");
  EXPECT_EQ(Value(59.94).description(), "59.94");
  EXPECT_EQ(Value(static_cast<double>(123456789.0F)).description(), "123456792") << "exact";
}

}  // namespace
}  // namespace tessarin
