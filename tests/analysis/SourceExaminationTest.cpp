#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "analysis/SourceExamination.h"
#include "analysis/probeParser.h"
#include "analysis/usedStreams.h"
#include "support/LogCapture.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/clips.h"
#include "support/readTestData.h"

namespace tessarin {
namespace {

using test::readTestData;
using Remark = Source::Remark;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

constexpr std::int64_t largeSource = 1'000'000'000;

constexpr Fields none = Fields::progressive;
constexpr Fields top = Fields::topFirst;
constexpr Fields bottom = Fields::bottomFirst;

FramePictures tenPictures(Fields order = none, const FieldMotion& motion = {9, 0, 0}) {
  return {order, 720, 576, 10, motion, {}};
}

std::string report(const std::string& name) {
  return readTestData("reports/" + name + ".txt");
}

Source completed(const SourceExamination& examination) {
  Source source = ffInfos(examination.report(), std::nullopt).value_or(Source());
  examination.complete(source);
  return source;
}

class Examination : public ::testing::Test {
 protected:
  test::LogCapture quiet_{false};
  SourceExamination examination_{"/a.mts", largeSource, "/tmp/frame.yuv"};
};

TEST_F(Examination, ReadsFurtherWhereTheSoundIsNotKnownAndKeepsWhatHelped) {
  const std::string missing = report("empty-first-sound");
  EXPECT_THAT(*examination_.nextCommand(), Not(Contains("-probesize")));
  examination_.take(missing, tenPictures());
  EXPECT_THAT(examination_.nextCommand().value_or(Arguments()), Contains("50000000"));
  const std::string found = replaceAll(
      replaceAll(missing, "0x332D4341), 0 channels, fltp", "0x332D4341), 48000 Hz, mono, fltp"),
      "Could not find codec parameters for stream 0", "Found");
  examination_.take(found, tenPictures());
  EXPECT_EQ(examination_.nextCommand(), std::nullopt);
  const Source source = completed(examination_);
  EXPECT_EQ(source.sound.id, 0);
  EXPECT_EQ(source.otherSounds.at(0).id, 2);
  EXPECT_TRUE(source.remarks.empty());
  EXPECT_THAT(inputOptions(source),
              ElementsAre("-probesize", "50000000", "-analyzeduration", "60000000"));
  EXPECT_THAT(mapOfStreams(source), ElementsAre("-map", "0:1", "-map", "0:0", "-map", "0:2"));
}

TEST_F(Examination, TakesTheNextSoundWhereTheFirstStaysUnknown) {
  for (int run = 0; run < 3; ++run) {
    ASSERT_TRUE(examination_.nextCommand()) << run;
    examination_.take(report("empty-first-sound"), tenPictures());
  }
  EXPECT_EQ(examination_.nextCommand(), std::nullopt);
  const Source source = completed(examination_);
  EXPECT_EQ(source.sound.id, 2);
  EXPECT_TRUE(source.otherSounds.empty());
  EXPECT_TRUE(inputOptions(source).empty());
  EXPECT_THAT(mapOfStreams(source), ElementsAre("-map", "0:1", "-map", "0:2"));
  EXPECT_THAT(source.remarks, ElementsAre(Remark{Remark::Kind::soundUnreadable, 0}));

  // More than the whole of a small source cannot be read.
  SourceExamination small("/a.mts", 1000, "/tmp/frame.yuv");
  small.take(report("empty-first-sound"), tenPictures());
  EXPECT_EQ(small.nextCommand(), std::nullopt);
}

TEST_F(Examination, PicturesMakeASourceWhateverIsComplainedAbout) {
  examination_.take(report("empty-subtitle"), tenPictures());
  EXPECT_TRUE(examination_.isSource());
  EXPECT_EQ(examination_.nextCommand(), std::nullopt);
  EXPECT_FALSE(completed(examination_).isMapped);

  SourceExamination none("/a.mts", 1000, "/tmp/frame.yuv");
  none.take(report("empty-subtitle"), std::nullopt);
  EXPECT_FALSE(none.isSource());
  EXPECT_FALSE(none.fields());

  SourceExamination song("/a.mp3", 1000, "/tmp/frame.yuv");
  song.take(report("song-with-cover"), tenPictures());
  EXPECT_FALSE(song.isSource());
  EXPECT_TRUE(song.hasOnlySound());

  SourceExamination photo("/a.mov", 1000, "/tmp/frame.yuv");
  photo.take(replaceAll(report("avi"), "Input #0, avi", "Input #0, jpeg_pipe"), tenPictures());
  EXPECT_FALSE(photo.isSource());
  EXPECT_TRUE(photo.isStillOrText());
}

TEST_F(Examination, KeepsWhatTheStreamSaysOfItsColours) {
  examination_.take(report("camera-dv-pal"), tenPictures());
  const Source source = completed(examination_);
  EXPECT_EQ(source.pictures.colours.primaries, "bt470bg");
  EXPECT_EQ(source.pictures.colours.transfer, "bt709");
  EXPECT_EQ(source.pictures.colours.matrix, "smpte170m");

  SourceExamination silent("/a.mts", 1000, "/tmp/frame.yuv");
  silent.take(report("empty-subtitle"), tenPictures());
  EXPECT_EQ(completed(silent).pictures.colours.matrix, "");
}

TEST_F(Examination, AsksWhenThePicturesBeginWhereItMayNotBeAt0) {
  const std::string shown =
      "[Parsed_showinfo_0 @ 0x5] config in time_base: 1/90000, frame_rate: 25/1\n"
      "[Parsed_showinfo_0 @ 0x5] n:   0 pts:  47250 pts_time:0.525 pos:";
  const auto begin = [](const std::string& start, const std::string& answer) {
    SourceExamination examination("/a.mts", 1000, "/tmp/frame.yuv");
    examination.take(replaceAll(report("avchd"), "start: 1.4", start), tenPictures());
    const auto command = examination.nextCommand();
    EXPECT_TRUE(command && contains(joinTexts(*command, " "), " showinfo -frames:v 1 "));
    examination.take(answer, std::nullopt);
    EXPECT_EQ(examination.nextCommand(), std::nullopt);
    return completed(examination).pictures.begin;
  };
  const std::string late = "start: 1.0";
  EXPECT_EQ(begin(late, "    title : x] n:   0 pts: 9\n" + shown), 0.525);
  EXPECT_EQ(begin(late, replaceAll(shown, "47250", "450")), std::nullopt);
  EXPECT_EQ(begin(late, ""), std::nullopt);
  EXPECT_EQ(begin("start: 1.6", replaceAll(shown, "47250", "-7200")), -0.08);
  SourceExamination usual("/a.mts", 1000, "/tmp/frame.yuv");
  usual.take(report("avchd"), tenPictures());
  EXPECT_EQ(usual.nextCommand(), std::nullopt);
}

TEST_F(Examination, DoesNotBelieveALengthForWhichTheSoundAloneWouldBeTooMuch) {
  const auto seconds = [](const std::string& length) {
    SourceExamination examination("/a.mts", 1'000'000, "/tmp/frame.yuv");
    examination.take(replaceAll(report("avchd"), "Duration: 00:00:00.61", "Duration: " + length),
                     tenPictures());
    return completed(examination).seconds;
  };
  EXPECT_EQ(seconds("00:01:30.00"), 90);
  EXPECT_EQ(seconds("00:02:00.00"), std::nullopt);
}

TEST_F(Examination, TriesASoundThatFfmpegMissesSomethingOf) {
  const auto heard = [](const std::string& answer) {
    SourceExamination examination("/a.avi", 1000, "/tmp/frame.yuv");
    examination.take(
        "[avi @ 0x5] Could not find codec parameters for stream 1 (Audio: mp2, 48000 "
        "Hz, 2 channels): unspecified frame size\n" +
            report("avi"),
        tenPictures());
    const auto command = examination.nextCommand();
    EXPECT_TRUE(command && contains(joinTexts(*command, " "), " -map 0:1 -t 10 "));
    examination.take(answer, std::nullopt);
    EXPECT_EQ(examination.nextCommand(), std::nullopt);
    return completed(examination);
  };
  const Source mute = heard("  title: video:0 audio:9\nvideo:0kB audio:0kB subtitle:0kB\n");
  EXPECT_FALSE(mute.sound.id);
  EXPECT_THAT(mapOfStreams(mute), ElementsAre("-map", "0:0"));
  EXPECT_THAT(mute.remarks, ElementsAre(Remark{Remark::Kind::soundUnreadable, 1}));
  EXPECT_TRUE(heard("video:0kB audio:1875kB subtitle:0kB\n").sound.id);
  EXPECT_TRUE(heard("").sound.id) << "a conversion tells more";
}

TEST_F(Examination, UsesTheProgrammeWhosePicturesWereDecoded) {
  examination_.take(report("two-programmes"), tenPictures());
  const Source source = completed(examination_);
  EXPECT_EQ(source.pictures.id, 2);
  EXPECT_EQ(source.pictures.width, 1280);
  EXPECT_EQ(source.otherPictures.at(0).id, 0);
  EXPECT_EQ(source.sound.id, 3);
  EXPECT_TRUE(source.otherSounds.empty());
  EXPECT_THAT(source.remarks, ElementsAre(Remark{Remark::Kind::programs, 2}));
}

TEST_F(Examination, LooksAtOtherPlacesUntilPicturesShowTheirFields) {
  examination_.take(report("empty-subtitle"), tenPictures(bottom, {0, 0, 0}));
  const auto start = examination_.nextCommand();
  ASSERT_TRUE(start);
  EXPECT_THAT(*start, Contains("0.00"));
  EXPECT_THAT(*start, Contains("-vsync"));
  examination_.take("x", tenPictures(bottom, {3, 0, 0}));  // a title card
  ASSERT_TRUE(examination_.nextCommand());
  examination_.take("x", std::nullopt);
  ASSERT_TRUE(examination_.nextCommand());
  examination_.take("x", tenPictures(bottom, {9, 8, 0}));
  EXPECT_EQ(examination_.nextCommand(), std::nullopt);
  EXPECT_EQ(examination_.fields()->fields, top);
  EXPECT_EQ(completed(examination_).pictures.claim, bottom);
}

// ---- The order of the fields

struct WeighedCase {
  const char* name;
  FieldClues clues;
  Fields fields;
  std::optional<Fields> claim;
};

TEST(FieldOrderWeighed, ByPicturesThenByTheMajorityOfClaims) {
  const std::vector<WeighedCase> cases = {
      {"all agree", {top, top, 30, 0, {}, {9, 9, 0}}, top, {}},
      {"the stream lies", {bottom, bottom, 0, 30, {}, {9, 8, 1}}, top, bottom},
      {"and the other way", {top, top, 30, 0, {}, {9, 0, 5}}, bottom, top},
      {"the first picture is half a one", {bottom, top, 30, 0, {top}, {9, 0, 0}}, top, bottom},
      {"too few pictures", {bottom, {}, 0, 0, {bottom}, {2, 2, 0}}, bottom, {}},
      {"pictures contradict each other", {bottom, bottom, 0, 0, {}, {9, 5, 4}}, bottom, {}},
      {"a tie of claims", {top, bottom, 0, 0, {}, {9, 0, 0}}, top, {}},
      {"progressive", {none, {}, 0, 0, {}, {9, 0, 0}}, none, {}},
      {"progressive, and moving like fields", {none, top, 30, 0, {}, {9, 9, 0}}, none, {}},
      {"copies of one picture", {none, top, 0, 0, {top}, {0, 0, 0}}, top, {}},
  };
  for (const WeighedCase& one : cases) {
    const FieldOrder order = weighFieldOrder(one.clues);
    EXPECT_EQ(order.fields, one.fields) << one.name;
    EXPECT_EQ(order.claim, one.claim) << one.name;
  }
}

std::optional<FramePictures> picturesOf(const std::string& file) {
  FramePictureReader reader(file);
  while (reader.readNext()) {
  }
  return reader.take();
}

// What real pictures show, whole and with only the copies of one that a cut start gives.
TEST(FramePicturesOfFiles, ShowTheOrderOfMovingFields) {
  const test::ScopedTemporaryFolder folder;
  const std::string file = folder.file("frame.yuv");
  const std::string end = "-pix_fmt yuv420p -f yuv4mpegpipe ";
  const std::string moving = "-f lavfi -i testsrc2=s=720x576:r=50:d=0.4,format=yuv420p";
  ASSERT_TRUE(test::makeClip(moving + ",tinterlace=interleave_top " + end, file));
  const auto top = picturesOf(file);
  ASSERT_TRUE(top);
  EXPECT_EQ(top->whole, 10);
  EXPECT_GE(top->motion.top, 8);
  EXPECT_EQ(top->motion.bottom, 0);

  ASSERT_TRUE(test::makeClip(moving + ",tinterlace=interleave_bottom " + end, file));
  const auto bottom = picturesOf(file);
  ASSERT_TRUE(bottom);
  EXPECT_GE(bottom->motion.bottom, 8);
  EXPECT_EQ(bottom->motion.top, 0);

  ASSERT_TRUE(test::makeClip(moving + " " + end, file));
  const auto progressive = picturesOf(file);
  ASSERT_TRUE(progressive);
  EXPECT_EQ(progressive->order, none);
  EXPECT_GE(progressive->motion.changes, 9);
  EXPECT_LE(progressive->motion.top + progressive->motion.bottom, 1);

  ASSERT_TRUE(
      test::makeClip("-f lavfi -i testsrc2=s=320x240:d=0.04,loop=9:1,setfield=bff " + end, file));
  const auto still = picturesOf(file);
  ASSERT_TRUE(still);
  EXPECT_EQ(still->motion.changes, 0);

  // The end of a file that was cut off, and files that are none.
  std::filesystem::resize_file(file, std::filesystem::file_size(file) - 1);
  EXPECT_EQ(picturesOf(file)->whole, still->whole - 1);
  for (const char* text : {"", "YUV4MPEG2 W0 H1\n", "YUV4MPEG2 W99999999 H2 C420\n", "FRAME\n",
                           "YUV4MPEG2 W16 H16 C444\nFRAME\n"})
    EXPECT_FALSE(picturesOf(folder.write("none", text))) << text;
}

}  // namespace
}  // namespace tessarin
