#include <gtest/gtest.h>

#include "encoding/BatchEntry.h"
#include "encoding/outputPreset.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

// A row as the analysis makes it: the rate is that of the frames or, interlaced, of the fields.
Row entryOf(int width, int height, const std::string& scan, double fps) {
  Row row;
  row.source.pictures.width = width;
  row.source.pictures.height = height;
  row.source.pictures.rate = fps;
  row.source.pictures.fields = scan == "p" ? Fields::progressive : Fields::topFirst;
  row.isProgressive = scan == "p";
  return row;
}

Row withRow(Row entry, int row) {
  entry.choice.sizeOut = row;
  return entry;
}

class OutputPresetTest : public testing::Test {
 protected:
  test::TestBundle bundle_;
  test::LogCapture log_;
};

struct Expectation {
  const char* source;
  int width;
  int height;
  const char* scan;
  double fps;
  int soft;
  int row;
};

TEST_F(OutputPresetTest, FindsTheRowForASource) {
  const Expectation expectations[] = {
      {"full HD progressive, any application", 1920, 1080, "p", 25, -1, 10},
      {"the exact row is refused and not kept: HDV instead", 1920, 1080, "p", 25, 0, 7},
      {"no label holds 1080i25: by the width", 1920, 1080, "i", 25, -1, 12},
      {"the same, and only HDV interlaced is accepted", 1920, 1080, "i", 25, 0, 9},
      {"fields per second are in the label", 1920, 1080, "i", 50, -1, 12},
      {"59.94 is 60", 1280, 720, "p", 59.94, -1, 6},
      {"59.94 is 60, accepted by 50p/60p", 1280, 720, "p", 59.94, 3, 6},
      {"720p60 is refused: the one other 720p row", 1280, 720, "p", 59.94, 0, 5},
      {"23.976 is 24", 1440, 1080, "p", 23.976, 1, 7},
      {"PAL progressive: the smallest of list order that holds it", 720, 576, "p", 25, 2, 4},
      {"PAL progressive, no 960x540", 720, 576, "p", 25, 1, 5},
      {"PAL interlaced: smallest interlaced", 720, 576, "i", 50, 2, 9},
      {"4K: none holds it, the last of the sweep stays", 3840, 2160, "p", 25, 2, 10},
      {"no progressive 50 row for iMovie: the others of that scan", 720, 576, "p", 50, 1, 5},
  };
  for (const Expectation& wanted : expectations)
    EXPECT_EQ(
        presetAutoComputedFromSrc(entryOf(wanted.width, wanted.height, wanted.scan, wanted.fps),
                                  applicationOf(wanted.soft)),
        wanted.row)
        << wanted.source;
}

TEST_F(OutputPresetTest, WithoutRateItIsTheFamilyOf25) {
  Row row;
  row.source.pictures.width = 1000;
  row.source.pictures.height = 700;
  row.isProgressive = true;
  EXPECT_EQ(presetAutoComputedFromSrc(row, Application::any), 5);
  EXPECT_TRUE(log_.has("fpsSrcFloat = -1.000000"));
}

TEST_F(OutputPresetTest, OnlyWhatIsKnownToBeProgressiveIs) {
  EXPECT_TRUE(isSourceProgressive(test::sourceOf({{"v0_fields", "PFF"}})));
  EXPECT_FALSE(isSourceProgressive(test::sourceOf({{"v0_fields", "Progressive"}})));
  EXPECT_FALSE(isSourceProgressive({}));
  EXPECT_FALSE(isHighFrameRate(31.0));
  EXPECT_TRUE(isHighFrameRate(31.01));
}

TEST_F(OutputPresetTest, InterleavesOnlyFastProgressiveSourcesIntoFields) {
  const auto info = [](const char* scan, double fps) {
    return entryOf(1920, 1080, scan, fps).source;
  };
  EXPECT_TRUE(needsInterleaveToI50(info("p", 47.5), sizeRow(12)));
  EXPECT_FALSE(needsInterleaveToI50(info("p", 47.4), sizeRow(12)));
  EXPECT_FALSE(needsInterleaveToI50(info("i", 50), sizeRow(12)));
  EXPECT_FALSE(needsInterleaveToI50(info("p", 50), sizeRow(11)));
  EXPECT_FALSE(needsInterleaveToI50(info("p", 50), nullptr));
  Source rateless = info("p", 50);
  rateless.pictures.rate.reset();
  EXPECT_FALSE(needsInterleaveToI50(rateless, sizeRow(12)));
}

TEST_F(OutputPresetTest, ACopyIsOfferedOnlyWhenNothingChanges) {
  const auto quickTime = [](const Row& entry) {
    return cellAllowedOut(entry, {outQuickTime, entry.choice.sizeOut, entry.choice.speed});
  };
  EXPECT_TRUE(quickTime(withRow(entryOf(1920, 1080, "p", 25), 10)));
  EXPECT_TRUE(quickTime(withRow(entryOf(1920, 1080, "p", 25), 12))) << "only the size is compared";
  EXPECT_TRUE(quickTime(withRow(entryOf(960, 540, "p", 25), 4)));
  EXPECT_TRUE(quickTime(entryOf(640, 480, "p", 25))) << "no row yet";
  EXPECT_TRUE(quickTime(withRow(entryOf(640, 480, "p", 25), -1)));

  EXPECT_FALSE(quickTime(withRow(entryOf(1920, 1080, "p", 25), 7))) << "another size";
  EXPECT_FALSE(quickTime(withRow(entryOf(1920, 1080, "i", 25), 12))) << "interlaced";
  EXPECT_FALSE(quickTime(withRow(entryOf(1920, 1080, "p", 50), 12))) << "frames become fields";
  Row unknown = withRow(entryOf(1920, 1080, "p", 25), 10);
  unknown.source.pictures.width.reset();
  EXPECT_FALSE(quickTime(unknown)) << "unknown size";
  Row half = withRow(entryOf(1920, 1080, "p", 25), 10);
  half.choice.speed = speedHalf;
  EXPECT_FALSE(quickTime(half));
}

TEST_F(OutputPresetTest, ACopyMayBeStoredNarrowerThanItIsShown) {
  const auto isAllowed = [](int width, int height, const char* shape, int size) {
    Row row = entryOf(width, height, "p", 50);
    row.source.pictures.shape = shape;
    return isChoiceAllowed(row, {outQuickTime, size, speedKeep});
  };
  EXPECT_TRUE(isAllowed(960, 720, "16:9", 6));
  EXPECT_TRUE(isAllowed(1280, 1080, "16:9", 11));
  EXPECT_FALSE(isAllowed(960, 720, "16:9", 8)) << "another size";
  EXPECT_FALSE(isAllowed(960, 720, "4:3", 6)) << "it is shown as it is stored";
  EXPECT_FALSE(isAllowed(960, 720, "", 6));
  EXPECT_FALSE(isAllowed(1280, 1080, "16:9", 12)) << "frames become fields";
  EXPECT_FALSE(isAllowed(1440, 1080, "16:9", 11)) << "it has a size of its own";
}

}  // namespace
}  // namespace tessarin
