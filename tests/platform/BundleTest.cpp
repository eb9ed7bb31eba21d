#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Bundle.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

class BundleTest : public testing::Test {
 protected:
  BundleTest() {
    folder_.write("en.lproj/Words.strings", R"("both" = "two"; "late" = "late";)");
    folder_.write("fr.lproj/Words.strings", R"("both" = "deux"; "broken" = "x)");
  }

  test::LogCapture log_;
  test::ScopedTemporaryFolder folder_;
};

TEST_F(BundleTest, TakesEachTextFromTheFirstLanguageThatHasIt) {
  const Bundle bundle(folder_.path(), {"ja", "fr"});
  EXPECT_EQ(bundle.language(), "fr");
  EXPECT_EQ(bundle.localizedString("both", "Words"), "deux");
  EXPECT_EQ(bundle.localizedString("late", "Words"), "late");
  EXPECT_EQ(bundle.localizedString("none", "Words"), "none");
  EXPECT_EQ(bundle.localizedString("both", "NoTable"), "both");
  EXPECT_EQ(Bundle(folder_.path(), {"ja"}).localizedString("both", "Words"), "two");
}

TEST_F(BundleTest, ReportsADamagedTableOnce) {
  const Bundle bundle(folder_.path(), {"fr"});
  bundle.localizedString("both", "Words");
  bundle.localizedString("both", "Words");
  const auto lines = log_.lines();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) {
                            return line.find("fr.lproj/Words.strings: line 1") != line.npos;
                          }),
            1);
}

TEST(WantedLanguages, FollowTheEnvironment) {
  EXPECT_THAT(wantedLanguages("", "", "", "fr_CA.UTF-8"), ElementsAre("fr_CA", "fr"));
  EXPECT_THAT(wantedLanguages("", "", "de_DE@euro", "fr_FR"), ElementsAre("de_DE", "de"));
  EXPECT_THAT(wantedLanguages("", "it", "de_DE", "fr_FR"), ElementsAre("it"));
  EXPECT_THAT(wantedLanguages("es:pt_BR::fr", "", "", "fr_FR.UTF-8"),
              ElementsAre("es", "pt_BR", "pt", "fr", "fr_FR"));
  EXPECT_THAT(wantedLanguages("fr", "C", "", "fr_FR"), ElementsAre()) << "C turns the list off";
  EXPECT_THAT(wantedLanguages("", "", "", ""), ElementsAre());
  EXPECT_THAT(wantedLanguages("", "C.UTF-8", "", ""), ElementsAre());
}

}  // namespace
}  // namespace tessarin
