// The settings files of the exports: every choice has its file, and every file is what it is
// called.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "encoding/BatchEntry.h"
#include "encoding/outputPreset.h"
#include "jobs/exportCommands.h"
#include "platform/propertyList.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"
#include "tools/movtool/ExportSettings.h"

namespace tessarin {
namespace {

constexpr const char* proresCodes[] = {"apco", "apcs", "apcn", "apch", "ap4h"};

// What a file of these settings is called.
std::string nameOf(const movtool::ExportSettings& settings) {
  const std::string key =
      fmt::format("{}x{}{}{}{}", settings.width, settings.height, settings.interlaced ? "i" : "p",
                  settings.rateFamily ? std::to_string(*settings.rateFamily) : "",
                  settings.letterbox ? "Letterbox" : "");
  if (settings.codec == movtool::ExportSettings::Codec::aic)
    return key;
  return *whichPresetProres("pr" + key, proresCodes[settings.proresProfile]);
}

TEST(Presets, EveryFileIsWhatItsNameSays) {
  const test::LogCapture quiet;
  std::size_t count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(test::TestBundle::resourcePath() + "/presetQt")) {
    const Outcome<Value> list = readPropertyList(entry.path().string());
    ASSERT_TRUE(list.ok()) << entry.path();
    const auto settings = movtool::exportSettings(list.value());
    ASSERT_TRUE(settings.ok()) << entry.path() << ": " << settings.reason();
    EXPECT_EQ(nameOf(settings.value()), entry.path().filename());
    ++count;
  }
  EXPECT_GT(count, 300u);
}

TEST(Presets, EveryChoiceHasAFileOfItsSizeAndShape) {
  const test::LogCapture quiet;
  const test::TestBundle bundle;
  const auto rows = static_cast<int>(presetSizesList(false).size());
  for (int row = firstConcreteRow; row < rows; ++row)
    for (const double fps : {12.0, 15.0, 23.976, 24.0, 25.0, 29.97, 30.0, 48.0, 50.0, 59.94, 120.0})
      for (const Target out : {outAic, outProres})
        for (const char* shape : {"4:3", "16:9"})
          for (const char* flavour : proresCodes) {
            Row entry;
            entry.source.pictures.rate = fps;
            entry.source.pictures.shape = shape;
            entry.choice = {out, row};
            const std::string name = exportPresetName(entry, flavour);
            EXPECT_TRUE(Bundle::main().pathForResource("presetQt/" + name, "")) << name;
            const FrameSize size = sizeRow(row)->frame;
            EXPECT_NE(name.find(fmt::format("{}x{}", size.width, size.height)), name.npos) << name;
            EXPECT_EQ(name.ends_with("Letterbox"), std::string_view(shape) == "4:3") << name;
          }
}

}  // namespace
}  // namespace tessarin
