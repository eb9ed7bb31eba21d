#include <fmt/format.h>
#include <gmock/gmock.h>

#include "classShared/TextAdditions.h"
#include "ffmpeg/packetMeter.h"

namespace tessarin {
namespace {

using testing::ElementsAre;

TEST(PacketMeter, MeasuresPicturesAndSoundOfAList) {
  PacketMeter meter;
  // As ffmpeg 3.1 to 7.0 print it: a key frame, two pictures that are shown before it, one that an
  // edit list has cut off, and the end of a line that was lost.
  for (const char* line :
       {"#software: Lavf59.27.100", "#tb 0: 1/25", "#media_type 0: video", "#tb 1: 1/48000",
        "#media_type 1: audio", "0,          0,          3,        1,    14183, 0x5e8d2d5a, S=1, 1",
        "1,        480,        480,     1536,      384, 0x0a8d2d5a",
        "0,          1,          1,        1,     3000, 0x5e8d2d5a, F=0x0, 0x00e000e0",
        "0,          2,          2,        1,     2000, 0x5e8d2d5a, F=0x0",
        "0,          3,          0,        1,     1000, 0x5e8d2d5a, F=0x5",
        "0,          4,          4,        1,     1000, 0x5e8d2d5a",
        "1,       2016,       2016,     1536,      384, 0x0a8d2d5a", "0,    9", "garbage",
        "7, 1, 1, 1, 1, 0x1"})
    meter.addLine(line);
  const SourceMeasure measure = meter.result();
  ASSERT_TRUE(measure.pictures);
  EXPECT_EQ(measure.pictures->packets, 4u);
  EXPECT_EQ(measure.pictures->leading, 2u);
  EXPECT_DOUBLE_EQ(measure.pictures->first, 0.12);
  EXPECT_DOUBLE_EQ(measure.pictures->end, 0.2);
  ASSERT_EQ(measure.sounds.size(), 1u);
  EXPECT_EQ(measure.sounds[0].packets, 2u);
  EXPECT_DOUBLE_EQ(measure.sounds[0].first, 0.01);
  EXPECT_DOUBLE_EQ(measure.sounds[0].end, 0.074);
  EXPECT_EQ(measure.bytes, 14183u + 3000 + 2000 + 1000 + 2 * 384);
}

TEST(PacketMeter, CountsWhatLiesBeforeTheFirstKeyFrame) {
  PacketMeter meter;
  for (const char* line :
       {"#tb 0: 1/25", "#media_type 0: video", "0, 0, 2, 1, 900, 0x1, F=0x0",
        "0, 1, 1, 1, 900, 0x1, F=0x0", "0, 50, 50, 1, 7000, 0x1", "0, 51, 51, 1, 900, 0x1, F=0x0"})
    meter.addLine(line);
  const SourceMeasure measure = meter.result();
  ASSERT_TRUE(measure.pictures);
  EXPECT_EQ(measure.pictures->keyless, 2u);
  EXPECT_DOUBLE_EQ(measure.pictures->earliest, 0.04);
  EXPECT_EQ(measure.pictures->packets, 2u);
  EXPECT_DOUBLE_EQ(measure.pictures->first, 2);
  EXPECT_EQ(measure.bytes, 900u * 3 + 7000);
}

// As ffmpeg lists a key frame behind a hole of the clock, which only it has jumped over yet; and DV
// whose second scene has sound of 32 kHz, not of 48.
TEST(PacketMeter, CountsWhatJumpsOfTheClockAndChangesOfTheRateSpoil) {
  PacketMeter meter;
  for (const char* line :
       {"#tb 0: 1/25", "#media_type 0: video", "#codec_id 0: h264", "#tb 1: 1/25",
        "#media_type 1: audio", "#codec_id 1: pcm_s16le", "0, 0, 2, 1, 900, 0x1",
        "1, 0, 0, 1, 7680, 0x1", "0, 1, 502, 1, 900, 0x1", "1, 1, 1, 1, 7688, 0x1",
        "0, 2, 4, 1, 900, 0x1", "1, 2, 2, 1, 5120, 0x1", "0, 3, 3, 1, 900, 0x1",
        "1, 3, 3, 1, 5120, 0x1", "1, 4, 4, 1, 5120, 0x1"})
    meter.addLine(line);
  const SourceMeasure measure = meter.result();
  ASSERT_TRUE(measure.pictures && !measure.sounds.empty());
  EXPECT_EQ(measure.pictures->displaced, 2u);
  EXPECT_EQ(measure.pictures->otherRate, 0u);
  EXPECT_EQ(measure.sounds[0].displaced, 0u);
  EXPECT_EQ(measure.sounds[0].otherRate, 3u);
}

TEST(PacketMeter, CountsHoles) {
  PacketMeter meter;
  for (const char* line :
       {"#tb 0: 1/25", "#media_type 0: video", "0, 0, 0, 1, 900, 0x1", "0, 1, 1, 1, 900, 0x1",
        "0, 52, 52, 1, 900, 0x1", "0, 53, 57, 1, 900, 0x1", "0, 53, 53, 1, 900, 0x1"})
    meter.addLine(line);
  const auto pictures = meter.result().pictures;
  ASSERT_TRUE(pictures);
  EXPECT_DOUBLE_EQ(pictures->gaps, 2);  // four pictures are too few
}

TEST(PacketMeter, TellsRareHolesFromPicturesThatWereLeftOut) {
  const auto without = [](const auto& isMissing) {
    PacketMeter meter;
    meter.addLine("#tb 0: 1/25");
    meter.addLine("#media_type 0: video");
    for (int number = 0; number < 150; ++number)
      if (!isMissing(number))
        meter.addLine(fmt::format("0, {0}, {0}, 1, 900, 0x1", number));
    return *meter.result().pictures;
  };
  const MeasuredStream holed = without([](int number) { return number / 10 == 7; });
  EXPECT_NEAR(holed.holes, 0.4, 1e-6);
  EXPECT_TRUE(holed.areHolesRare);
  const MeasuredStream uneven = without([](int number) { return number % 30 == 7; });
  EXPECT_NEAR(uneven.holes, 0.2, 1e-6);
  EXPECT_FALSE(uneven.areHolesRare);
}

// A decoder says nothing of the second, and little of the third. The fifth repeats another.
TEST(PacketMeter, CountsPicturesThatAreEmptyOrCutOff) {
  PacketMeter meter;
  for (const char* line :
       {"#tb 0: 1/25", "#media_type 0: video", "#codec_id 0: dvvideo", "0, 0, 0, 1, 900, 0x1",
        "0, 1, 1, 1, 900, 0x00000000", "0, 2, 2, 1, 300, 0x1", "0, 3, 3, 1, 900, 0x1",
        "0, 4, 4, 1, 0, 0x00000000"})
    meter.addLine(line);
  EXPECT_EQ(meter.result().pictures->spoilt, 2u);
}

TEST(PacketMeter, TheSourceIsReadAsItsConversionReadsIt) {
  EXPECT_THAT(
      measuringCommand({"/tools/ffmpeg", "-loglevel", "info", "-f", "mpegts", "-itsoffset", "-1",
                        "-i", "/a.mts", "-map", "0:V:0", "-c:v", "copy", "-y", "/a.mov"}),
      ElementsAre("/tools/ffmpeg", "-loglevel", "error", "-f", "mpegts", "-i", "/a.mts", "-map",
                  "0:V:0", "-c", "copy", "-copyinkf:v", "-sn", "-dn", "-stats", "-f", "framecrc",
                  "pipe:1"));
  EXPECT_TRUE(measuringCommand({"true"}).empty());
}

}  // namespace
}  // namespace tessarin
