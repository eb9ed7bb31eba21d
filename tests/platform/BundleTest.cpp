#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Bundle.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

class BundleTest : public testing::Test {
 protected:
  BundleTest() {
    folder_.write("en.lproj/Words.strings", R"("both" = "two"; "late" = "late";)");
    folder_.write("fr.lproj/Words.strings", R"("both" = "deux"; "broken" = "x)");
    folder_.write("fr.lproj/help.html", "aide");
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

TEST_F(BundleTest, FindsResourcesBesideAndInTheLanguages) {
  const std::string inside = folder_.write("presetQt/720p", "");
  const Bundle bundle(folder_.path(), {"fr"});
  EXPECT_EQ(bundle.pathForResource("help", "html"), folder_.file("fr.lproj/help.html"));
  EXPECT_EQ(bundle.pathForResource("presetQt/720p", ""), inside);
  EXPECT_EQ(bundle.pathForResource("none", "html"), std::nullopt);
  EXPECT_EQ(bundle.toolPath("ffmpeg"), folder_.file("tools/ffmpeg"));
}

TEST_F(BundleTest, WithoutInfoItStillHasAName) {
  const Bundle bundle(folder_.path(), {});
  EXPECT_EQ(bundle.name(), "Tessarin");
  EXPECT_EQ(bundle.objectForInfoDictionaryKey("CFBundleName"), nullptr);
  EXPECT_TRUE(log_.mentions("Info.plist"));
}

TEST(BundleResources, AdmitTheMoviesOfCamcordersAndTheTwoLibraries) {
  const test::TestBundle resources;
  const Value* types = Bundle::main().objectForInfoDictionaryKey("CFBundleDocumentTypes");
  ASSERT_TRUE(types && types->list() && !types->list()->empty());
  const List* extensions = types->list()->front().dico()->list("CFBundleTypeExtensions");
  ASSERT_TRUE(extensions);
  for (const char* wanted : {"mts", "m2ts", "mod", "tod", "mpg", "dv", "mov", "mp4", "avi", "mkv",
                             "mxf", "vob", "eyetv", "iMovieProject"})
    EXPECT_THAT(*extensions, testing::Contains(Value(wanted)));
  EXPECT_EQ(Bundle::main().name(), "Tessarin");
  const Value* version = Bundle::main().objectForInfoDictionaryKey("CFBundleShortVersionString");
  ASSERT_TRUE(version);
  EXPECT_THAT(*version->textContent(), testing::MatchesRegex("[0-9]+[.][0-9]+[.][0-9]+"))
      << "the build puts it in";
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
