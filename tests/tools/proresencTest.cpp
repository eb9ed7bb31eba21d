// proresenc as a program.
#include <gmock/gmock.h>

#include <filesystem>

#include "support/places.h"
#include "tools/support/movies.h"

namespace tessarin {
namespace {

using test::probed;
using test::quoted;
using test::runShell;
using test::ScopedTemporaryFolder;
using test::ShellResult;
using testing::HasSubstr;

// As a word of the shell.
const std::string proresenc = test::quoted(test::builtFile("bin/proresenc"));

// A stream that ffmpeg makes goes through the pipe; answers the movie.
std::string encoded(const ScopedTemporaryFolder& folder, const std::string& stream,
                    const std::string& options) {
  const std::string movie = folder.file("out.mov");
  const ShellResult result =
      runShell("ffmpeg -v error -f lavfi -i " + stream + " -f yuv4mpegpipe -strict -1 - | " +
               proresenc + " " + options + " -o " + quoted(movie));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
  return movie;
}

TEST(Proresenc, KeepsWhatTheStreamSaysAndSaysItsColours) {
  const ScopedTemporaryFolder folder;
  const std::string entries =
      "codec_tag_string,width,height,sample_aspect_ratio,pix_fmt,color_space,color_transfer,"
      "color_primaries,field_order,r_frame_rate,nb_frames";
  const struct {
    const char* stream;
    const char* options;
    const char* expected;
  } cases[] = {
      {"testsrc2=s=720x576:r=50:d=0.4 -vf "
       "format=yuv420p,tinterlace=interleave_top,setfield=tff,setsar=16/15",
       "-t 2", "apcn,720,576,16:15,yuv422p10le,smpte170m,bt709,bt470bg,tb,25/1,10"},
      {"testsrc2=s=720x480:r=30000/1001:d=0.2 -vf format=yuv420p,setfield=bff", "-p proxy",
       "apco,720,480,N/A,yuv422p10le,smpte170m,bt709,smpte170m,bt,30000/1001,6"},
      {"testsrc2=s=640x360:r=25:d=0.2 -pix_fmt yuv444p10le",
       "-p 4444 -c bt2020/arib-std-b67/bt2020nc",
       "ap4h,640,360,N/A,yuv444p12le,bt2020nc,arib-std-b67,bt2020,progressive,25/1,5"},
      {"testsrc2=s=1280x720:r=50:d=0.1 -pix_fmt yuv422p", "-p hq -q 4",
       "apch,1280,720,N/A,yuv422p10le,bt709,bt709,bt709,progressive,50/1,5"},
  };
  for (const auto& item : cases) {
    const std::string movie = encoded(folder, item.stream, item.options);
    EXPECT_EQ(probed(movie, "v:0", entries), item.expected) << item.stream;
  }
}

TEST(Proresenc, KeepsToTheNominalSizeOrToTheIndex) {
  const ScopedTemporaryFolder folder;
  const std::string stream =
      "testsrc2=s=1280x720:r=30000/1001:d=0.5,noise=alls=20:allf=t -pix_fmt yuv420p";
  // In proportion to macroblocks; 102 and 220 Mbit/s at 1920x1088.
  for (const auto& [flavour, megabits] : {std::pair("lt", 102.), std::pair("hq", 220.)}) {
    const double nominal = megabits * 1e6 * 1280 * 720 / 1920 / 1088;
    const double rate =
        std::stod(probed(encoded(folder, stream, std::string("-p ") + flavour), "v:0", "bit_rate"));
    EXPECT_LT(rate, nominal);
    EXPECT_GT(rate, 0.9 * nominal);
  }
  const double coarse = std::stod(probed(encoded(folder, stream, "-q 100"), "v:0", "bit_rate"));
  EXPECT_GT(std::stod(probed(encoded(folder, stream, "-q 3"), "v:0", "bit_rate")), 2 * coarse);
}

TEST(Proresenc, RefusesWithAReasonAndLeavesNothing) {
  const ScopedTemporaryFolder folder;
  const std::string full = "'YUV4MPEG2 W16 H16 F25:1 C444\nFRAME\n'";
  const struct {
    std::string stream;
    const char* options;
    int status;
    const char* reason;
  } cases[] = {
      {full, "", 1, "only 4444 is made of 4:4:4"},
      {"'YUV4MPEG2 W16 H16 F25:1\n'", "-p 4444", 1, "4444 is made of 4:4:4"},
      {"'YUV4MPEG2 W9000 H16 F25:1\n'", "", 1, "larger than 8192"},
      {"'YUV4MPEG2 W16 H16 F25:1 C420p12\n'", "", 1, "C420p12"},
      {full, "-p huge", 2, "-p"},
      {full, "-q 225", 2, "-q"},
      {full, "-c bt709", 2, "primaries/transfer/matrix"},
      {full, "-c bt709/bt709/violet", 2, "primaries/transfer/matrix"},
  };
  for (const auto& item : cases) {
    const ShellResult result = runShell("printf " + item.stream + " | " + proresenc + " " +
                                        item.options + " -o " + quoted(folder.file("out.mov")));
    EXPECT_EQ(result.status, item.status) << result.output;
    EXPECT_THAT(result.output, HasSubstr(item.reason));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

}  // namespace
}  // namespace tessarin
