#include <fmt/format.h>
#include <gtest/gtest.h>

#include "analysis/codecInventory.h"
#include "encoding/outputPreset.h"
#include "jobs/newRow.h"
#include "jobs/rowChoices.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

// Rows of the size list.
constexpr int size720p25 = 5;
constexpr int size720p50 = 6;
constexpr int size1080p25 = 10;
constexpr int size1080p50 = 11;
constexpr int size1080i50 = 12;
constexpr int size540p25 = 4;

Row entryOf(int width, int height, double fps, bool progressive, int size, Speed speed = speedKeep,
            Target out = outProres) {
  return newRow(test::sourceOf({{"v0_width", width},
                                {"v0_height", height},
                                {"v0_fps", fps},
                                {"v0_fields", progressive ? "PFF" : "TFF"}}),
                {out, size, speed});
}

class RowChoicesTest : public testing::Test {
 protected:
  RowChoicesTest() {
    codecInventory().aic = false;
    codecInventory().prores = true;
  }
  ~RowChoicesTest() override { codecInventory() = CodecInventory(); }

  test::TestBundle bundle_;
};

TEST_F(RowChoicesTest, SpeedsNeedEnoughPicturesOrFields) {
  const struct {
    const char* why;
    double fps;
    bool progressive;
    int size;
    Permissions expected;  // to keep, halve and slow down
  } cases[] = {
      {"an interlaced row keeps 50 fields", 50, false, size1080i50, {true, false, false}},
      {"a p25 row halves or slows them", 50, false, size1080p25, {false, true, true}},
      {"a p50 row shows each", 50, false, size1080p50, {true, false, false}},
      {"25 pictures are 25 pictures", 25, true, size1080p25, {true, false, false}},
      {"and never 50", 25, true, size1080p50, {false, false, false}},
  };
  for (const auto& item : cases)
    EXPECT_EQ(speedPermissions(entryOf(1920, 1080, item.fps, item.progressive, item.size)),
              item.expected)
        << item.why;
}

TEST_F(RowChoicesTest, WhatIsNotPossibleBecomesTheNearestThatIs) {
  const struct {
    const char* why;
    Row entry;
    int size, speed;
  } cases[] = {
      {"a slow row of fields becomes its progressive sibling",
       entryOf(1920, 1080, 50, false, size1080i50, speedSlow), size1080p25, speedSlow},
      {"full speed on a smaller rate halves and keeps the size",
       entryOf(1920, 1080, 50, false, size1080p25), size1080p25, speedHalf},
      {"pictures are not invented", entryOf(1280, 720, 25, true, size720p50), size720p25,
       speedKeep},
      {"nor by slow motion", entryOf(1280, 720, 25, true, size720p25, speedSlow), size720p25,
       speedKeep},
  };
  for (const auto& item : cases) {
    const auto valid = validSizeAndSpeed(item.entry);
    EXPECT_EQ(valid.sizeOut, item.size) << item.why;
    EXPECT_EQ(valid.speed, item.speed) << item.why;
  }
}

TEST_F(RowChoicesTest, ARefusedTargetMovesToOneThatIsAllowed) {
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, false, size1080i50, speedKeep, outQuickTime)),
            outProres);
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 25, true, size1080p25, speedKeep, outQuickTime)),
            outQuickTime);
  // The segment "50p/60p" has no target of its own.
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, true, size1080p50, speedKeep, outNone)), outProres);
  // Nothing is possible: the row keeps what it asks for.
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, false, size540p25, speedHalf, outProres)),
            outProres);
}

// What is wished is what can be had, or the alternatives that are named can.
TEST_F(RowChoicesTest, AWishIsGrantedOrItsAlternativesAre) {
  const test::LogCapture log;
  codecInventory().aic = true;
  const auto isAllowed = [](Row entry, const Choice& choice) {
    entry.choice = choice;
    return speedPermissions(entry).at(static_cast<std::size_t>(choice.speed)) &&
           targetPermissions(entry).at(static_cast<std::size_t>(choice.target));
  };
  const std::pair<int, int> pictures[] = {{176, 144},   {720, 576},   {960, 540},  {1280, 720},
                                          {1440, 1080}, {1920, 1080}, {3840, 2160}};
  int refused = 0;
  for (const auto& [width, height] : pictures)
    for (const double fps : {15.0, 25.0, 29.97, 50.0, 59.94})
      for (const bool progressive : {true, false})
        for (const Application soft :
             {Application::quickTime, Application::finalCut, Application::fast})
          for (const Target target : {outQuickTime, outAic, outProres})
            for (const Speed speed : {speedKeep, speedHalf, speedSlow})
              for (int size = firstConcreteRow - 1; size <= size1080i50; ++size) {
                // The row before the sizes stands for none that was named.
                Wish wish{target, std::nullopt, speed};
                if (size >= firstConcreteRow)
                  wish.sizeOut = size;
                Row entry = entryOf(width, height, fps, progressive, size, speed);
                if (!wish.sizeOut)
                  entry.choice.sizeOut = presetAutoComputedFromSrc(entry, soft);
                const auto name = [&] {
                  return fmt::format("{}x{} {} {} for {}: {} {} {}", width, height, fps,
                                     progressive, static_cast<int>(soft), target, size, speed);
                };
                if (const auto choice = nearestChoice(entry, wish, soft)) {
                  EXPECT_TRUE(isAllowed(entry, *choice)) << name();
                  EXPECT_EQ(choice->target, target) << name();
                  continue;
                }
                ++refused;
                EXPECT_TRUE(target == outQuickTime || wish.sizeOut) << name();
                const auto instead = alternatives(entry, wish, soft);
                EXPECT_GE(instead.size(), 2u) << name();
                for (const Alternative& other : instead) {
                  const Wish taken{other.choice.target,
                                   other.sizeOut ? other.sizeOut : wish.sizeOut,
                                   other.speed.value_or(speed)};
                  EXPECT_EQ(nearestChoice(entry, taken, soft), other.choice) << name();
                  EXPECT_TRUE(isAllowed(entry, other.choice)) << name();
                }
              }
  EXPECT_GT(refused, 100);
}

TEST_F(RowChoicesTest, TheNearestSizeIsTaken) {
  codecInventory().aic = true;
  const auto automatic = [](int width, int height, double fps, bool progressive, Application soft,
                            Target target) {
    Row entry = entryOf(width, height, fps, progressive, 0);
    entry.choice.sizeOut = presetAutoComputedFromSrc(entry, soft);
    return nearestChoice(entry, {target, std::nullopt, speedKeep}, soft);
  };
  const auto choice = [](Target target, int size, Speed speed = speedKeep) {
    return Choice{target, size, speed};
  };
  EXPECT_EQ(automatic(640, 480, 25, true, Application::finalCut, outAic),
            choice(outAic, size540p25));
  EXPECT_EQ(automatic(640, 480, 25, true, Application::finalCut, outProres),
            choice(outProres, size720p25));
  EXPECT_EQ(automatic(640, 480, 25, true, Application::finalCut, outQuickTime), std::nullopt);
  EXPECT_EQ(automatic(1920, 1080, 25, true, Application::quickTime, outQuickTime),
            choice(outQuickTime, size1080p25))
      << "not the size that the application would take";
  EXPECT_EQ(automatic(1920, 1080, 50, true, Application::finalCut, outProres),
            choice(outProres, size1080p25, speedHalf));
  EXPECT_EQ(automatic(1920, 1080, 50, true, Application::finalCut, outQuickTime),
            choice(outQuickTime, size1080p50))
      << "a copy keeps all pictures";
  EXPECT_EQ(automatic(1920, 1080, 50, false, Application::finalCut, outQuickTime), std::nullopt);
}

}  // namespace
}  // namespace tessarin
