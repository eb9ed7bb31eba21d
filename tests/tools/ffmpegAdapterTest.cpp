// The adapter as a program: how it becomes ffmpeg, and what the installed ffmpeg makes of it.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/installedFfmpeg.h"
#include "ffmpeg/proresCommand.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"
#include "tools/support/clips.h"

namespace tessarin {
namespace {

using test::quoted;
using test::runShell;
using test::ScopedEnvironment;
using test::ShellResult;
using testing::HasSubstr;
using testing::StartsWith;

const std::string adapter = test::builtFile("resources/tools/ffmpeg");

// A script in the place of ffmpeg.
class FakeFfmpeg {
 public:
  explicit FakeFfmpeg(const std::string& lines)
      : setting_(ffmpegVariable, folder_.writeScript("fake/ffmpeg", lines)) {}
  const test::ScopedTemporaryFolder& folder() const { return folder_; }

 private:
  test::ScopedTemporaryFolder folder_;
  ScopedEnvironment setting_;
};

TEST(FfmpegAdapter, BecomesFfmpegWithItsProcessIdAndExitStatus) {
  const FakeFfmpeg fake("echo $$ \"$@\"\nexit 7");
  const ShellResult result =
      runShell("sh -c 'echo $$; exec \"$0\" -i \"a b\" -q:vscale 1 -y \"\"' " + quoted(adapter));
  EXPECT_EQ(result.status, 7);
  const std::size_t line = result.output.find('\n');
  ASSERT_NE(line, std::string::npos);
  EXPECT_EQ(result.output.substr(line + 1),
            result.output.substr(0, line) + " -nostdin -i a b -q:v 1 -y \n");
}

TEST(FfmpegAdapter, AsksForTheVersionOnlyWhenTheOptionsDependOnIt) {
  const FakeFfmpeg fake(
      "[ \"$1\" = -version ] && { echo asked >>\"${0%/*}/asked\"; echo ffmpeg version "
      "n7.1 Copyright; exit; }\necho \"$@\"\n");
  const ScopedEnvironment untold(ffmpegVersionVariable, std::nullopt);
  const std::string command = quoted(adapter) + " -i a -async 0 b.mpg";
  EXPECT_EQ(runShell(quoted(adapter) + " -i a -c:v copy -vsync 0 b.mov").output,
            "-nostdin -i a -c:v copy b.mov\n");
  EXPECT_EQ(fake.folder().read("fake/asked"), "");
  EXPECT_EQ(runShell(command).output, "-nostdin -i a b.mpg\n");
  EXPECT_EQ(fake.folder().read("fake/asked"), "asked\n");
  const ScopedEnvironment told(ffmpegVersionVariable, "libavcodec 59.37");
  EXPECT_EQ(runShell(command).output, "-nostdin -i a -async 0 b.mpg\n");
  EXPECT_EQ(fake.folder().read("fake/asked"), "asked\n");
}

// What ffmpeg would take for something else, or for nothing, is passed over.
TEST(FfmpegAdapter, BeginsWhereTheStreamDoes) {
  const FakeFfmpeg fake("echo \"$@\"");
  const std::string head("\x1F\x07\x00\x3F", 4);
  const std::string frame = head + std::string(119'996, 'd');
  const std::string second =
      std::string("\0\0\1\xBA\x44", 5) + std::string(8, 'x') + std::string("\xF9s\0\0\1\xE0..", 8);
  const std::string first =
      std::string("\0\0\1\xBA\x21", 5) + std::string(7, 'x') + std::string("\0\0\1\xBB..", 6);
  const std::string noPack = std::string("\0\0\1\xBA\x44", 5) + std::string(30, 'x');
  const auto packets = [](std::size_t size) {
    std::string bytes;
    for (int count = 0; count < 5; ++count)
      bytes += 'G' + std::string(size - 1, 'p');
    return bytes;
  };
  struct Case {
    std::string name;
    std::size_t zeros;
    std::string rest;
    std::string told;  // "": nothing
  };
  for (const auto& [name, zeros, rest, told] :
       {Case{"x.dv", 0, "torn" + frame + frame, "4 -f dv"}, Case{"x.dv", 0, frame + frame, ""},
        Case{"x.dv", 0, std::string("\0\0\0\x08wide", 8) + frame + frame, ""},
        Case{"x.MPG", 50'000'000, "torn" + second, "50000004 -f mpeg"},
        Case{"x.vob", 9'999'999, noPack + first, "10000034 -f mpeg"},
        Case{"x.vob", 9'999'999, noPack, ""}, Case{"x.mod", 4000, second, ""},
        Case{"x.mpg", 7'000'000, packets(188), "7000000 -f mpegts"},
        Case{"x.MTS", 7'000'000, "torn" + packets(192), "7000004 -f mpegts"},
        Case{"x.mov", 7'000'000, packets(192), ""},
        Case{"x.mts", std::size_t{100} << 30, "", ""}}) {
    SCOPED_TRACE(name + " " + std::to_string(zeros));
    const std::string path = fake.folder().write(name, "");
    std::filesystem::resize_file(path, zeros);
    std::ofstream(path, std::ios::app | std::ios::binary) << rest;
    EXPECT_EQ(runShell(quoted(adapter) + " -i " + quoted(path) + " x.nut").output,
              "-nostdin " + (told.empty() ? "" : "-skip_initial_bytes " + told + " ") + "-i " +
                  path + " x.nut\n");
    std::filesystem::remove(path);
  }
}

TEST(FfmpegAdapter, SaysInOneSentenceWhenThereIsNoFfmpeg) {
  const test::ScopedTemporaryFolder folder;
  const ScopedEnvironment setting(ffmpegVariable, std::nullopt);
  const ShellResult none = runShell("PATH=" + quoted(folder.path()) + " " + quoted(adapter));
  EXPECT_EQ(none.status, 127);
  EXPECT_EQ(none.output, noFfmpegMessage() + "\n");

  const std::string damaged = folder.writeScript("damaged", "");
  folder.write("damaged",
               "\x7f"
               "ELF of another machine");
  const ScopedEnvironment other(ffmpegVariable, damaged);
  const ShellResult broken = runShell(quoted(adapter));
  EXPECT_EQ(broken.status, 126);
  EXPECT_THAT(broken.output, HasSubstr("cannot be run: "));
}

TEST(FfmpegAdapter, ItsCopyInTheSearchPathIsNoWayRoundInCircles) {
  const test::ScopedTemporaryFolder folder;
  const ScopedEnvironment setting(ffmpegVariable, std::nullopt);
  std::filesystem::create_directories(folder.file("copy"));
  std::filesystem::copy_file(adapter, folder.file("copy/ffmpeg"));
  const std::string both =
      folder.file("copy") + ":" + std::filesystem::path(adapter).parent_path().string();
  const ShellResult circle =
      runShell("PATH=" + quoted(both) + " timeout 10 " + quoted(adapter) + " -version");
  EXPECT_EQ(circle.status, 127);
  const ShellResult real =
      runShell("PATH=" + quoted(both) + ":$PATH " + quoted(adapter) + " -version");
  EXPECT_THAT(real.output, StartsWith("ffmpeg version "));
}

// What the installed ffmpeg makes of interlaced pictures.
class InterlacedProres : public testing::Test {
 protected:
  void make(const std::string& graph, const std::string& options, const std::string& name) {
    const ShellResult result = runShell("ffmpeg -nostdin -v error -y -f lavfi -i " + quoted(graph) +
                                        " " + options + " " + quoted(folder_.file(name)));
    ASSERT_EQ(result.status, 0) << result.output;
  }

  void convert(const std::string& own = "") {
    const ShellResult result = runShell(
        quoted(adapter) + " -v error -i " + quoted(folder_.file("source.mkv")) +
        " -c:v prores -profile 3 -flags +ildct+ilme -field_order tb -threads auto -vf " + own +
        proresFilters(own, true) + " -r 25/1 -an -y " + quoted(folder_.file("out.mov")));
    ASSERT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "");
  }

  std::string probe(const std::string& entries) const {
    return runShell("ffprobe -v error -select_streams v -show_entries " + entries +
                    " -of csv=p=0 " + quoted(folder_.file("out.mov")) + " | sort -u")
        .output;
  }

  std::array<double, 3> likeness() const {
    return test::planeRatios(folder_.file("out.mov"), folder_.file("reference.mkv"),
                             "format=yuv422p10");
  }

  test::ScopedTemporaryFolder folder_;
};

// Nothing is to be interpolated in 4:2:2; and MPEG streams of interlaced sequences may hold
// progressive pictures, whose chroma belongs to the whole picture.
TEST_F(InterlacedProres, ChromaIsTreatedAsThePicturesSay) {
  const std::string interlaced = "-c:v mpeg2video -q:v 2 -flags +ildct+ilme -top 1";
  const auto chromaOf = [&](const std::string& format, const std::string& codec) {
    make("testsrc2=s=720x576:r=25:d=0.16,format=" + format, codec, "source.mkv");
    make("movie=" + folder_.file("source.mkv") + ",format=yuv422p10", "-c:v ffv1", "reference.mkv");
    convert();
    EXPECT_EQ(probe("frame=interlaced_frame,top_field_first"), "1,1\n");
    return likeness()[1];
  };
  EXPECT_GT(chromaOf("yuv422p", interlaced), 45);
  EXPECT_GT(chromaOf("yuv420p", "-c:v mpeg2video -q:v 2"), 45);
  EXPECT_LT(chromaOf("yuv420p", interlaced), 42);
}

TEST_F(InterlacedProres, BottomFirstBecomesTopFirstByALine) {
  make("testsrc2=s=720x576:r=50:d=0.32,format=yuv420p,tinterlace=interleave_bottom,setfield=bff",
       "-c:v mpeg2video -q:v 2 -flags +ildct+ilme -top 0", "source.mkv");
  make("movie=" + folder_.file("source.mkv") + ",scale=interl=1,format=yuv422p10,fieldorder=tff",
       "-c:v ffv1", "reference.mkv");
  convert();
  EXPECT_EQ(probe("stream=field_order"), "tb\n");
  EXPECT_EQ(test::fieldCounts(folder_.file("out.mov")).top, 8);
  const auto planes = likeness();
  EXPECT_GT(planes[0], 40);
  EXPECT_GT(planes[1], 38);
  EXPECT_GT(planes[2], 38);
}

TEST_F(InterlacedProres, IsLeftToFfmpegWhereThatIsAskedFor) {
  make("testsrc2=s=720x576:r=25:d=0.2", "-c:v mpeg2video -q:v 2", "source.mkv");
  const auto encoder = [&] {
    return runShell("grep -ac Lavc " + quoted(folder_.file("out.mov"))).output;
  };
  convert();
  EXPECT_EQ(encoder(), "0\n");
  const ScopedEnvironment setting("TESSARIN_PRORES_ENCODER", "ffmpeg");
  convert();
  EXPECT_NE(encoder(), "0\n");
}

TEST_F(InterlacedProres, FramesAreWovenWithTheirWholeChroma) {
  // From full chroma: what a conversion behind the weave loses.
  const std::string scene = "testsrc2=s=720x576:r=50:d=0.32,format=";
  make(scene + "yuv444p10,format=yuv422p10,tinterlace=interleave_top", "-c:v ffv1",
       "reference.mkv");
  make(scene + "yuv420p", "-c:v ffv1", "source.mkv");
  convert("scale=720:576,tinterlace=interleave_top,");
  EXPECT_EQ(probe("stream=field_order"), "tb\n");
  EXPECT_EQ(test::fieldCounts(folder_.file("out.mov")).top, 8);
  const auto planes = likeness();
  EXPECT_GT(planes[1], 30) << planes[1];
  EXPECT_GT(planes[2], 30) << planes[2];
}

}  // namespace
}  // namespace tessarin
