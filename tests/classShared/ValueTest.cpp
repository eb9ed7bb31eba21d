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

TEST(Value, CopiesOfARecordAreIndependent) {
  Dico inner{{"fps", 25}};
  Dico outer{{"dico", inner}};
  const Dico copy = outer;
  inner.set("fps", 50);
  outer.set("dico", inner);
  EXPECT_EQ(copy.dico("dico")->integer("fps"), 25);
  EXPECT_EQ(outer.dico("dico")->integer("fps"), 50);
  EXPECT_FALSE(copy == outer);
}

TEST(Dico, AnAbsentKeyIsUnknown) {
  Dico record{{"a", 0}, {"b", "text"}};
  EXPECT_FALSE(record.integer("none"));
  EXPECT_FALSE(record.flag("a"));
  EXPECT_FALSE(record.flag("b"));
  EXPECT_EQ(record.textOrEmpty("a"), "");
  EXPECT_TRUE(record.remove("a"));
  EXPECT_FALSE(record.remove("a"));
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
