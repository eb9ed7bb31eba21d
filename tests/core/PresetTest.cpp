#include <gmock/gmock.h>

#include "core/Preset.h"
#include "platform/UserDomain.h"
#include "prefs/PreferenceStore.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(PresetFolder, KeepsWhatIsChosenUnderANameThatIsAFile) {
  test::TestBundle bundle;
  test::ScopedTemporaryFolder folder;
  const PresetFolder presets(folder.file("deeper/presets"));
  EXPECT_TRUE(presets.names().empty());
  const Preset tapes{2, outAic, 6, speedHalf, "apch", true};
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

TEST(Preset, IsChosenInTheControlsAndLeavesTheRest) {
  test::TestBundle bundle;
  MemoryUserDomain domain;
  PreferenceStore preferences(domain);
  Interface interface;
  interface.editingSoft.select(1);
  interface.easy.select(1);
  choosePreset({std::nullopt, outQuickTime, 6, speedHalf, "apcs", std::nullopt}, interface,
               preferences);
  const Preset chosen = chosenPreset(interface, preferences);
  EXPECT_EQ(chosen, (Preset{1, outQuickTime, 6, speedHalf, "apcs", false}));
  const auto wish = chosenWish(interface);
  ASSERT_TRUE(wish);
  EXPECT_EQ(wish->sizeOut, 6);
  choosePreset({}, interface, preferences);
  EXPECT_FALSE(chosenWish(interface)) << "a preset without a target takes the application's";
}

}  // namespace
}  // namespace tessarin
