// The stream reader, and aicenc as a program.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "platform/ChildProcess.h"
#include "support/places.h"
#include "tools/streams/yuv4mpeg.h"
#include "tools/support/movies.h"

namespace tessarin {
namespace {

using quicktime::FieldOrder;
using quicktime::Fraction;
using test::probed;
using test::quoted;
using test::runShell;
using test::ScopedTemporaryFolder;
using test::ShellResult;
using testing::HasSubstr;
using testing::StartsWith;
using yuv4mpeg::Accepted;
using yuv4mpeg::parseHeader;

const std::string aicenc = test::quoted(test::builtFile("bin/aicenc"));  // as a word of the shell

TEST(Yuv4mpeg, ReadsHeaders) {
  auto plain = parseHeader("YUV4MPEG2 W720 H576 F25:1 Ib A16:15 C420paldv XYSCSS=420PALDV",
                           Accepted::only8Bits420);
  ASSERT_TRUE(plain.ok());
  EXPECT_EQ(plain->width, 720);
  EXPECT_EQ(plain->height, 576);
  EXPECT_EQ(plain->frameRate, (Fraction{25, 1}));
  EXPECT_EQ(plain->pixelAspect, (Fraction{16, 15}));
  EXPECT_EQ(plain->fieldOrder, FieldOrder::bottomFirst);

  auto bare = parseHeader("YUV4MPEG2 W3 H5 F30000:1001 A0:0", Accepted::only8Bits420);
  ASSERT_TRUE(bare.ok());
  EXPECT_EQ(bare->pixelAspect, (Fraction{1, 1}));
  EXPECT_EQ(bare->fieldOrder, FieldOrder::progressive);
  EXPECT_EQ(bare->frameSize(), 15U + 2 * 6);

  auto deep = parseHeader("YUV4MPEG2 W3 H5 C422p10", Accepted::upTo10Bits);
  ASSERT_TRUE(deep.ok());
  EXPECT_EQ(deep->sampling, blocks::Sampling::yuv422);
  EXPECT_EQ(deep->bits, 10);
  EXPECT_EQ(deep->frameSize(), 2 * (15U + 2 * 10));
}

TEST(Yuv4mpeg, RefusesOthersWithAReason) {
  const std::pair<const char*, const char*> cases[] = {
      {"RIFF W720", "no YUV4MPEG2 stream"},
      {"YUV4MPEG2X W720 H576", "no YUV4MPEG2 stream"},
      {"YUV4MPEG2", "picture size"},
      {"YUV4MPEG2 W720 F25:1", "picture size"},
      {"YUV4MPEG2 W720x H576", "picture size"},
      {"YUV4MPEG2 W-720 H576", "picture size"},
      {"YUV4MPEG2 W99999999999 H576", "picture size"},
      {"YUV4MPEG2 W720 H576 F0:0", "frame rate"},
      {"YUV4MPEG2 W720 H576 F25", "frame rate"},
      {"YUV4MPEG2 W720 H576 Afoo", "pixel shape"},
      {"YUV4MPEG2 W720 H576 Im", "mixed interlacing"},
      {"YUV4MPEG2 W720 H576 C422", "only 8 bits 4:2:0 can be taken, and this is C422"},
      {"YUV4MPEG2 W720 H576 C420p10", "C420p10"},
      {"YUV4MPEG2 W720 H576 C420jpeg XYSCSS=420JPEG XCOLORRANGE=FULL", "-vf scale=out_range=tv"},
  };
  for (const auto& [line, reason] : cases) {
    const auto header = parseHeader(line, Accepted::only8Bits420);
    ASSERT_FALSE(header.ok()) << line;
    EXPECT_THAT(header.reason(), HasSubstr(reason)) << line;
  }
  EXPECT_THAT(parseHeader("YUV4MPEG2 W720 H576 C420p12", Accepted::upTo10Bits).reason(),
              HasSubstr("C420p12"));
}

TEST(Aicenc, EncodesAPipeLikeAFileAndKeepsWhatTheHeaderSays) {
  const ScopedTemporaryFolder folder;
  const std::string clip = folder.file("clip.y4m");
  ASSERT_EQ(runShell("ffmpeg -v error -f lavfi -i testsrc2=s=720x576:r=50:d=0.4 -vf "
                     "format=yuv420p,tinterlace=interleave_top,setfield=tff,setsar=16/15 " +
                     quoted(clip))
                .output,
            "");
  EXPECT_EQ(
      runShell(aicenc + " -q 3 -o " + quoted(folder.file("file.mov")) + " " + quoted(clip)).output,
      "");
  EXPECT_EQ(runShell("cat " + quoted(clip) + " | " + aicenc + " -q 3 -t 2 -o " +
                     quoted(folder.file("pipe.mov")))
                .output,
            "");
  EXPECT_EQ(folder.read("file.mov"), folder.read("pipe.mov"));
  EXPECT_EQ(probed(folder.file("file.mov"), "v:0",
                   "width,height,sample_aspect_ratio,field_order,r_frame_rate,nb_frames"),
            "720,576,16:15,tb,25/1,10");
  const ShellResult ratio =
      runShell("ffmpeg -hide_banner -i " + quoted(folder.file("file.mov")) + " -i " + quoted(clip) +
               " -lavfi psnr -f null - 2>&1 | grep -o 'average:[0-9]*'");
  ASSERT_THAT(ratio.output, StartsWith("average:"));
  EXPECT_GE(std::stoi(ratio.output.substr(8)), 45) << ratio.output;
}

TEST(Aicenc, ComesToTheBitRate) {
  const ScopedTemporaryFolder folder;
  const std::string movie = folder.file("a.mov");
  ASSERT_EQ(runShell("ffmpeg -v error -f lavfi -i 'testsrc2=s=640x360:r=25:d=2,noise=alls=8:allf=t,"
                     "format=yuv420p' -f yuv4mpegpipe - | " +
                     aicenc + " -b 20000 -o " + quoted(movie))
                .output,
            "");
  EXPECT_NEAR(std::stod(probed(movie, "v:0", "bit_rate")), 20e6, 0.5e6);
}

TEST(Aicenc, SaysInOneLineWhatIsWrongAndLeavesNothing) {
  const ScopedTemporaryFolder folder;
  const std::string header = "YUV4MPEG2 W16 H16 F25:1 C420jpeg\n";
  const std::string frame = "FRAME\n" + std::string(384, 'x');
  const struct {
    std::string stream;
    const char* reason;
  } cases[] = {
      {"", "the stream is empty"},
      {header, "the stream has no frames"},
      {header + frame + "FRAME\n" + std::string(383, 'x'), "the stream ends inside frame 2"},
      {header + frame + "FRAMX\n" + std::string(384, 'x'), "frame 2 of the stream does not begin"},
      {"YUV4MPEG2 W60000 H60000 F25:1\n" + frame, "the stream's pictures are too large"},
      {"YUV4MPEG2 " + std::string(9000, 'X'), "a line of the stream is too long"},
  };
  for (const auto& item : cases) {
    const std::string input = folder.write("in.y4m", item.stream);
    const ShellResult result =
        runShell(aicenc + " -o " + quoted(folder.file("out.mov")) + " " + quoted(input));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, StartsWith(std::string("aicenc: ") + item.reason));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
    std::filesystem::remove(input);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

TEST(Aicenc, WrongUseHasAStatusOfItsOwn) {
  for (const char* arguments : {"", "-o x.mov -q 0", "-o x.mov -q 256", "-o x.mov -q 2 -b 1000",
                                "-o x.mov -t -1", "-o x.mov a b", "-o x.mov --frobnicate"}) {
    const ShellResult result = runShell(aicenc + " " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
  }
}

TEST(Aicenc, LeavesNothingWhenItIsInterrupted) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    const ScopedTemporaryFolder folder;
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ChildSetup setup;
    setup.program = test::builtFile("bin/aicenc");
    setup.arguments = {"-o", folder.file("out.mov")};
    setup.input = ChildStream::descriptor(ends[0]);
    Outcome<ChildProcess> child = ChildProcess::start(setup);
    ASSERT_TRUE(child.ok());
    // Two frames, and then it waits for more.
    const std::string frame = "FRAME\n" + std::string(384, 'x');
    std::string stream = "YUV4MPEG2 W16 H16 F25:1\n";
    stream.append(frame).append(frame);
    ASSERT_EQ(::write(ends[1], stream.data(), stream.size()), static_cast<ssize_t>(stream.size()));
    // It has taken all of it.
    for (int left = 1, tries = 0; left > 0 && tries < 1000; ++tries) {
      ASSERT_EQ(::ioctl(ends[0], FIONREAD, &left), 0);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(child->isRunning());
    child->sendSignal(signal);
    EXPECT_EQ(child->wait().signal, signal);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << signal;
    ::close(ends[0]);
    ::close(ends[1]);
  }
}

}  // namespace
}  // namespace tessarin
