#include <gtest/gtest.h>

#include <optional>

#include "prefs/utilsAlert.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

class UtilsAlertTest : public testing::Test {
 protected:
  UtilsAlertTest() {
    folder_.write("en.lproj/Localized.strings", R"("two" = "%@ before %@";
      "order" = "%2$@ after %1$@, 100%% of %@";
      "percent" = "100%% of %@";
      "same" = "same";)");
    folder_.write("en.lproj/Other.strings", R"("two" = "elsewhere";)");
    bundle_.emplace(folder_.path(), "en");
  }

  test::LogCapture log_;
  test::ScopedTemporaryFolder folder_;
  std::optional<test::TestBundle> bundle_;
};

TEST_F(UtilsAlertTest, FillsThePlaceholdersInOrder) {
  EXPECT_EQ(localisationString("two", "", "a", "b"), "a before b");
  EXPECT_EQ(localisationString("two", "Localized", "%@", "$"), "%@ before $") << "filled once";
  EXPECT_EQ(localisationString("order", "", "a", "b"), "b after a, 100% of a");
  EXPECT_EQ(localisationString("two", "Other", "a"), "elsewhere");
  EXPECT_EQ(localisationString("none %@", "", "a"), "none a") << "a missing key is its own text";
}

TEST_F(UtilsAlertTest, AnEmptyVariableEndsTheList) {
  EXPECT_EQ(localisationString("two", "", "a", "", "c"), "a before %@");
  EXPECT_EQ(localisationString("two", "", "", "b"), "%@ before %@");
  EXPECT_EQ(localisationString("percent"), "100%% of %@") << "as it stands without variables";
}

TEST_F(UtilsAlertTest, ATextThatIsItsKeyCountsAsNone) {
  EXPECT_TRUE(hasLocalization("two"));
  EXPECT_FALSE(hasLocalization("none"));
  EXPECT_FALSE(hasLocalization("same"));
}

TEST_F(UtilsAlertTest, TheLanguageCodeNeedsThreeCharacters) {
  EXPECT_EQ(localLanguageCode(), std::nullopt) << "no text at all";
  folder_.write("xx.lproj/Localized.strings", R"("D_Langue" = "fr";)");
  {
    const test::TestBundle bundle(folder_.path(), "xx");
    EXPECT_EQ(localLanguageCode(), std::nullopt);
  }
  const test::TestBundle german("de");
  EXPECT_EQ(localLanguageCode(), "de");
}

TEST(EncodingTable, AnswersByNameByNumberAndWhole) {
  EXPECT_EQ(encodingTable(0, "UTF- 8"), Value(4));
  EXPECT_EQ(encodingTable(12), Value("Western (Windows Latin 1)"));
  EXPECT_EQ(encodingTable(99), std::nullopt);
  EXPECT_EQ(encodingTable(0), std::nullopt);
  EXPECT_EQ(encodingTable(0, "UTF-8"), std::nullopt) << "the shown name has a blank";
  const auto whole = encodingTable(-1);
  ASSERT_TRUE(whole && whole->dico());
  EXPECT_EQ(whole->dico()->size(), 15u);
  EXPECT_EQ(whole->dico()->text("10"), "UTF-16");
}

}  // namespace
}  // namespace tessarin
