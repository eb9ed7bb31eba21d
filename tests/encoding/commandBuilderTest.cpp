#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "analysis/soundChoice.h"
#include "encoding/BatchEntry.h"
#include "encoding/commandBuilder.h"
#include "encoding/outputPreset.h"
#include "platform/Bundle.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

Row rowOf(const char* fields, double fps, int size) {
  Row row;
  row.source = test::sourceOf({{"srcPathStr", "/card/00001.MTS"},
                               {"wrapper", "mpegts"},
                               {"v0_codec", "h264"},
                               {"v0_width", 1920},
                               {"v0_height", 1080},
                               {"v0_fps", fps},
                               {"v0_fields", fields},
                               {"a0_id", 1},
                               {"a0_codec", "ac3"},
                               {"a0_channels", 2}});
  row.choice.sizeOut = size;
  return row;
}

std::optional<EncodingCommand> commandOf(Target out, Row row, std::string_view prores) {
  row.choice.target = out;
  return encodage(row, "/movies/00001.mov", prores);
}

class CommandBuilderTest : public testing::Test {
 protected:
  static Arguments argumentsOf(Target out, const Row& row, std::string_view prores = "apcn") {
    const auto command = commandOf(out, row, prores);
    EXPECT_TRUE(command);
    return command ? command->arguments : Arguments();
  }
  // What follows the option, "" when it is missing.
  static std::string valueOf(const Arguments& arguments, std::string_view option) {
    const auto found = std::find(arguments.begin(), arguments.end(), option);
    return found == arguments.end() || found + 1 == arguments.end() ? "" : *(found + 1);
  }
  static std::string filterOf(const Row& row, Target out = outProres) {
    return valueOf(argumentsOf(out, row), "-vf");
  }
  static std::string rateOf(const Row& row, Target out = outProres) {
    return valueOf(argumentsOf(out, row), "-r");
  }

  test::TestBundle bundle_;
  test::LogCapture log_;
};

TEST_F(CommandBuilderTest, WritesProresOfADeinterlacedSource) {
  const auto command = commandOf(outProres, rowOf("TFF", 25, 10), "apch");
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
  Row row = rowOf("PFF", 25, 10);
  row.source.container = "MOV,mp4,m4a";
  EXPECT_THAT(argumentsOf(outQuickTime, row),
              ElementsAre(Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-fflags",
                          "+genpts", "-i", "/card/00001.MTS", "-vsync", "0", "-strict", "1", "-c:v",
                          "copy", "-vtag", "avc1", "-async", "3000", "-c:a", "pcm_s16le", "-ac",
                          "2", "-movflags", "faststart", "-sn", "-y", "/movies/00001.mov"));
  row.source.pictures.codec = "mpeg4";
  EXPECT_THAT(argumentsOf(outQuickTime, row), Not(Contains("-vtag")));
  EXPECT_THAT(argumentsOf(outQuickTime, rowOf("PFF", 25, 10)), Not(Contains("-vtag")))
      << "a transport stream";
  EXPECT_FALSE(commandOf(outProres, row, "apcn")->writesProres) << "a copy is still to be exported";
}

TEST_F(CommandBuilderTest, InterleavesFramesIntoFields) {
  const Row row = rowOf("PFF", 50, 12);
  const Arguments copyTarget = argumentsOf(outQuickTime, row);
  EXPECT_EQ(valueOf(copyTarget, "-c:v"), "mpeg4") << "such a copy goes by the intermediate";
  EXPECT_EQ(valueOf(copyTarget, "-vf"), "scale=1920:1080,tinterlace=interleave_top");
  EXPECT_EQ(valueOf(copyTarget, "-r"), "25/1");
  const Arguments prores = argumentsOf(outProres, row);
  EXPECT_EQ(valueOf(prores, "-c:v"), "prores");
  EXPECT_EQ(valueOf(prores, "-top"), "1");
  EXPECT_EQ(rateOf(rowOf("PFF", 59.94, 12)), "30000/1001");
}

TEST_F(CommandBuilderTest, MakesAFrameOfEveryField) {
  const Row pal = rowOf("TFF", 50, 11);
  EXPECT_EQ(filterOf(pal) + " " + rateOf(pal), "yadif=1:-1:0,scale=1920:1080 50/1");
  const Row ntsc = rowOf("TFF", 59.94, 6);
  EXPECT_EQ(filterOf(ntsc) + " " + rateOf(ntsc), "yadif=1:-1:0,scale=1280:720 60000/1001");
  EXPECT_EQ(filterOf(rowOf("TFF", 47.4, 11)), "yadif=0:-1:0,scale=1920:1080") << "too slow";
}

TEST_F(CommandBuilderTest, SlowsDownByFields) {
  Row row = rowOf("TFF", 50, 10);
  row.choice.speed = speedSlow;
  EXPECT_EQ(filterOf(row), "yadif=1:-1:0,setpts=2.0*PTS,scale=1920:1080");
  EXPECT_EQ(rateOf(row), "25/1");
  row.choice.sizeOut = 12;
  EXPECT_EQ(filterOf(row), "yadif=1:-1:0,setpts=2.0*PTS,scale=1920:1080");
}

TEST_F(CommandBuilderTest, ScalesToTheRowOrKeepsTheSize) {
  Row row = rowOf("TFF", 25, 4);
  EXPECT_EQ(filterOf(row), "yadif=0:-1:0,scale=960:540");
  row.choice.sizeOut = 7;
  EXPECT_EQ(filterOf(row), "yadif=0:-1:0,scale=1440:1080");
  row.choice.sizeOut = keepsSize;
  row.choice.speed = speedHalf;
  row.source.pictures.width = 720;
  row.source.pictures.height = 576;
  EXPECT_EQ(filterOf(row), "yadif=0:-1:0,scale=720:576");
  row.choice.sizeOut = 13;
  EXPECT_FALSE(commandOf(outAic, row, "apcn")) << "no such row";
}

TEST_F(CommandBuilderTest, NumbersTheProresFlavours) {
  const auto profile = [](std::string_view flavour) {
    return valueOf(argumentsOf(outProres, rowOf("TFF", 50, 12), flavour), "-profile");
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
    Row row = rowOf("TFF", 50, 12);
    row.source.sound.channels = inSource;
    if (wanted)
      row.source.keepsSurround = *wanted != 0;
    return valueOf(argumentsOf(outProres, row), "-ac");
  };
  EXPECT_EQ(channels(0, 6), "2");
  EXPECT_EQ(channels(std::nullopt, 6), "2");
  EXPECT_EQ(channels(1, 6), "6");
  EXPECT_EQ(channels(1, 3), "3");
  EXPECT_EQ(channels(1, 1), "2");
}

TEST_F(CommandBuilderTest, TakesTheSoundsThatAreChosen) {
  Row row = rowOf("TFF", 50, 12);
  Source& source = row.source;
  source.isMapped = true;
  source.pictures.id = 0;
  source.sound = {};
  source.sound.id = 1;
  source.sound.channels = 1;
  source.otherSounds = {source.sound, source.sound};
  source.otherSounds[0].id = 2;
  source.otherSounds[0].channels = 6;
  source.otherSounds[1].id = 4;
  source.otherSounds[1].language = "deu";
  const auto asked = [&row](const std::string& choice) {
    row.source.soundChoice = choice;
    std::string words;
    const Arguments arguments = movieCommand(row, "out.mov", "apcn")->arguments;
    for (std::size_t at = 1; at < arguments.size(); ++at)
      for (const char* option : {"-map", "-ac", "-metadata", "-disposition"})
        if (startsWith(arguments[at - 1], option))
          words += arguments[at - 1] + " " + arguments[at] + " ";
    return words;
  };
  EXPECT_EQ(asked(""),
            "-map 0:0 -map 0:1 -map 0:2 -map 0:4 -ac:a:0 1 -ac:a:1 2 -ac:a:2 1 "
            "-disposition:a default -metadata:s:a:2 language=ger ");
  EXPECT_EQ(asked("first"), "-map 0:0 -map 0:1 -ac 1 ");
  EXPECT_EQ(asked("3,1"),
            "-map 0:0 -map 0:1 -map 0:4 -ac 1 -disposition:a default "
            "-metadata:s:a:1 language=ger ")
      << "in the source's order";
  for (const char* wrong : {"0", "1,", ",2", "1-2", "all", "1 2"})
    EXPECT_FALSE(isSoundChoice(wrong)) << wrong;
  row.source.soundChoice = "2,4";
  EXPECT_EQ(missingSound(row.source), 4);
}

TEST_F(CommandBuilderTest, NamesTheDecoderOfMisreadSoundAndLeavesMuteSourcesMute) {
  Row row = rowOf("TFF", 50, 12);
  row.source.sound.isMisread = true;
  row.source.sound.codec = "pcm_bluray";
  const Arguments arguments = argumentsOf(outProres, row);
  EXPECT_EQ(valueOf(arguments, "-c:a"), "pcm_bluray") << "the first one, before the input";
  row.source.sound.id.reset();
  const Arguments mute = argumentsOf(outProres, row);
  for (const char* option : {"-c:a", "-ac", "-async"})
    EXPECT_THAT(mute, Not(Contains(option)));
}

}  // namespace
}  // namespace tessarin
