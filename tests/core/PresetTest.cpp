#include <gmock/gmock.h>

#include "core/CoreFixture.h"
#include "core/UserPresets.h"
#include "support/ScopedEnvironment.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(PresetFolder, KeepsWhatIsChosenUnderANameThatIsAFile) {
  test::TestBundle bundle;
  test::ScopedTemporaryFolder folder;
  const PresetFolder presets(folder.file("deeper/presets"));
  EXPECT_TRUE(presets.names().empty());
  const Preset tapes{
      2, outAic, 6, speedHalf, "apch", true, "2,3", SlowSound::slowed, "{date} {title}"};
  ASSERT_TRUE(presets.write("Été 1.5", tapes));
  ASSERT_TRUE(presets.write("all", {}));
  EXPECT_THAT(presets.names(), ElementsAre("all", "Été 1.5"));
  ASSERT_TRUE(presets.read("Été 1.5"));
  EXPECT_EQ(*presets.read("Été 1.5"), tapes);
  for (const char* name : {"", ".hidden", "../out", "a/b"})
    EXPECT_FALSE(presets.write(name, tapes)) << name;
  EXPECT_FALSE(presets.read("../presets/all"));
  EXPECT_TRUE(presets.remove("all"));
  EXPECT_FALSE(presets.remove("all"));
}

class UserPresetsTest : public test::CoreFixture {
 protected:
  const test::ScopedEnvironment configuration_{"XDG_CONFIG_HOME", folder.file("config")};
};

TEST_F(UserPresetsTest, AreForTheNextClips) {
  UserPresets& presets = app.presets();
  choosePreset({0, outAic, 6, speedKeep, "apcs", {}, {}, {}, "{title} x"}, app.interface,
               preferences);
  presets.save("discs");
  presets.save("tapes");
  EXPECT_EQ(presets.chosen(), "tapes") << "one, though the other says the same";
  EXPECT_THAT(app.interface.targetNote.text(), testing::HasSubstr("AIC"));
  app.interface.editingSoft.select(2);
  EXPECT_FALSE(app.interface.target) << "the target was that of a preset for another application";
  EXPECT_EQ(presets.chosen(), "");
  EXPECT_EQ(app.interface.targetNote.text(), "");
  alerts.answers = {{1, false}};
  presets.save("tapes");
  ASSERT_EQ(alerts.shown.size(), 1u) << "nothing is replaced unasked";
  presets.choose("tapes");
  EXPECT_EQ(app.interface.target, outAic);
  EXPECT_EQ(preferences.text(PrefKey::prores), "apcs");
  EXPECT_EQ(app.interface.names.text(), "{title} x");
  // And at the next start.
  const Dico stored = app.prefs2GuiApp();
  app.interface.setTarget({});
  app.prefs2GuiApp(stored);
  EXPECT_EQ(presets.chosen(), "tapes");

  const std::string clip = folder.file("x.mov");
  ASSERT_TRUE(
      test::makeClip(test::progressivePicture("1280x720", "0.2", "50") + "-c:v mpeg4", clip));
  analyse({clip});
  EXPECT_EQ(app.table().row(0).choice, (Choice{outAic, 6, speedKeep}));
  presets.remove("tapes");
  presets.choose("tapes");
  EXPECT_EQ(alerts.shown.size(), 2u) << "what is not there is told";
}

}  // namespace
}  // namespace tessarin
