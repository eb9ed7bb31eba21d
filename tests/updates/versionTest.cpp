#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "updates/version.h"

namespace tessarin {
namespace {

bool isNewer(std::string_view one, std::string_view other) {
  return parseVersion(one).value() > parseVersion(other).value();
}

TEST(Version, IsComparedNumberByNumber) {
  EXPECT_TRUE(isNewer("0.10.0", "0.9.9"));
  EXPECT_TRUE(isNewer("1.0.1", "1.0"));
  EXPECT_TRUE(isNewer("2", "1.99.99.99"));
  EXPECT_EQ(parseVersion("1.4"), parseVersion("1.4.0.0"));
  EXPECT_EQ(parseVersion("01.4"), parseVersion("1.4"));
  EXPECT_FALSE(isNewer("1.0", "1.0"));
}

TEST(Version, IsNewerThanItsPreviews) {
  EXPECT_TRUE(isNewer("1.0", "1.0-rc1"));
  EXPECT_TRUE(isNewer("1.0-rc1", "1.0-beta"));
  EXPECT_TRUE(isNewer("1.0.1-alpha", "1.0"));
}

TEST(Version, IsNothingForOtherTexts) {
  for (const char* text :
       {"", ".", "1.", ".1", "1..2", "v1", "1.2.3.4.5", "1 ", "-1", "1.-2", "1,2", "1.0-",
        "1.0-b/c", "1.0-a b", "12345678901", "1.0-../../etc", "1.0-123456789012345678901"})
    EXPECT_FALSE(parseVersion(text).has_value()) << text;
}

}  // namespace
}  // namespace tessarin
