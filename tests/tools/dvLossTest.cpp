// What is damaged or missing in DV, of which decoders say nothing.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "cardBytes.h"
#include "movieBytes.h"
#include "support/ScopedTemporaryFolder.h"
#include "tools/joinclips/dvLoss.h"

namespace tessarin::joining {
namespace {

using test::fromHex;

// The picture with this number of a recording, by its time code and by the camera's clock.
std::string frameOf(int code, int clock, bool starts = false) {
  const auto bcd = [](int number) { return number / 10 * 16 + number % 10; };
  const int seconds = clock / 25;
  std::string frame = test::dvFrame(
      "FFD6E210", fmt::format("FF{:02x}{:02x}10", bcd(seconds % 60), bcd(seconds / 60)));
  const std::string packs = fromHex(fmt::format("13{:02x}{:02x}{:02x}00", bcd(code % 25),
                                                bcd(code / 25 % 60), bcd(code / 1500))) +
                            fromHex(starts ? "61FF48FFFF" : "61FFC8FFFF");
  for (std::size_t at = 468; at < frame.size(); at += 24000)
    frame.replace(at, packs.size(), packs);
  return frame;
}

std::string recording(int from, int to, int clockAhead = 0) {
  std::string frames;
  for (int number = from; number < to; ++number)
    frames += frameOf(number, number + clockAhead, clockAhead != 0 && number == from);
  return frames;
}

int lostIn(const std::string& bytes) {
  const test::ScopedTemporaryFolder folder;
  const auto loss = dvLoss(folder.write("x.dv", bytes));
  EXPECT_TRUE(loss) << loss.reason();
  return static_cast<int>(std::lround(loss->lost() * 25));
}

TEST(DvLoss, PicturesThatAreMissingAreCounted) {
  const std::string begin = recording(0, 20);
  EXPECT_EQ(lostIn(begin + recording(27, 40)), 7);
  EXPECT_EQ(lostIn(begin + recording(27, 40) + recording(240, 260)), 207);
  // In a file of another format.
  std::string apart;
  for (int number = 0; number < 20; ++number)
    if (number != 10)
      apart += "00dc" + std::string(number, '\x1F') + frameOf(number, number);
  EXPECT_EQ(lostIn(apart), 1);
}

TEST(DvLoss, RecordingsBehindEachOtherLackNothing) {
  const std::string begin = recording(0, 20);
  EXPECT_EQ(lostIn(begin + recording(20, 40)), 0);
  EXPECT_EQ(lostIn(begin + recording(20, 40, 5000)), 0) << "the code goes on";
  EXPECT_EQ(lostIn(begin + recording(0, 20, 300)), 0) << "it begins anew";
  EXPECT_EQ(lostIn(begin + recording(200, 220, 3000)), 0) << "the clock is elsewhere";
  EXPECT_EQ(lostIn(begin + recording(200, 220, 1)), 0) << "both run on, and the camera marks it";
  EXPECT_EQ(lostIn(begin + frameOf(70, 70) + recording(21, 40)), 0) << "one code is off";
  std::string marked = frameOf(70, 70);
  marked.replace(6 * 80 + 3, 5, fromHex("51FF48FFFF"));
  EXPECT_EQ(lostIn(begin + marked + recording(71, 90)), 0) << "it is marked beside the sound";
}

TEST(DvLoss, RepeatedPicturesStandForOnesThatAreMissing) {
  const std::string begin = recording(0, 20);
  const std::string last = frameOf(19, 19);
  EXPECT_EQ(lostIn(begin + last + last + recording(22, 40)), 2) << "all are filled";
  EXPECT_EQ(lostIn(begin + last + recording(27, 40)), 7) << "one of them is";
  EXPECT_EQ(lostIn(begin + recording(27, 40) + frameOf(39, 39) + recording(40, 50)), 7);
}

TEST(DvLoss, PicturesThatWereLeftOutSteadilyAreNotMissing) {
  std::string steady;
  for (int number = 0; number < 100; ++number)
    if (number % 5 != 2)
      steady += frameOf(number, number);
  EXPECT_EQ(lostIn(steady), 0);
  EXPECT_EQ(lostIn(steady + recording(120, 140)), 20) << "and that hides no others";
  EXPECT_EQ(lostIn(recording(0, 20) + recording(21, 26) + recording(27, 40)), 2) << "only twice";
}

TEST(DvLoss, PicturesWithoutBlocksAreDamaged) {
  std::string clip = recording(0, 20);
  const std::size_t frame = clip.size() / 20;
  EXPECT_EQ(lostIn(clip), 0);
  clip.replace(5 * frame + 70'000, 2048, 2048, '\0');
  clip.replace(8 * frame - 1000, 2000, 2000, '\0');  // and the head of the next
  EXPECT_EQ(lostIn(clip), 3);
}

}  // namespace
}  // namespace tessarin::joining
