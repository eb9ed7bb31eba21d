#include <gtest/gtest.h>

#include "analysis/SourceInfo.h"
#include "analysis/codecInventory.h"
#include "core/rowChoices.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

// Rows of the size list.
constexpr int size720p25 = 5;
constexpr int size720p50 = 6;
constexpr int size1080p25 = 10;
constexpr int size1080p50 = 11;
constexpr int size1080i50 = 12;
constexpr int size540p25 = 4;

Dico entryOf(int width, int height, double fps, bool progressive, int size, int speed = speedKeep,
             int out = outProres) {
  return {{BatchKey::dico.data(), Dico{{SourceKey::v0Width.data(), width},
                                       {SourceKey::v0Height.data(), height},
                                       {SourceKey::v0Fps.data(), fps}}},
          {BatchKey::fpsSrc.data(), progressive ? "\n25p" : "\n50i"},
          {BatchKey::sizeOut.data(), size},
          {BatchKey::fps.data(), speed},
          {BatchKey::out.data(), out}};
}

class RowChoices : public testing::Test {
 protected:
  RowChoices() {
    codecInventory().aic = false;
    codecInventory().prores = true;
  }
  ~RowChoices() override { codecInventory() = CodecInventory(); }

  test::TestBundle bundle_;
};

TEST_F(RowChoices, SpeedsNeedEnoughPicturesOrFields) {
  // 50 fields: an interlaced row keeps them, a p25 row halves or slows them.
  EXPECT_EQ(speedPermissions(entryOf(1920, 1080, 50, false, size1080i50)),
            (Permissions{true, false, false}));
  EXPECT_EQ(speedPermissions(entryOf(1920, 1080, 50, false, size1080p25)),
            (Permissions{false, true, true}));
  EXPECT_EQ(speedPermissions(entryOf(1920, 1080, 50, false, size1080p50)),
            (Permissions{true, false, false}));
  // 25 pictures are 25 pictures.
  EXPECT_EQ(speedPermissions(entryOf(1920, 1080, 25, true, size1080p25)),
            (Permissions{true, false, false}));
  EXPECT_EQ(speedPermissions(entryOf(1920, 1080, 25, true, size1080p50)),
            (Permissions{false, false, false}));
}

TEST_F(RowChoices, ASlowRowOfFieldsBecomesItsProgressiveSibling) {
  const auto valid = validSizeAndSpeed(entryOf(1920, 1080, 50, false, size1080i50, speedSlow));
  EXPECT_EQ(valid.sizeOut, size1080p25);
  EXPECT_EQ(valid.speed, speedSlow);
}

TEST_F(RowChoices, FullSpeedOnASmallerRateHalvesAndKeepsTheSize) {
  const auto valid = validSizeAndSpeed(entryOf(1920, 1080, 50, false, size1080p25));
  EXPECT_EQ(valid.sizeOut, size1080p25);
  EXPECT_EQ(valid.speed, speedHalf);
}

TEST_F(RowChoices, PicturesAreNotInvented) {
  const auto doubled = validSizeAndSpeed(entryOf(1280, 720, 25, true, size720p50));
  EXPECT_EQ(doubled.sizeOut, size720p25);
  EXPECT_EQ(doubled.speed, speedKeep);
  const auto slowed = validSizeAndSpeed(entryOf(1280, 720, 25, true, size720p25, speedSlow));
  EXPECT_EQ(slowed.sizeOut, size720p25);
  EXPECT_EQ(slowed.speed, speedKeep);
}

TEST_F(RowChoices, AValidChoiceStays) {
  for (const int size : {4, 5, 6, 7, 8, 9, 10, 11, 12})
    for (const double fps : {24.0, 25.0, 50.0, 59.94})
      for (const bool progressive : {true, false})
        for (const int speed : {speedKeep, speedHalf, speedSlow}) {
          Dico entry = entryOf(1920, 1080, fps, progressive, size, speed);
          const auto once = validSizeAndSpeed(entry);
          entry.set(BatchKey::sizeOut, once.sizeOut);
          entry.set(BatchKey::fps, once.speed);
          const auto twice = validSizeAndSpeed(entry);
          EXPECT_EQ(once.sizeOut, twice.sizeOut) << size << " " << fps << " " << speed;
          EXPECT_EQ(once.speed, twice.speed) << size << " " << fps << " " << speed;
        }
}

TEST_F(RowChoices, ARefusedTargetMovesToOneThatIsAllowed) {
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, false, size1080i50, speedKeep, outQuickTime)),
            outProres);
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 25, true, size1080p25, speedKeep, outQuickTime)),
            outQuickTime);
  // The segment "50p/60p" has no target of its own.
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, true, size1080p50, speedKeep, 3)), outProres);
  // Nothing is possible: the row keeps what it asks for.
  EXPECT_EQ(validTarget(entryOf(1920, 1080, 50, false, size540p25, speedHalf, outProres)),
            outProres);
}

}  // namespace
}  // namespace tessarin
