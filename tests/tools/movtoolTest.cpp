// movtool as a program: what its movies look and sound like, and what it leaves when it fails.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/ChildProcess.h"
#include "support/processState.h"
#include "tools/support/clips.h"
#include "tools/support/movies.h"

namespace tessarin {
namespace {

using test::exported;
using test::FieldCounts;
using test::fieldCounts;
using test::lowestPeakRatio;
using test::makeClip;
using test::movtool;
using test::probed;

using test::runShell;
using test::ScopedTemporaryFolder;
using test::Settings;
using test::ShellResult;
using testing::HasSubstr;
using testing::StartsWith;

// One second of fifty pictures, and what becomes of it with fields.
const std::string pictures = "-f lavfi -i testsrc2=s=320x240:r=50:d=1 ";
const std::string topFirst = "-vf format=yuv420p,tinterlace=interleave_top,setfield=tff";
const std::string bottomFirst = "-vf format=yuv420p,tinterlace=interleave_bottom,setfield=bff";
const std::string flagged = "-c:v mpeg2video -q:v 1 -flags +ildct+ilme ";
// The intermediate of our own conversions, which does not tell its fields.
const std::string unflagged = "-c:v mpeg4 -g 1 -q:v 1 ";

class MovtoolFields : public testing::TestWithParam<const char*> {
 protected:
  MovtoolFields() {
    settings.codec = GetParam();
    settings.scan = "i";
  }
  std::string made(const char* name, const std::string& arguments) const {
    return makeClip(folder, name, arguments);
  }
  // The movie of this clip, which has to have its top fields first.
  std::string topFirstMovie(const std::string& clip, int leastPictures = 20) {
    exported(folder, settings, clip);
    const FieldCounts counts = fieldCounts(movie);
    EXPECT_GT(counts.top, leastPictures);
    EXPECT_EQ(counts.bottom, 0);
    return movie;
  }

  const ScopedTemporaryFolder folder;
  const std::string movie = folder.file("out.mov");
  Settings settings;
};

TEST_P(MovtoolFields, ComeOutTopFirst) {
  const struct {
    const char* name;
    std::string clip, truth;
    double leastRatio;
  } cases[] = {
      {"top first", topFirst + " -top 1 ", topFirst, 34},
      // The same pictures a line higher are what top first has to be.
      {"bottom first", bottomFirst + " -top 0 ",
       bottomFirst + ",scale=interl=1,format=yuv422p,fieldorder=tff", 30},
  };
  for (const auto& item : cases) {
    const std::string truth = made("truth.mkv", pictures + item.truth + " -c:v ffv1");
    for (const std::string& codec : {flagged, unflagged}) {
      SCOPED_TRACE(item.name + (" " + codec));
      topFirstMovie(made("clip.mov", pictures + item.clip + codec));
      EXPECT_GT(lowestPeakRatio(movie, truth), item.leastRatio);
      EXPECT_EQ(probed(movie, "v:0", "field_order,r_frame_rate,nb_frames"), "tb,25/1,25");
    }
  }
}

TEST_P(MovtoolFields, AreScaledAsPicturesAndWovenAgain) {
  settings.width = 480;
  settings.height = 360;
  const std::string soft = "-f lavfi -i mandelbrot=s=480x360:r=50 -t 1 ";
  const std::string truth = made("truth.mkv", soft + topFirst + " -c:v ffv1");
  const std::string weave = "format=yuv420p,tinterlace=interleave_bottom,setfield=bff -top 0 ";
  topFirstMovie(made("clip.mov", soft + "-vf scale=320:240," + weave + flagged), 10);
  EXPECT_GT(lowestPeakRatio(movie, truth), 26);
}

TEST_P(MovtoolFields, AreMadeOfFiftyPicturesAndBecomeThem) {
  const std::string fifty = made("fifty.mov", pictures + "-pix_fmt yuv420p " + unflagged);
  topFirstMovie(fifty);
  EXPECT_EQ(probed(movie, "v:0", "nb_frames"), "25");

  settings.scan = "p";
  settings.rate = "50";
  exported(folder, settings, made("fields.mov", pictures + topFirst + " -top 1 " + flagged));
  EXPECT_EQ(probed(movie, "v:0", "field_order,r_frame_rate,nb_frames"), "progressive,50/1,50");
  EXPECT_GT(lowestPeakRatio(movie, fifty, false), 24);
}

INSTANTIATE_TEST_SUITE_P(Codecs, MovtoolFields, testing::Values("icod", "prores"));

TEST(Movtool, WritesAllFlavoursOfProres) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=320x240:r=25:d=0.2 " + unflagged);
  const std::pair<const char*, const char*> flavours[] = {{"proxy", "apco,5"},
                                                          {"lt", "apcs,5"},
                                                          {"standard", "apcn,5"},
                                                          {"hq", "apch,5"},
                                                          {"4444", "ap4h,5"}};
  Settings settings;
  settings.codec = "prores";
  for (const auto& [profile, expected] : flavours) {
    settings.profile = profile;
    exported(folder, settings, clip);
    EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "codec_tag_string,nb_frames"), expected);
  }
}

TEST(Movtool, ChangesTheRateAndKeepsTheSources) {
  const ScopedTemporaryFolder folder;
  const std::string clip = makeClip(
      folder, "clip.mov", "-f lavfi -i testsrc2=s=64x48:r=30000/1001:d=2.002 " + unflagged);
  const std::pair<const char*, const char*> rates[] = {{"source", "30000/1001,60"},
                                                       {"60", "60000/1001,120"},
                                                       {"25", "25/1,50"},
                                                       {"24", "24000/1001,48"}};
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  for (const auto& [rate, expected] : rates) {
    settings.rate = rate;
    exported(folder, settings, clip);
    EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "r_frame_rate,nb_frames"), expected);
  }
}

// As phones take them: every fourth picture, of which the first is black.
TEST(Movtool, TakesEveryFourthOfHundredAndTwenty) {
  const ScopedTemporaryFolder folder;
  const std::string clip = makeClip(folder, "clip.mov",
                                    "-f lavfi -i color=s=64x48:r=120:d=1 -vf "
                                    "\"format=yuv420p,geq=lum='16+50*mod(N,4)':cb=128:cr=128\" " +
                                        unflagged);
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  settings.rate = "30";
  exported(folder, settings, clip);
  EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "r_frame_rate,nb_frames"), "30/1,30");
  EXPECT_EQ(runShell("ffmpeg -v error -i " + test::quoted(folder.file("out.mov")) +
                     " -vf blackframe=98:24,metadata=print:key=lavfi.blackframe.pblack:file=- "
                     "-f null - | grep -c pblack=")
                .output,
            "30\n");
}

// An hour of the same picture, otherwise, and then none of those behind it.
TEST(Movtool, OneWrongTimeRepeatsNoPictures) {
  const ScopedTemporaryFolder folder;
  const std::string clip = makeClip(folder, "clip.ts",
                                    "-f lavfi -i testsrc2=s=64x48:r=25:d=2 -c:v mpeg2video -bsf:v "
                                    "'setts=pts=PTS+if(eq(N\\,20)\\,3600/TB\\,0):dts=DTS'");
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  exported(folder, settings, clip);
  EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "nb_frames"), "50");
}

// AVI tells no times, and stores pictures out of their order.
TEST(Movtool, PicturesOfAnAviFileComeInTheirOrder) {
  const ScopedTemporaryFolder folder;
  const std::string shown = "-f lavfi -i testsrc2=s=320x240:r=25:d=2 -pix_fmt yuv420p ";
  const std::string truth = makeClip(folder, "truth.mkv", shown + "-c:v ffv1");
  Settings settings;
  settings.width = 320;
  settings.height = 240;
  exported(folder, settings,
           makeClip(folder, "clip.avi", shown + "-c:v libx264 -preset superfast -bf 2"));
  EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "nb_frames"), "50");
  EXPECT_GT(lowestPeakRatio(folder.file("out.mov"), truth), 26);
}

// A trimmed clip: its first pictures cannot be decoded, its sound can.
TEST(Movtool, BeginsWithTheFirstPictureOfACutClip) {
  const ScopedTemporaryFolder folder;
  makeClip(folder, "whole.mpg",
           "-f lavfi -i testsrc2=s=320x240:r=50:d=2 -f lavfi -i sine=d=2 " + topFirst + " -top 1 " +
               flagged + "-g 12 -c:a mp2 -f vob");
  constexpr std::size_t pack = 2048;
  const std::string clip = folder.write("clip.mpg", folder.read("whole.mpg").substr(100 * pack));
  const std::string decodable =
      runShell(
          "ffprobe -v quiet -count_frames -select_streams v -show_entries "
          "stream=nb_read_frames -of csv=p=0 " +
          test::quoted(clip) + " | tr -dc 0-9")
          .output;
  const int pictures = std::stoi("0" + decodable);
  ASSERT_GT(pictures, 10);
  ASSERT_LT(pictures, 40);
  Settings settings;
  settings.width = 480;
  settings.height = 360;
  settings.scan = "i";
  exported(folder, settings, clip);
  const std::string movie = folder.file("out.mov");
  EXPECT_EQ(probed(movie, "v:0", "nb_frames"), decodable);
  EXPECT_NEAR(std::stod(probed(movie, "a:0", "duration")), pictures / 25.0, 0.05);
}

TEST(Movtool, KeepsAllTracksAndChannels) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov",
               "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -f lavfi -i "
               "'sine=1000:r=48000:d=0.4,pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0' -f lavfi -i "
               "sine=500:r=96000:d=0.4 -map 0 -map 1 -map 2 -c:v mpeg4 -c:a pcm_s24le");
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  const std::string movie = folder.file("out.mov");
  for (const char* codec : {"icod", "prores"}) {
    SCOPED_TRACE(codec);
    settings.codec = codec;
    exported(folder, settings, clip);
    EXPECT_EQ(probed(movie, "a:0", "codec_tag_string,sample_rate,channels,channel_layout"),
              "sowt,48000,6,5.1");
    EXPECT_EQ(probed(movie, "a:1", "codec_tag_string,sample_rate,channels"), "lpcm,96000,1");
    EXPECT_NEAR(std::stod(probed(movie, "a:1", "duration")), 0.4, 0.001);
  }
}

// As recordings of television do, and scenes that were put together.
TEST(Movtool, KeepsTheSoundThatChangesItsChannels) {
  const ScopedTemporaryFolder folder;
  const auto part = [&folder](const char* name, const char* offset, const char* channels) {
    return makeClip(folder, name,
                    std::string("-f lavfi -i testsrc2=s=64x48:r=25:d=1 -f lavfi -i "
                                "sine=1000:r=48000:d=1 -c:v mpeg2video -c:a ac3 -ac ") +
                        channels + " -output_ts_offset " + offset);
  };
  const std::string clip = folder.file("clip.ts");
  ASSERT_EQ(runShell("cat " + test::quoted(part("a.ts", "0", "2")) + " " +
                     test::quoted(part("b.ts", "20", "1")) + " > " + test::quoted(clip))
                .status,
            0);
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  for (const char* codec : {"icod", "prores"}) {
    SCOPED_TRACE(codec);
    settings.codec = codec;
    exported(folder, settings, clip);
    const std::string movie = folder.file("out.mov");
    EXPECT_NEAR(std::stod(probed(movie, "a:0", "duration")), 2, 0.1);
    // What silencedetect finds of the second part, in lines.
    EXPECT_EQ(runShell("ffmpeg -hide_banner -i " + test::quoted(movie) +
                       " -af atrim=0.1:1.8,silencedetect=d=0.2 -f null - 2>&1 | grep -c silence_")
                  .output,
              "0\n");
  }
}

// Directly and by an export. The place and the camera's name are those of a telephone.
TEST(Movtool, KeepsWhatTheSourceSaysOfItself) {
  const ScopedTemporaryFolder folder;
  const std::string clip = makeClip(
      folder, "clip.mov",
      "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -c:v prores -movflags use_metadata_tags "
      "-metadata title='Größe: 1' -metadata comment='Input #0, a\n  Duration: b' "
      "-metadata ARTIST=me -metadata com.apple.quicktime.model=X1 -metadata make=Y "
      "-metadata location=+48.1000+011.5000/ -metadata creation_time=2020-02-29T03:04:05Z");
  Settings settings;
  settings.codec = "prores";
  const std::string movie = test::quoted(folder.file("out.mov"));
  for (const bool directly : {false, true}) {
    SCOPED_TRACE(directly);
    if (directly) {
      const ShellResult made = runShell(
          movtool + " --as-ffmpeg -i " + test::quoted(clip) +
          " -c:v prores -profile 2 -vf format=yuv422p10,setfield=prog -y " + movie + " 2>&1");
      EXPECT_EQ(made.status, 0) << made.output;
      // The pipe between two programs of ours is nobody's business.
      EXPECT_THAT(made.output, testing::Not(HasSubstr("non standard")));
      EXPECT_THAT(made.output, HasSubstr("frame="));
    } else {
      exported(folder, settings, clip);
    }
    const std::string told =
        runShell("ffprobe -v error -show_entries format_tags -of default=nk=0:nw=1 " + movie)
            .output;
    for (const char* each :
         {"title=Größe: 1\n", "comment=Input #0, a\n  Duration: b\n", "artist=me\n", "model=X1\n",
          "make=Y\n", "location=+48.1000+011.5000/\n",
          "creation_time=2020-02-29T03:04:05.000000Z\n"})
      EXPECT_THAT(told, HasSubstr(std::string("TAG:") + each));
  }
}

// Told apart from a movie without pictures, and brought to the range that movies have.
TEST(Movtool, TakesPicturesOfTheFullRange) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "full.mov",
               "-f lavfi -i color=white:s=176x144:r=15:d=1 -f lavfi -i sine=d=0.2 "
               "-vf format=yuvj420p -c:v mjpeg -q:v 2");
  for (const char* codec : {"icod", "prores"}) {
    Settings settings;
    settings.codec = codec;
    exported(folder, settings, clip);
    const ShellResult luma =
        runShell("ffmpeg -v error -i " + folder.file("out.mov") +
                 " -frames:v 1 -vf crop=16:16,scale=out_range=tv,format=yuv420p -f rawvideo - | "
                 "od -An -tu1 -N1");
    EXPECT_NEAR(std::stoi(luma.output), 235, 2) << codec;
  }
}

TEST(Movtool, TellsItsProgressInPerCent) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov",
               "-f lavfi -i testsrc2=s=320x240:r=25:d=4 -f lavfi -i sine=d=4 " + unflagged);
  for (const char* codec : {"icod", "prores"}) {
    Settings settings;
    settings.codec = codec;
    std::istringstream lines(exported(folder, settings, clip));
    std::string line;
    double last = -1;
    while (std::getline(lines, line)) {
      constexpr std::string_view label = "pourcentage    : ";
      ASSERT_THAT(line, StartsWith(std::string(label)));
      const double value = std::stod(line.substr(label.size()));
      EXPECT_GT(value, last);
      last = value;
    }
    EXPECT_EQ(last, 100);
  }
}

TEST(Movtool, TellsWhatTheDecoderMadeUpAndNotHowItUnderstandsTheClip) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.avi",
               "-f lavfi -i testsrc2=s=640x480:r=25:d=1 -metadata title=\"concealing 1 DC, 2 AC\" "
               "-c:v libx264 -g 5 -bf 0 -x264-params keyint=5:scenecut=0 -pix_fmt yuv420p");
  EXPECT_EQ(exported(folder, Settings(), clip).find("conceal"), std::string::npos);
  std::string bytes = folder.read("clip.avi");
  bytes.replace(bytes.size() / 2, 400, 400, 'U');
  const std::string told = exported(folder, Settings(), folder.write("damaged.avi", bytes));
  EXPECT_THAT(told, HasSubstr("] concealing "));
  EXPECT_THAT(told, testing::Not(HasSubstr("Input #")));
  EXPECT_THAT(told, testing::Not(HasSubstr("frame=")));
}

TEST(Movtool, SaysInOneLineWhatIsWrongAndLeavesNothing) {
  const ScopedTemporaryFolder folder;
  const ScopedTemporaryFolder inputs;
  const ScopedTemporaryFolder others;
  Settings settings;
  const std::string icod = settings.write(inputs);
  settings.codec = "prores";
  const std::string prores = settings.write(others);
  const std::string broken = inputs.write("broken", "<plist><dict>");
  const std::string wrong = inputs.write(
      "wrong",
      "<plist version=\"1.0\"><dict><key>version</key><integer>1</integer></dict></plist>");
  const std::string text = inputs.write("text.mov", "no movie at all");
  const std::string clip =
      makeClip(inputs, "clip.mov", "-f lavfi -i testsrc2=s=320x240:r=25:d=2 " + unflagged);
  const std::string out = folder.file("out.mov");
  const std::string nowhere = "/nowhere/a.mov";
  const std::string small = "ulimit -f 200; ";
  const struct {
    std::string limit, settings, input, output, reason;
  } cases[] = {
      {"", "/nowhere/p", clip, out, "/nowhere/p cannot be read"},
      {"", broken, clip, out, "broken cannot be read"},
      {"", wrong, clip, out, "codec"},
      {"", icod, nowhere, out, "/nowhere/a.mov cannot be read: No such file"},
      {"", icod, text, out, "Invalid data found"},
      {"", icod, clip, clip, "cannot be made from itself"},
      {"", icod, clip, nowhere, "/nowhere/a.mov cannot be written"},
      {small, icod, clip, out, "out.mov cannot be written: File too large"},
      {"", prores, clip, nowhere, "/nowhere/a.mov cannot be written"},
      {small, prores, clip, out, "File too large"},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.settings + ": " + item.reason);
    const ShellResult result = runShell(fmt::format(
        "{}{} -s {} -i {} -y -o {} >/dev/null", item.limit, movtool, test::quoted(item.settings),
        test::quoted(item.input), test::quoted(item.output)));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, StartsWith("movtool: "));
    EXPECT_THAT(result.output, HasSubstr(item.reason));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

// What is left in the folder besides the files that the test put there.
std::vector<std::string> leftOvers(const ScopedTemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename();
    if (name != "settings" && name != "clip.mov")
      names.push_back(name);
  }
  return names;
}

// Also when only the end of the movie finds no room any more.
TEST(Movtool, TakesNoMovieForWholeThatCouldNotBeFinished) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=320x240:r=25:d=0.4 " + unflagged);
  Settings settings;
  settings.codec = "prores";
  const std::string arguments = " -s " + test::quoted(settings.write(folder)) + " -i " +
                                test::quoted(clip) + " -o " + test::quoted(folder.file("out.mov")) +
                                " >/dev/null";
  ASSERT_EQ(runShell(movtool + arguments).status, 0);
  const auto size = std::filesystem::file_size(folder.file("out.mov"));
  std::filesystem::remove(folder.file("out.mov"));
  for (const int missing : {1, 400, 2000}) {
    SCOPED_TRACE(missing);
    const ShellResult result =
        runShell(fmt::format("prlimit --fsize={} {}{}", size - missing, movtool, arguments));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, testing::AllOf(StartsWith("movtool: "), HasSubstr("out.mov")));
    EXPECT_THAT(leftOvers(folder), testing::IsEmpty());
  }
}

TEST(Movtool, ReplacesOnlyWhenAsked) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 " + unflagged);
  for (const char* codec : {"icod", "prores"}) {
    Settings settings;
    settings.codec = codec;
    const std::string out = folder.write("out.mov", "mine");
    const std::string command = movtool + " -s " + test::quoted(settings.write(folder)) + " -i " +
                                test::quoted(clip) + " -o " + test::quoted(out);
    const ShellResult refused = runShell(command);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("out.mov is there already"));
    EXPECT_EQ(folder.read("out.mov"), "mine");
    EXPECT_EQ(runShell(command + " -y").status, 0);
    EXPECT_GT(folder.read("out.mov").size(), 1000U);
  }
  for (const char* arguments :
       {"", "-s a -i b", "-s a -i b -o c -q", "-s a -i b -o c d", "-s a -i b -o c --slow-sound",
        "-s a -i b -o c --sound -1 --sound 2"}) {
    const ShellResult result = runShell(movtool + " " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
  }
}

// An export that takes long enough to be disturbed.
class LongExport : public testing::TestWithParam<const char*> {
 protected:
  // Begins it and waits until ffmpeg is at work on the movie: not the probes, which come first.
  Outcome<ChildProcess> start() {
    const std::string clip =
        makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=160x120:r=25:d=60 -c:v mpeg4 -q:v 5");
    Settings settings;
    settings.codec = GetParam();
    settings.width = 1920;
    settings.height = 1080;
    ChildSetup setup;
    setup.program = test::builtFile("resources/tools/movtool");
    setup.arguments = {"-s", settings.write(folder), "-i", clip, "-y",
                       "-o", folder.file("out.mov")};
    Outcome<ChildProcess> tool = ChildProcess::start(setup);
    EXPECT_TRUE(comesTrue([&] { return isConverting(tool->pid()); }));
    return tool;
  }

  static bool comesTrue(const std::function<bool()>& condition) {
    for (int tries = 0; tries < 1000; ++tries) {
      if (condition())
        return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  // What the kernel says of each child that was seen at work.
  std::string childrenLetters() const {
    std::string letters;
    for (const pid_t child : children_)
      letters += test::processLetter(child);
    return letters;
  }

  const ScopedTemporaryFolder folder;

 private:
  bool isConverting(pid_t tool) {
    const std::string process = fmt::format("/proc/{}/", tool);
    std::ifstream list(fmt::format("{}task/{}/children", process, tool));
    children_.clear();
    bool found = false;
    for (pid_t child = 0; list >> child;) {
      children_.push_back(child);
      std::ifstream file(fmt::format("/proc/{}/cmdline", child));
      const std::string command{std::istreambuf_iterator<char>(file), {}};
      // The trial of one picture is none.
      found = found || (command.find("setparams=") != std::string::npos &&
                        command.find("-frames:v") == std::string::npos);
    }
    return found;
  }

  std::vector<pid_t> children_;
};

TEST_P(LongExport, LeavesNeitherFfmpegNorFilesWhenItIsEnded) {
  for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
    SCOPED_TRACE(signal);
    Outcome<ChildProcess> tool = start();
    // To it alone, as a crash would meet it, and not to its group.
    ::kill(tool->pid(), signal);
    EXPECT_EQ(tool->wait().signal, signal);
    EXPECT_TRUE(
        comesTrue([&] { return childrenLetters().find_first_not_of(" Z") == std::string::npos; }));
    EXPECT_THAT(leftOvers(folder), testing::IsEmpty());
  }
}

TEST_P(LongExport, StandsStillWithItsFfmpegWhenItsGroupIsPaused) {
  Outcome<ChildProcess> tool = start();
  tool->suspend();
  // A probe may have ended before. Where the stop meets a child that has not become its program
  // yet, the one that starts it waits for that in D.
  EXPECT_TRUE(comesTrue([&] {
    const std::string letters = childrenLetters();
    return letters.find_first_of("TD") != std::string::npos &&
           letters.find_first_not_of("TDZ ") == std::string::npos;
  })) << "states: "
      << childrenLetters();
  tool->kill();
}

INSTANTIATE_TEST_SUITE_P(Codecs, LongExport, testing::Values("icod", "prores"));

}  // namespace
}  // namespace tessarin
