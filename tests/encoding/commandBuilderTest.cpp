#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "analysis/SourceInfo.h"
#include "encoding/BatchEntry.h"
#include "encoding/commandBuilder.h"
#include "encoding/outputPreset.h"
#include "platform/Bundle.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"

namespace tessarin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

std::string key(std::string_view name) {
  return std::string(name);
}

Dico jobOf(const char* fields, double fps, int row) {
  return {{key(JobKey::srcPathStr), "/card/00001.MTS"},
          {key(JobKey::dstPathStr), "/movies/00001.mov"},
          {key(SourceKey::wrapper), "mpegts"},
          {key(SourceKey::v0Codec), "h264"},
          {key(SourceKey::v0Width), 1920},
          {key(SourceKey::v0Height), 1080},
          {key(SourceKey::v0Fps), fps},
          {key(SourceKey::v0Fields), fields},
          {key(SourceKey::a0Id), 1},
          {key(SourceKey::a0Codec), "ac3"},
          {key(SourceKey::a0Channels), 2},
          {key(JobKey::speed), speedKeep},
          {key(JobKey::sizeOut), row}};
}

class CommandBuilderTest : public testing::Test {
 protected:
  static Arguments argumentsOf(Target out, const Dico& job, std::string_view prores = "apcn") {
    const auto command = encodage(out, job, prores);
    EXPECT_TRUE(command);
    return command ? command->arguments : Arguments();
  }
  // What follows the option, "" when it is missing.
  static std::string valueOf(const Arguments& arguments, std::string_view option) {
    const auto found = std::find(arguments.begin(), arguments.end(), option);
    return found == arguments.end() || found + 1 == arguments.end() ? "" : *(found + 1);
  }
  static std::string filterOf(const Dico& job, Target out = outProres) {
    return valueOf(argumentsOf(out, job), "-vf");
  }
  static std::string rateOf(const Dico& job, Target out = outProres) {
    return valueOf(argumentsOf(out, job), "-r");
  }

  test::TestBundle bundle_;
  test::LogCapture log_;
};

TEST_F(CommandBuilderTest, WritesProresOfADeinterlacedSource) {
  const auto command = encodage(outProres, jobOf("TFF", 25, 10), "apch");
  ASSERT_TRUE(command);
  EXPECT_THAT(command->arguments,
              ElementsAre(Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-fflags",
                          "+genpts", "-i", "/card/00001.MTS", "-c:v", "prores", "-profile", "3",
                          "-threads", "auto", "-vf", "yadif=0:-1:0,scale=1920:1080", "-r", "25/1",
                          "-async", "3000", "-c:a", "pcm_s16le", "-ac", "2", "-movflags",
                          "faststart", "-sn", "-y", "/movies/00001.mov"));
  EXPECT_TRUE(command->writesProres);
}

TEST_F(CommandBuilderTest, OnlyRewrapsAProgressiveSource) {
  Dico job = jobOf("PFF", 25, 10);
  job.set(SourceKey::wrapper, "MOV,mp4,m4a");
  EXPECT_THAT(argumentsOf(outQuickTime, job),
              ElementsAre(Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-fflags",
                          "+genpts", "-i", "/card/00001.MTS", "-vsync", "0", "-strict", "1", "-c:v",
                          "copy", "-vtag", "avc1", "-async", "3000", "-c:a", "pcm_s16le", "-ac",
                          "2", "-movflags", "faststart", "-sn", "-y", "/movies/00001.mov"));
  job.set(SourceKey::v0Codec, "mpeg4");
  EXPECT_THAT(argumentsOf(outQuickTime, job), Not(Contains("-vtag")));
  EXPECT_THAT(argumentsOf(outQuickTime, jobOf("PFF", 25, 10)), Not(Contains("-vtag")))
      << "a transport stream";
  EXPECT_FALSE(encodage(outProres, job, "apcn")->writesProres) << "a copy is still to be exported";
}

TEST_F(CommandBuilderTest, InterleavesFramesIntoFields) {
  const Dico job = jobOf("PFF", 50, 12);
  const Arguments copyTarget = argumentsOf(outQuickTime, job);
  EXPECT_EQ(valueOf(copyTarget, "-c:v"), "mpeg4") << "such a copy goes by the intermediate";
  EXPECT_EQ(valueOf(copyTarget, "-vf"), "scale=1920:1080,tinterlace=interleave_top");
  EXPECT_EQ(valueOf(copyTarget, "-r"), "25/1");
  const Arguments prores = argumentsOf(outProres, job);
  EXPECT_EQ(valueOf(prores, "-c:v"), "prores");
  EXPECT_EQ(valueOf(prores, "-top"), "1");
  EXPECT_EQ(rateOf(jobOf("PFF", 59.94, 12)), "30000/1001");
}

TEST_F(CommandBuilderTest, MakesAFrameOfEveryField) {
  const Dico pal = jobOf("TFF", 50, 11);
  EXPECT_EQ(filterOf(pal) + " " + rateOf(pal), "yadif=1:-1:0,scale=1920:1080 50/1");
  const Dico ntsc = jobOf("TFF", 59.94, 6);
  EXPECT_EQ(filterOf(ntsc) + " " + rateOf(ntsc), "yadif=1:-1:0,scale=1280:720 60000/1001");
  EXPECT_EQ(filterOf(jobOf("TFF", 47.4, 11)), "yadif=0:-1:0,scale=1920:1080") << "too slow";
}

TEST_F(CommandBuilderTest, SlowsDownByFields) {
  Dico job = jobOf("TFF", 50, 10);
  job.set(JobKey::speed, speedSlow);
  EXPECT_EQ(filterOf(job), "yadif=1:-1:0,setpts=2.0*PTS,scale=1920:1080");
  EXPECT_EQ(rateOf(job), "25/1");
  job.set(JobKey::sizeOut, 12);
  EXPECT_EQ(filterOf(job), "yadif=1:-1:0,setpts=2.0*PTS,scale=1920:1080");
}

TEST_F(CommandBuilderTest, ScalesToTheRowOrKeepsTheSize) {
  Dico job = jobOf("TFF", 25, 4);
  EXPECT_EQ(filterOf(job), "yadif=0:-1:0,scale=960:540");
  job.set(JobKey::sizeOut, 7);
  EXPECT_EQ(filterOf(job), "yadif=0:-1:0,scale=1440:1080");
  job.remove(JobKey::sizeOut);
  job.set(JobKey::speed, speedHalf);
  job.set(SourceKey::v0Width, 720);
  job.set(SourceKey::v0Height, 576);
  EXPECT_EQ(filterOf(job), "yadif=0:-1:0,scale=720:576");
  job.set(JobKey::sizeOut, 13);
  EXPECT_FALSE(encodage(outAic, job, "apcn")) << "no such row";
}

TEST_F(CommandBuilderTest, NumbersTheProresFlavours) {
  const auto profile = [](std::string_view flavour) {
    return valueOf(argumentsOf(outProres, jobOf("TFF", 50, 12), flavour), "-profile");
  };
  std::string profiles;
  for (const char* flavour : {"apco", "apcs", "apcn", "apch"})
    profiles += profile(flavour);
  EXPECT_EQ(profiles, "0123");
  EXPECT_EQ(profile("ap4h"), "2") << "the encoder writes no 4444";
  EXPECT_EQ(profile(""), "2");
}

TEST_F(CommandBuilderTest, MixesSurroundDownUnlessItIsWanted) {
  const auto channels = [](std::optional<int> wanted, int inSource) {
    Dico job = jobOf("TFF", 50, 12);
    job.set(SourceKey::a0Channels, inSource);
    if (wanted)
      job.set(JobKey::prefSurrond, *wanted);
    return valueOf(argumentsOf(outProres, job), "-ac");
  };
  EXPECT_EQ(channels(0, 6), "2");
  EXPECT_EQ(channels(std::nullopt, 6), "2");
  EXPECT_EQ(channels(1, 6), "6");
  EXPECT_EQ(channels(1, 3), "3");
  EXPECT_EQ(channels(1, 1), "2");
}

TEST_F(CommandBuilderTest, NamesTheDecoderOfMisreadSoundAndLeavesMuteSourcesMute) {
  Dico job = jobOf("TFF", 50, 12);
  job.set(SourceKey::a0Force, 1);
  job.set(SourceKey::a0Codec, "pcm_bluray");
  const Arguments arguments = argumentsOf(outProres, job);
  EXPECT_EQ(valueOf(arguments, "-c:a"), "pcm_bluray") << "the first one, before the input";
  job.remove(SourceKey::a0Id);
  const Arguments mute = argumentsOf(outProres, job);
  for (const char* option : {"-c:a", "-ac", "-async"})
    EXPECT_THAT(mute, Not(Contains(option)));
}

}  // namespace
}  // namespace tessarin
