// The settings files of the exports: every choice has its file, and every file is good.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "classShared/TextAdditions.h"
#include "encoding/outputPreset.h"
#include "platform/propertyList.h"
#include "support/LogCapture.h"
#include "support/places.h"
#include "tools/movtool/ExportSettings.h"

namespace tessarin {
namespace {

const std::string folder = test::builtFile("resources/presetQt");

movtool::ExportSettings settingsOf(const std::string& name) {
  const Outcome<Value> list = readPropertyList(folder + "/" + name);
  EXPECT_TRUE(list.ok()) << name;
  if (!list)
    return {};
  const auto settings = movtool::exportSettings(list.value());
  EXPECT_TRUE(settings.ok()) << name << ": " << (settings ? "" : settings.reason());
  return settings ? settings.value() : movtool::ExportSettings();
}

constexpr const char* proresCodes[] = {"apco", "apcs", "apcn", "apch", "ap4h"};

// Checks the files of one size for all kinds of movies; adds their names.
void checkKinds(const std::string& key, const FrameSize& frame, bool interlaced,
                std::optional<int> rate, bool letterbox, std::set<std::string>& names) {
  std::vector<std::string> kinds = {key};
  for (const char* code : proresCodes)
    kinds.push_back(*whichPresetProres("pr" + key, code));
  for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
    SCOPED_TRACE(kinds[kind]);
    const movtool::ExportSettings settings = settingsOf(kinds[kind]);
    EXPECT_EQ(settings.width, frame.width);
    EXPECT_EQ(settings.height, frame.height);
    EXPECT_EQ(settings.interlaced, interlaced);
    EXPECT_EQ(settings.rateFamily, rate);
    EXPECT_EQ(settings.letterbox, letterbox);
    if (kind == 0) {
      EXPECT_EQ(settings.codec, movtool::ExportSettings::Codec::aic);
    } else {
      EXPECT_EQ(settings.codec, movtool::ExportSettings::Codec::prores);
      EXPECT_EQ(settings.proresProfile, static_cast<int>(kind) - 1);
    }
    names.insert(kinds[kind]);
  }
}

TEST(Presets, AreThereForEveryRowScanRateAndKind) {
  const test::LogCapture quiet;
  std::set<std::string> names;
  const struct {
    int row;
    const char* size;
    std::vector<int> rates;
  } rows[] = {
      {4, "960x540p", {25, 30}},        {5, "1280x720p", {24, 25, 30}},
      {6, "1280x720p", {50, 60}},       {7, "1440x1080p", {24, 25, 30}},
      {8, "1440x1080p", {50, 60}},      {9, "1440x1080i", {25, 30}},
      {10, "1920x1080p", {24, 25, 30}}, {11, "1920x1080p", {50, 60}},
      {12, "1920x1080i", {25, 30}},
  };
  EXPECT_EQ(std::size(rows) + firstConcreteRow, presetSizesList(false).size());
  for (const auto& row : rows) {
    const FrameSize frame = presetFrameSize(*presetLabel(row.row));
    const std::string size = row.size;
    const bool interlaced = size.back() == 'i';
    for (const bool letterbox : {false, true}) {
      const std::string ending = letterbox ? "Letterbox" : "";
      checkKinds(size + ending, frame, interlaced, std::nullopt, letterbox, names);
      for (const int rate : row.rates) {
        std::string key = size;
        key.append(std::to_string(rate)).append(ending);
        checkKinds(key, frame, interlaced, rate, letterbox, names);
      }
    }
  }
  // No others lie there, and none of the default names is missing.
  std::set<std::string> there;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    there.insert(entry.path().filename());
  EXPECT_EQ(there, names);
  EXPECT_TRUE(there.count("1280x720p") == 1 && there.count("1280x720pLetterbox") == 1);
}

}  // namespace
}  // namespace tessarin
