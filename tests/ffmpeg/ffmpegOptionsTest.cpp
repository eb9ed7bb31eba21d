#include <gmock/gmock.h>

#include <sstream>

#include "ffmpeg/ffmpegCommandLine.h"
#include "ffmpeg/ffmpegOptions.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const FfmpegVersion v31 = ffmpegVersionFromText("3.1");
const FfmpegVersion v44 = ffmpegVersionFromText("4.4");
const FfmpegVersion v50 = ffmpegVersionFromText("5.0");
const FfmpegVersion v51 = ffmpegVersionFromText("5.1");
const FfmpegVersion v60 = ffmpegVersionFromText("6.0");
const FfmpegVersion v71 = ffmpegVersionFromText("7.1");

std::vector<std::string> words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> result;
  for (std::string word; stream >> word;)
    result.push_back(word);
  return result;
}

std::string translated(const std::string& line, FfmpegVersion version) {
  std::string result;
  for (const std::string& argument : translateFfmpegOptions(words(line), version))
    result += (result.empty() ? "" : " ") + argument;
  return result;
}

const std::string syncFilter = "aresample=async=1:min_hard_comp=0.03:first_pts=0";

TEST(FfmpegCommandLine, GivesBackWhatItTookApart) {
  for (const std::string line :
       {"-loglevel info -c:a ac3 -fflags +genpts -i a.mts -sn -y b.mov",
        "-i a -i b -map 0:v -shortest -an -y c.mov -vn -nostats d.wav -y -trailing", "-version",
        "-h full", "", "-", "-y -- -top", "-i -vsync -metadata -top -y out.mov", "-i a -c:v"})
    EXPECT_EQ(ffmpegArguments(parseFfmpegArguments(words(line))), words(line)) << line;
}

TEST(FfmpegCommandLine, NamesTheFiltersOfAGraph) {
  EXPECT_THAT(filterNames("scale=640:480,yadif=0:-1:0"), ElementsAre("scale", "yadif"));
  EXPECT_THAT(filterNames("[0:v] split [a][b];\n[a]null@x=1[c]"), ElementsAre("split", "null"));
  EXPECT_THAT(filterNames("drawtext=text='a,yadif=1',hflip"), ElementsAre("drawtext", "hflip"));
  EXPECT_THAT(filterNames("drawtext=text=a\\,yadif\\=1"), ElementsAre("drawtext"));
  EXPECT_THAT(filterNames(""), ElementsAre());
}

TEST(FfmpegVersion, IsReadFromWhatTheProgramSays) {
  constexpr FfmpegVersion codecOf51{59, 37};
  EXPECT_EQ(ffmpegVersionFromText("ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000-2026\nbuilt"),
            codecOf51);
  EXPECT_EQ(ffmpegVersionFromText("5.1"), codecOf51);
  EXPECT_EQ(ffmpegVersionFromText("n7.1-14-gabc"), (FfmpegVersion{61, 19}));
  EXPECT_EQ(ffmpegVersionFromText("6"), (FfmpegVersion{60, 3}));
  EXPECT_FALSE(ffmpegVersionFromText("2.8.17").isAtLeast(v31));
  for (const std::string unknown :
       {"git-2024-01-02-abc", "8.0", "", "0", "-3.1", "99999999999999999999.1",
        "first line\nffmpeg version 4.4", "libavcodec of ours"})
    EXPECT_EQ(ffmpegVersionFromText(unknown), newestFfmpeg) << unknown;
  EXPECT_EQ(ffmpegVersionFromText(ffmpegVersionText(codecOf51)), codecOf51);
}

// Such a name tells nothing; the libraries do.
TEST(FfmpegVersion, IsThatOfTheLibraryWhereTheBuildHasNoNumber) {
  const FfmpegVersion of2018 = ffmpegVersionFromText(
      "ffmpeg version N-47683-g0e8eb07980-static Copyright (c) 2000-2018 the FFmpeg developers\n"
      "libavutil      56. 24.101 / 56. 24.101\nlibavcodec     57. 10.100 / 58. 42.100\n"
      "libavformat    58. 24.100 / 58. 24.100\n");
  EXPECT_EQ(of2018, (FfmpegVersion{58, 42})) << "what it runs with";
  EXPECT_TRUE(of2018.isAtLeast(ffmpegVersionFromText("4.1")));
  EXPECT_FALSE(of2018.isAtLeast(v44));
}

TEST(FfmpegOptions, NeverReadTheTerminalAndKeepNewNamesOnly) {
  EXPECT_EQ(translated("-i a -c:v mpeg4 -g 1 -q:vscale 1 -vframes 10 -profile 3 -y b.mov", v44),
            "-nostdin -i a -c:v mpeg4 -g 1 -q:v 1 -frames:v 10 -profile:v 3 -y b.mov");
  const std::string analysis =
      "-loglevel debug -fdebug ts -f mpeg -i a -pix_fmt yuv420p -an -f yuv4mpegpipe -y b.yuv";
  EXPECT_EQ(translated(analysis, v71), "-nostdin " + analysis);
}

TEST(FfmpegOptions, LeaveValuesAlone) {
  const std::string line = "-i -vsync -metadata -top -vf drawtext=text=-async -y -async";
  EXPECT_EQ(translated(line, v71), "-nostdin " + line) << "-async is the value of nothing here";
  EXPECT_EQ(translated("-profile 3 -i -top -vf null -y -- -vsync", v71),
            "-nostdin -profile 3 -i -top -vf null -y -- -vsync");
  EXPECT_FALSE(ffmpegOptionsNeedVersion(words("-i -top -metadata -async -y -- -vsync")));
}

TEST(FfmpegOptions, VsyncBecomesTheOutputsFrameRateMode) {
  EXPECT_EQ(translated("-vsync 0 -i a -y b.mov -y c.mov", v51),
            "-nostdin -i a -y -fps_mode passthrough b.mov -y -fps_mode passthrough c.mov");
  EXPECT_EQ(translated("-i a -vsync vfr -y b.mov -c copy c.mov -vn d.wav", v71),
            "-nostdin -i a -y -fps_mode vfr b.mov -c copy c.mov -vn d.wav");
  EXPECT_EQ(translated("-i a -vsync 1 -fps_mode:v vfr b.mov", v71),
            "-nostdin -i a -fps_mode:v vfr b.mov");
  EXPECT_EQ(translated("-i a -vsync 2 -y b.mov", v50), "-nostdin -i a -vsync 2 -y b.mov");
}

TEST(FfmpegOptions, LengthsOfPacketsAreSetWhereTheyCanBe) {
  const std::string line = "-i a -c copy -bsf:v setts=pts=PTS:dts=DTS:duration=2*DURATION -y b.mov";
  EXPECT_TRUE(ffmpegOptionsNeedVersion(words(line)));
  EXPECT_EQ(translated(line, v51), "-nostdin " + line);
  EXPECT_EQ(translated(line, v50), "-nostdin -i a -c copy -y b.mov");
}

TEST(FfmpegOptions, VsyncMeansNothingForCopiedVideo) {
  const std::string line = "-i a -vsync 0 -strict 1 -c:v copy -vtag avc1 -sn -y b.mov";
  EXPECT_FALSE(ffmpegOptionsNeedVersion(words(line)));
  for (const FfmpegVersion version : {v44, v71})
    EXPECT_EQ(translated(line, version),
              "-nostdin -i a -strict 1 -c:v copy -vtag avc1 -sn -y b.mov");
}

TEST(FfmpegOptions, AsyncBecomesAFilterWhereItIsGone) {
  const std::string line = "-i a -async 3000 -c:a pcm_s16le -ac 2 -y b.mov";
  EXPECT_TRUE(ffmpegOptionsNeedVersion(words(line)));
  EXPECT_EQ(translated(line, v51),
            "-nostdin -i a -c:a pcm_s16le -ac 2 -y -async 1 -adrift_threshold 0.03 b.mov")
      << "stretched sound would go wrong";
  EXPECT_EQ(translated("-i a -async 0 b.mov", v51), "-nostdin -i a -async 0 b.mov");
  EXPECT_EQ(translated(line, v60),
            "-nostdin -i a -c:a pcm_s16le -ac 2 -y -af " + syncFilter + " b.mov");
  EXPECT_EQ(translated("-i a -async 3000 -filter:a volume=2 -y b.mov", v71),
            "-nostdin -i a -filter:a " + syncFilter + ",volume=2 -y b.mov");
  for (const std::string untouched : {"-i a -an -y b.mov", "-i a -c:a copy -y b.mov",
                                      "-i a -c copy -y b.mov", "-i a -map [x] -y b.mov"})
    EXPECT_EQ(translated("-async 3000 " + untouched, v71), "-nostdin " + untouched);
  EXPECT_EQ(translated("-async 0 -i a b.mov", v71), "-nostdin -i a b.mov");
}

TEST(FfmpegOptions, TheFieldOrderIsClaimedByAFilter) {
  for (const FfmpegVersion version : {v31, v51, v71})
    EXPECT_EQ(translated("-i a -c:v mpeg2video -flags +ildct -top 0 b.mpg", version),
              "-nostdin -i a -c:v mpeg2video -flags +ildct -vf setfield=bff b.mpg");
  EXPECT_EQ(translated("-i a -filter:v yadif -top:v 1 b.mpg", v71),
            "-nostdin -i a -filter:v yadif,setfield=tff b.mpg");
  EXPECT_EQ(translated("-i a -c:v copy -top 1 b.mov", v71), "-nostdin -i a -c:v copy b.mov");
  EXPECT_EQ(translated("-i a -top -1 b.mov", v71), "-nostdin -i a b.mov");
}

TEST(FfmpegOptions, ProresPicturesSayTheirFieldsAndColoursThemselves) {
  constexpr FfmpegVersion v2018{58, 42};
  const std::string whole = "-i a -c:v prores b.mov";
  const std::string fields = "-i a -c:v prores -flags:v +ildct+ilme b.mov";
  EXPECT_TRUE(ffmpegOptionsNeedVersion(words(whole)));
  EXPECT_EQ(translated(whole, v51), "-nostdin " + whole);
  EXPECT_EQ(translated(fields, v51), "-nostdin " + fields);
  EXPECT_EQ(translated(whole, v2018), "-nostdin " + whole);
  EXPECT_THAT(translated(fields, v2018), HasSubstr("-c:v prores_ks"));
  EXPECT_THAT(translated(whole, v31), HasSubstr("-c:v prores_ks"));
}

TEST(FfmpegOptions, SlowMotionKeepsItsLastPicture) {
  constexpr FfmpegVersion v2018{58, 42};
  const std::string halved = "-i a -vf fps=25/1:start_time=0,null b.mov";
  const std::string slowed =
      "-i a -vf fps=60000/1001,setpts=2*PTS,fps=30000/1001:start_time=0,null b.mov";
  EXPECT_TRUE(ffmpegOptionsNeedVersion(words(slowed)));
  EXPECT_EQ(translated(slowed, v51), "-nostdin " + slowed);
  EXPECT_EQ(translated(slowed, v31), "-nostdin " + slowed);
  EXPECT_EQ(translated(halved, v2018), "-nostdin " + halved);
  EXPECT_EQ(translated(slowed, v2018),
            "-nostdin -i a -vf fps=60000/1001,setpts=2*PTS,framerate=30000/1001,null b.mov");
}

TEST(FfmpegOptions, ColoursAreToldInTheWayThatAVersionUnderstands) {
  const std::string line =
      "-i a -vf yadif,setparams=colorspace=bt709,null -color_primaries bt709 -movflags faststart "
      "b.mov";
  EXPECT_TRUE(ffmpegOptionsNeedVersion(words(line)));
  EXPECT_EQ(translated(line, v71), "-nostdin " + line);
  EXPECT_EQ(translated(line, v31),
            "-nostdin -i a -vf yadif,null -color_primaries bt709 -movflags faststart+write_colr "
            "b.mov");
  EXPECT_EQ(translated("-i a -vf setparams=colorspace=bt709 b.mov", v31), "-nostdin -i a b.mov");

  const std::string wide = " -color_trc arib-std-b67 b.mov";
  EXPECT_EQ(translated("-i a -c:v copy" + wide, v31), "-nostdin -i a -c:v copy b.mov");
  EXPECT_EQ(beyondFfmpeg(words("-i a -c:v copy" + wide), v31), "");
  EXPECT_THAT(beyondFfmpeg(words("-i a -c:v prores" + wide), v31), HasSubstr("too old"));
  EXPECT_EQ(beyondFfmpeg(words("-i a -c:v prores" + wide), v51), "");
}

}  // namespace
}  // namespace tessarin
