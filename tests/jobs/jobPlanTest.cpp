#include <gtest/gtest.h>

#include "analysis/codecInventory.h"
#include "encoding/outputPreset.h"
#include "ffmpeg/timeBound.h"
#include "jobs/exportCommands.h"
#include "jobs/jobPlan.h"
#include "jobs/newRow.h"
#include "prefs/utilsAlert.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

Row rowOf(bool progressive, int size, Target out) {
  return newRow(test::sourceOf({{"v0_width", 1920},
                                {"v0_height", 1080},
                                {"v0_fps", 25.0},
                                {"v0_fields", progressive ? "PFF" : "TFF"},
                                {"srcPathStr", "/clips/00001.MTS"}}),
                {out, size});
}

// The row with these entries in its source's record.
Row withInfo(Row row, const Dico& entries) {
  Dico facts = recordOfSource(row.source);
  facts.merge(entries);
  row.source = test::sourceOf(facts);
  return row;
}

class JobPlanTest : public testing::Test {
 protected:
  JobPlanTest() { codecInventory().prores = true; }
  ~JobPlanTest() override { codecInventory() = CodecInventory(); }

  test::TestBundle bundle_;
};

TEST_F(JobPlanTest, OnlyWhatFfmpegCannotFinishNeedsTheExport) {
  // Interlaced to ProRes is written at once; a progressive source is copied and then exported; a
  // copy that is to be a QuickTime movie is one; what is encoded, and not as ProRes, is exported
  // from the source.
  const auto needsExport = [](const Row& row) {
    return planJob(row, "/out/x.mov", "apcn")->needsExport;
  };
  EXPECT_FALSE(needsExport(rowOf(false, 12, outProres)));
  EXPECT_TRUE(needsExport(rowOf(true, 10, outProres)));
  EXPECT_FALSE(needsExport(rowOf(false, 12, outAic)));
  EXPECT_FALSE(needsExport(rowOf(true, 10, outQuickTime)));
}

// A copy of VP9 is refused by ffmpeg; one of H.264 out of an AVI file ends before its last picture.
TEST_F(JobPlanTest, WhatNoCopyCanHoldIsExportedFromTheSource) {
  Row row = withInfo(rowOf(true, 10, outProres), {{"v0_codec", "vp9"},
                                                  {"wrapper", "matroska,webm"},
                                                  {"v0_id", 2},
                                                  {"a0_id", 5},
                                                  {"a0_channels", 6},
                                                  {"w_duration", 3}});
  const JobPlan plan = *planJob(row, "/out/x.mov", "apcn");
  EXPECT_TRUE(plan.isExport);
  EXPECT_FALSE(plan.needsExport);
  const Bundle& bundle = Bundle::main();
  EXPECT_EQ(joinTexts(plan.command.arguments, " "),
            bundle.toolPath("movtool") + " -s " + bundle.resourcePath() +
                "/presetQt/pr1920x1080p25 -i /clips/00001.MTS -y -o /out/x.mov --pictures 2 "
                "--sound 5 --channels 2");
  ASSERT_EQ(commandsOfPlan(plan, false).size(), 1u);
  EXPECT_FALSE(contains(joinTexts(commandsOfPlan(plan, false).front(), " "), " -y "));

  const auto isExport = [](const Row& source) {
    return planJob(source, "/out/x.mov", "apcn")->isExport;
  };
  EXPECT_TRUE(isExport(withInfo(row, {{"v0_codec", "h264"}, {"wrapper", "avi"}})));
  EXPECT_TRUE(isExport(withInfo(row, {{"v0_codec", "not_tried"}})));
  EXPECT_TRUE(isExport(withInfo(row, {{"v0_codec", "mpeg2video"}, {"wrapper", "mov,mp4,m4a"}})))
      << "may show pictures before its first key frame";
  EXPECT_FALSE(isExport(withInfo(row, {{"v0_codec", "h264"}, {"wrapper", "mov,mp4,m4a"}})));
  EXPECT_FALSE(isExport(withInfo(rowOf(false, 12, outProres), {{"v0_codec", "vp9"}})));

  row.choice.target = outQuickTime;
  EXPECT_TRUE(contains(*refusalOf(row, true), "vp9"));
}

TEST_F(JobPlanTest, SlowMotionTakesTwiceAsLong) {
  const auto seconds = [](bool progressive, double fps, int size, Speed speed) {
    Row row = withInfo(rowOf(progressive, size, outProres), {{"v0_fps", fps}, {"w_duration", 4}});
    row.choice.speed = speed;
    return planJob(row, "/out/x.mov", "apcn")->seconds;
  };
  EXPECT_EQ(seconds(true, 50, 10, speedSlow), 8);
  EXPECT_EQ(seconds(true, 50, 10, speedKeep), 4);
  EXPECT_EQ(seconds(true, 25, 10, speedSlow), 4) << "has none to spare";
  EXPECT_EQ(seconds(false, 50, 10, speedSlow), 8);
  EXPECT_EQ(seconds(false, 50, 11, speedSlow), 4) << "fields are shown at their rate";
}

TEST_F(JobPlanTest, NothingIsEncodedBeforeAnExport) {
  const auto told = [](const Row& row) {
    const JobPlan plan = *planJob(row, "/out/x.mov", "apcn");
    EXPECT_TRUE(plan.isExport);
    EXPECT_EQ(commandsOfPlan(plan, true).size(), 1u);
    const Arguments& all = plan.command.arguments;
    const auto output = std::find(all.begin(), all.end(), "/out/x.mov");
    return fileName(all.at(2)) + " " + joinTexts(Arguments(output + 1, all.end()), " ");
  };
  const Dico american{{"v0_fields", "TFF"}, {"v0_fps", 59.94}, {"w_probesize", 5000000}};
  Row row = rowOf(false, 12, outAic);
  EXPECT_EQ(told(withInfo(row, {{"v0_fields", "BFF"}, {"v0_fps", 50.0}})),
            "1920x1080i25 --fields bff --rate 25 --sound -1 --channels 2");
  EXPECT_EQ(told(withInfo(row, american)),
            "1920x1080i30 --probesize 5000000 --fields tff --rate 29.97 --sound -1 --channels 2");
  row.choice.sizeOut = 10;
  row.choice.speed = speedSlow;
  EXPECT_EQ(told(withInfo(row, {{"v0_fps", 50.0}})),
            "1920x1080p25 --fields tff --rate 25 --sound -1 --channels 2 --slow");
  // Pictures that become fields, of a stream that calls itself interlaced.
  const Dico lying{{"v0_fieldsClaim", "TFF"}, {"v0_fps", 50.0}};
  for (const Target target : {outQuickTime, outAic})
    EXPECT_EQ(told(withInfo(rowOf(true, 12, target), lying)),
              "1920x1080i25 --fields prog --sound -1 --channels 2");
}

TEST_F(JobPlanTest, EveryMovieSaysItsColours) {
  const auto said = [](bool progressive, Target out, const Dico& info) {
    const Row row = withInfo(rowOf(progressive, progressive ? 10 : 12, out), info);
    const auto arguments = planJob(row, "/out/x.mov", "apcn")->command.arguments;
    Arguments names;
    for (const char* option : {"-color_primaries", "-color_trc", "-colorspace"})
      if (const auto found = std::find(arguments.begin(), arguments.end(), option);
          found != arguments.end())
        names.push_back(*(found + 1));
    EXPECT_EQ(contains(joinTexts(arguments, " "), "setparams=color_primaries=" + names.at(0) +
                                                      ":color_trc=" + names.at(1) +
                                                      ":colorspace=" + names.at(2)),
              !progressive && out == outProres);
    return joinTexts(names, " ");
  };
  const Dico hlg{
      {"v0_primaries", "bt2020"}, {"v0_transfer", "arib-std-b67"}, {"v0_matrix", "bt2020nc"}};
  const Dico pal{{"v0_width", 720}, {"v0_height", 576}, {"v0_fps", 50.0}};
  EXPECT_EQ(said(true, outQuickTime, {}), "bt709 bt709 bt709");
  EXPECT_EQ(said(true, outQuickTime, pal), "bt470bg smpte170m smpte170m");
  EXPECT_EQ(said(true, outProres, {{"v0_matrix", "bt470bg"}}), "bt709 bt709 bt470bg")
      << "of the copy that is exported";
  EXPECT_EQ(said(false, outProres, pal), "bt470bg bt709 smpte170m") << "as ProRes calls them";
  EXPECT_EQ(said(false, outProres, hlg), "bt2020 arib-std-b67 bt2020nc");
}

TEST_F(JobPlanTest, FieldsOfProresGetTheOrderThatTheMovieClaims) {
  const auto told = [](const Row& row) {
    const auto arguments = planJob(row, "/out/x.mov", "apcn")->command.arguments;
    const auto from = std::find(arguments.begin(), arguments.end(), "-profile") + 2;
    const std::string text = joinTexts({from, std::find(from, arguments.end(), "-r")}, " ");
    return replaceAll(replaceAll(text, timeBound(row.source.seconds) + ",", ""),
                      "setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709",
                      "setparams");
  };
  const std::string fields = "-flags +ildct+ilme -field_order tb -threads auto -vf ";
  const std::string perField =
      "setparams,scale=interl=-1,format=yuv422p10,fieldorder=tff,setfield=tff";
  EXPECT_EQ(told(rowOf(false, 12, outProres)), fields + perField);
  EXPECT_EQ(told(withInfo(rowOf(false, 12, outProres), {{"v0_fieldsClaim", "BFF"}})),
            fields + "setfield=tff," + perField);
  EXPECT_EQ(told(withInfo(rowOf(true, 12, outProres), {{"v0_fps", 50.0}})),
            fields +
                "scale=1920:1080,tinterlace=interleave_top,setparams,"
                "format=yuv422p10,fieldorder=tff,setfield=tff");
  EXPECT_EQ(told(rowOf(false, 10, outProres)),
            "-threads auto -vf yadif=0:-1:0,scale=1920:1080,setparams,format=yuv422p10,"
            "setfield=prog");
}

TEST_F(JobPlanTest, AMovieBeginsWithItsFirstPicture) {
  const auto plan = [](bool progressive, Speed speed) {
    Row row = withInfo(rowOf(progressive, progressive ? 10 : 12, outProres),
                       {{"v0_begin", 0.549333},
                        {"w_duration", 3},
                        {"a0_id", 1},
                        {"a0_channels", 2},
                        {"prefSlowSound", "slowed"}});
    row.choice.speed = speed;
    return *planJob(row, "/out/x.mov", "apcn");
  };
  const auto text = [](const Arguments& command) { return joinTexts(command, " "); };
  // Packets below zero would be leaps of the clock to ffmpeg.
  const std::string fields = text(plan(false, speedSlow).command.arguments);
  EXPECT_FALSE(contains(fields, "-itsoffset")) << fields;
  EXPECT_TRUE(contains(fields, " -vf setpts=floor(PTS-0.549333/TB+0.5),")) << fields;
  EXPECT_TRUE(
      contains(fields, " -af atrim=start=0.549333,asetpts=floor(PTS-0.549333/TB+0.5),atempo=0.5 "))
      << fields;
  const JobPlan copy = plan(true, speedSlow);
  EXPECT_FALSE(contains(text(copy.command.arguments), "-itsoffset")) << "a copy tells it";
  EXPECT_TRUE(contains(text(slowingCommand(copy, "/s.mov")), "-itsoffset -0.27466"));
}

TEST_F(JobPlanTest, PicturesThatBecomeLargeGetTheColoursOfLargeOnes) {
  const auto isConverted = [](int height, int size) {
    const Row row =
        withInfo(rowOf(false, size, outProres), {{"v0_width", 720}, {"v0_height", height}});
    const auto arguments = planJob(row, "/out/x.mov", "apcn")->command.arguments;
    return contains(joinTexts(arguments, " "), ":out_color_matrix=bt709") &&
           contains(joinTexts(arguments, " "), "setparams=color_primaries=bt709");
  };
  EXPECT_TRUE(isConverted(576, 7));
  EXPECT_TRUE(isConverted(480, 10));
  EXPECT_FALSE(isConverted(1080, 7)) << "has them already";
  EXPECT_TRUE(isConverted(576, 4)) << "960x540";
  EXPECT_FALSE(isConverted(576, 9)) << "is not scaled";
}

// The quicker encoder reads behind the end of such pictures.
TEST_F(JobPlanTest, FieldsOfAnOddNumberOfMacroblockRowsTakeTheOtherEncoder) {
  const auto encoderOf = [](int height, int size, Speed speed = speedKeep) {
    Row row = withInfo(rowOf(false, size, outProres), {{"v0_height", height}});
    row.choice.speed = speed;
    const auto arguments = planJob(row, "/out/x.mov", "apcn")->command.arguments;
    return *(std::find(arguments.begin(), arguments.end(), "-c:v") + 1);
  };
  for (const int lines : {240, 486, 720})
    EXPECT_EQ(encoderOf(lines, 12), "prores_ks") << lines;
  for (const int lines : {480, 576, 1080})
    EXPECT_EQ(encoderOf(lines, 12), "prores") << lines;
  EXPECT_EQ(encoderOf(720, 12, speedSlow), "prores") << "is scaled to 1080 lines";
  EXPECT_EQ(encoderOf(720, 5), "prores") << "has no fields any more";
}

TEST_F(JobPlanTest, ExportSettingsSuitSizeScanRateAndShape) {
  Row row = rowOf(true, 10, outProres);
  EXPECT_EQ(exportPresetName(row, "apcn"), "pr1920x1080p25");
  EXPECT_EQ(exportPresetName(row, "apch"), "prHd1920x1080p25");
  row.source.pictures.rate = 29.97;
  EXPECT_EQ(exportPresetName(row, "apcn"), "pr1920x1080p30");
  row.source.pictures.rate = 239.76;
  EXPECT_EQ(exportPresetName(row, "apcn"), "pr1920x1080p30");
  row.source.pictures.rate = 23.976;
  EXPECT_EQ(exportPresetName(row, "apcn"), "pr1920x1080p24");
  row.choice.target = outAic;
  row.source.pictures.shape = "4:3";
  EXPECT_EQ(exportPresetName(row, "apch"), "1920x1080p24Letterbox");
  row.choice.sizeOut = 12;
  row.source.pictures.rate = 59.94;
  row.source.pictures.shape = "16:9";
  EXPECT_EQ(exportPresetName(row, "apch"), "1920x1080i30");
  row.choice.sizeOut = -1;
  EXPECT_EQ(exportPresetName(row, "apch"), "");
}

TEST_F(JobPlanTest, ThePlanOfAnExportNamesEveryStep) {
  const auto commands = [](const Row& row) {
    std::vector<std::string> lines;
    for (Arguments command : commandsOfPlan(*planJob(row, "/out/x.mov", "apcn"), false)) {
      command.front() = fileName(command.front());
      lines.push_back(replaceAll(joinTexts(command, " "), test::TestBundle::resourcePath(), ""));
    }
    return lines;
  };
  EXPECT_EQ(commands(rowOf(false, 12, outProres)).size(), 1u);
  Row row = rowOf(true, 10, outProres);
  auto lines = commands(row);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_TRUE(startsWith(lines[0],
                         "sh -c test ! -e \"$1\" || { echo \"$2\" >&2; exit 1; } sh "
                         "/out/x_MASTER.mov "))
      << lines[0];
  EXPECT_TRUE(endsWith(lines[1], " -n /out/x.mov")) << lines[1];
  EXPECT_EQ(lines[2], "mv -f -- /out/x.mov /out/x_MASTER.mov");
  EXPECT_EQ(lines[3], "movtool -s /presetQt/pr1920x1080p25 -i /out/x_MASTER.mov -y -o /out/x.mov");
  EXPECT_EQ(lines[4], "rm -f -- /out/x_MASTER.mov");
  row.source.pictures.rate = 50.0;
  row.choice.speed = speedSlow;
  lines = commands(row);
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_TRUE(
      lines[2].ends_with(" -i /out/x.mov -map 0:v -map 1:a? -c copy "
                         "-bsf:v setts=pts=PTS:dts=DTS:duration=max(2*DURATION\\,PREV_OUTDURATION) "
                         "-video_track_timescale 60000 -movflags faststart -n /out/x-slow.mov"))
      << lines[2];
  EXPECT_EQ(lines[3], "mv -f -- /out/x-slow.mov /out/x.mov");
  row.choice.target = outQuickTime;
  EXPECT_EQ(commands(row).size(), 3u) << "slow motion of a copy is a copy too";
}

TEST_F(JobPlanTest, RowsThatCannotBeConvertedAreRefusedWithTheReason) {
  EXPECT_EQ(refusalOf(rowOf(false, 12, outProres), false), std::nullopt);
  EXPECT_EQ(refusalOf(rowOf(true, 10, outProres), false), localisationString("why_noExport"));
  EXPECT_EQ(refusalOf(rowOf(true, 10, outProres), true), std::nullopt);
  EXPECT_EQ(refusalOf(rowOf(false, 12, outQuickTime), true),
            localisationString("why_noTarget", "", localisationString("why_copyInterlaced")));
  const Row soundOnly = newRow(test::sourceOf({{"a0_id", 0}}), {outProres, 5});
  EXPECT_EQ(refusalOf(soundOnly, true), localisationString("why_noPicture"));
}

}  // namespace
}  // namespace tessarin
