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
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

// One second of fifty pictures, and what becomes of it with fields.
const std::string pictures = "-f lavfi -i testsrc2=s=320x240:r=50:d=1 ";
const std::string topFirst = "-vf format=yuv420p,tinterlace=interleave_top,setfield=tff";
const std::string bottomFirst = "-vf format=yuv420p,tinterlace=interleave_bottom,setfield=bff";
const std::string flagged = "-c:v mpeg2video -q:v 1 -flags +ildct+ilme ";
// The intermediate of our own conversions, which does not tell its fields.
const std::string unflagged = "-c:v mpeg4 -g 1 -q:v 1 ";

class MovtoolFields : public testing::TestWithParam<const char*> {};

TEST_P(MovtoolFields, StayWhereTheyAre) {
  const ScopedTemporaryFolder folder;
  Settings settings;
  settings.codec = GetParam();
  settings.scan = "i";
  const std::string truth = makeClip(folder, "truth.mkv", pictures + topFirst + " -c:v ffv1");
  for (const std::string& codec : {flagged, unflagged}) {
    const std::string clip =
        makeClip(folder, "clip.mov", fmt::format("{}{} -top 1 {}", pictures, topFirst, codec));
    exported(folder, settings, clip);
    EXPECT_GT(lowestPeakRatio(folder.file("out.mov"), truth), 34) << codec;
    const FieldCounts counts = fieldCounts(folder.file("out.mov"));
    EXPECT_GT(counts.top, 20) << codec;
    EXPECT_EQ(counts.bottom, 0) << codec;
    EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "field_order,r_frame_rate,nb_frames"),
              "tb,25/1,25");
  }
}

TEST_P(MovtoolFields, OfBottomFirstMaterialBecomeTopFirst) {
  const ScopedTemporaryFolder folder;
  Settings settings;
  settings.codec = GetParam();
  settings.scan = "i";
  // The same pictures a line higher are what top first has to be.
  const std::string truth = makeClip(folder, "truth.mkv",
                                     pictures + bottomFirst +
                                         ",scale=interl=1,format=yuv422p,fieldorder=tff "
                                         "-c:v ffv1");
  for (const std::string& codec : {flagged, unflagged}) {
    const std::string clip =
        makeClip(folder, "clip.mov", fmt::format("{}{} -top 0 {}", pictures, bottomFirst, codec));
    exported(folder, settings, clip);
    const FieldCounts counts = fieldCounts(folder.file("out.mov"));
    EXPECT_GT(counts.top, 20) << codec;
    EXPECT_EQ(counts.bottom, 0) << codec;
    EXPECT_GT(lowestPeakRatio(folder.file("out.mov"), truth), 30) << codec;
  }
}

TEST_P(MovtoolFields, AreScaledAsPicturesAndWovenAgain) {
  const ScopedTemporaryFolder folder;
  Settings settings;
  settings.codec = GetParam();
  settings.scan = "i";
  settings.width = 480;
  settings.height = 360;
  const std::string soft = "-f lavfi -i mandelbrot=s=480x360:r=50 -t 1 ";
  const std::string truth = makeClip(folder, "truth.mkv", soft + topFirst + " -c:v ffv1");
  const std::string clip = makeClip(
      folder, "clip.mov",
      soft + "-vf scale=320:240,format=yuv420p,tinterlace=interleave_bottom,setfield=bff " +
          "-top 0 " + flagged);
  exported(folder, settings, clip);
  const FieldCounts counts = fieldCounts(folder.file("out.mov"));
  EXPECT_GT(counts.top, 10);
  EXPECT_EQ(counts.bottom, 0);
  EXPECT_GT(lowestPeakRatio(folder.file("out.mov"), truth), 26);
}

TEST_P(MovtoolFields, AreMadeOfFiftyPicturesAndBecomeThem) {
  const ScopedTemporaryFolder folder;
  Settings settings;
  settings.codec = GetParam();
  settings.scan = "i";
  const std::string fifty =
      makeClip(folder, "fifty.mov", pictures + "-pix_fmt yuv420p " + unflagged);
  exported(folder, settings, fifty);
  EXPECT_GT(fieldCounts(folder.file("out.mov")).top, 20);
  EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "nb_frames"), "25");

  const std::string fields =
      makeClip(folder, "fields.mov", pictures + topFirst + " -top 1 " + flagged);
  settings.scan = "p";
  settings.rate = "50";
  exported(folder, settings, fields);
  EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "field_order,r_frame_rate,nb_frames"),
            "progressive,50/1,50");
  EXPECT_GT(lowestPeakRatio(folder.file("out.mov"), fifty, false), 24);
}

INSTANTIATE_TEST_SUITE_P(Codecs, MovtoolFields, testing::Values("icod", "prores"));

TEST(Movtool, WritesAllFlavoursOfProres) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=320x240:r=25:d=0.2 " + unflagged);
  const struct {
    const char* profile;
    const char* tag;
  } flavours[] = {
      {"proxy", "apco"}, {"lt", "apcs"}, {"standard", "apcn"}, {"hq", "apch"}, {"4444", "ap4h"}};
  Settings settings;
  settings.codec = "prores";
  for (const auto& flavour : flavours) {
    settings.profile = flavour.profile;
    exported(folder, settings, clip);
    EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "codec_tag_string,nb_frames"),
              std::string(flavour.tag) + ",5");
  }
}

TEST(Movtool, ChangesTheRateAndKeepsTheSources) {
  const ScopedTemporaryFolder folder;
  const std::string clip = makeClip(
      folder, "clip.mov", "-f lavfi -i testsrc2=s=64x48:r=30000/1001:d=2.002 " + unflagged);
  const struct {
    const char* rate;
    const char* expected;
  } cases[] = {{"source", "30000/1001,60"},
               {"60", "60000/1001,120"},
               {"25", "25/1,50"},
               {"24", "24000/1001,48"}};
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  for (const auto& item : cases) {
    settings.rate = item.rate;
    exported(folder, settings, clip);
    EXPECT_EQ(probed(folder.file("out.mov"), "v:0", "r_frame_rate,nb_frames"), item.expected);
  }
}

TEST(Movtool, PutsBarsBesideNarrowPictures) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i color=white:s=160x120:r=25:d=0.2 " + unflagged);
  for (const char* codec : {"icod", "prores"}) {
    Settings settings;
    settings.codec = codec;
    settings.width = 320;
    settings.height = 180;
    settings.letterbox = true;
    exported(folder, settings, clip);
    runShell("ffmpeg -v error -y -i " + test::quoted(folder.file("out.mov")) +
             " -frames:v 1 -vf format=gray -f rawvideo " + test::quoted(folder.file("raw")));
    const std::string raw = folder.read("raw");
    ASSERT_EQ(raw.size(), 320U * 180);
    const auto sample = [&](std::size_t x, std::size_t y) {
      return static_cast<int>(static_cast<unsigned char>(raw[320 * y + x]));
    };
    // 240 of 320 columns are picture.
    EXPECT_LT(sample(37, 90), 30);
    EXPECT_GT(sample(42, 90), 220);
    EXPECT_GT(sample(277, 90), 220);
    EXPECT_LT(sample(282, 90), 30);
    EXPECT_GT(sample(160, 1), 220);
    EXPECT_GT(sample(160, 178), 220);
    EXPECT_THAT(probed(folder.file("out.mov"), "v:0", "sample_aspect_ratio"), AnyOf("1:1", "N/A"));
  }
}

// A flash and a tone at the same moment, one second in. The sound's stream begins `later` seconds
// after the picture's.
std::string flashClip(const ScopedTemporaryFolder& folder, double later) {
  const std::string offset = std::to_string(std::abs(later));
  const std::string flash =
      "color=black:s=64x48:r=25:d=2,drawbox=c=white:t=fill:enable='between(t,1,1.15)'";
  const std::string tone = "aevalsrc='if(between(t,1,1.15),0.5*sin(6283*t),0)':s=48000:d=2";
  // Trimming keeps the time stamps.
  const std::string picture = later < 0 ? flash + ",trim=start=" + offset : flash;
  const std::string sound = later > 0 ? tone + ",atrim=start=" + offset : tone;
  return makeClip(folder, "clip.mkv",
                  "-f lavfi -i \"nullsrc\" -filter_complex \"" + picture + "[v];" + sound +
                      "[a]\" -map [v] -map [a] -c:v mpeg4 -q:v 1 -g 1 -c:a pcm_s16le");
}

TEST(Movtool, KeepsSoundAndPictureInStep) {
  for (const double later : {0.0, 0.32, -0.32}) {
    const ScopedTemporaryFolder folder;
    const std::string clip = flashClip(folder, later);
    for (const char* codec : {"icod", "prores"}) {
      Settings settings;
      settings.codec = codec;
      settings.width = 64;
      settings.height = 48;
      exported(folder, settings, clip);
      const test::FlashAndTone found = test::flashAndTone(folder, folder.file("out.mov"));
      EXPECT_GT(found.flash, 0.6) << codec << " " << later;
      EXPECT_NEAR(found.tone, found.flash, 0.041) << codec << " " << later;
    }
  }
}

TEST(Movtool, KeepsAllTracksAndChannels) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov",
               "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -f lavfi -i "
               "'sine=1000:r=48000:d=0.4,pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0' -f lavfi -i "
               "sine=500:r=44100:d=0.4 -map 0 -map 1 -map 2 -c:v mpeg4 -c:a pcm_s24le");
  Settings settings;
  settings.width = 64;
  settings.height = 48;
  exported(folder, settings, clip);
  EXPECT_EQ(
      probed(folder.file("out.mov"), "a:0", "codec_tag_string,sample_rate,channels,channel_layout"),
      "sowt,48000,6,5.1");
  EXPECT_EQ(probed(folder.file("out.mov"), "a:1", "codec_tag_string,sample_rate,channels"),
            "sowt,44100,1");
  EXPECT_NEAR(std::stod(probed(folder.file("out.mov"), "a:1", "duration")), 0.4, 0.001);
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

// What is left in the folder besides the files that the test put there.
std::vector<std::string> leftOvers(const ScopedTemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename();
    if (name != "settings" && name != "clip.mov" && name != "text.mov")
      names.push_back(name);
  }
  return names;
}

TEST(Movtool, SaysInOneLineWhatIsWrongAndLeavesNothing) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=320x240:r=25:d=2 " + unflagged);
  folder.write("text.mov", "no movie at all");
  const std::string out = " -y -o " + test::quoted(folder.file("out.mov"));
  Settings settings;
  const struct {
    std::string name, settings, arguments, limit, reason;
  } cases[] = {
      {"no settings", "", " -s /nowhere/p -i " + test::quoted(clip) + out, "",
       "/nowhere/p cannot be read"},
      {"broken settings", "<plist><dict>", " -i " + test::quoted(clip) + out, "",
       "settings cannot be read"},
      {"wrong settings",
       "<plist version=\"1.0\"><dict><key>version</key><integer>1</integer></dict></plist>",
       " -i " + test::quoted(clip) + out, "", "codec"},
      {"no input", "icod", " -i /nowhere/a.mov" + out, "",
       "/nowhere/a.mov cannot be read: No such file"},
      {"no movie", "icod", " -i " + test::quoted(folder.file("text.mov")) + out, "",
       "Invalid data found"},
      {"itself", "icod", " -i " + test::quoted(clip) + " -y -o " + test::quoted(clip), "",
       "cannot be made from itself"},
      {"no folder", "icod", " -i " + test::quoted(clip) + " -y -o /nowhere/a.mov", "",
       "/nowhere/a.mov cannot be written"},
      {"too large", "icod", " -i " + test::quoted(clip) + out, "ulimit -f 200; ",
       "out.mov cannot be written: File too large"},
      {"no folder", "prores", " -i " + test::quoted(clip) + " -y -o /nowhere/a.mov", "",
       "/nowhere/a.mov cannot be written"},
      {"too large", "prores", " -i " + test::quoted(clip) + out, "ulimit -f 200; ",
       "File too large"},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.name);
    std::string arguments = item.arguments;
    if (item.settings == "icod" || item.settings == "prores") {
      settings.codec = item.settings;
      arguments.insert(0, " -s " + test::quoted(settings.write(folder)));
    } else if (!item.settings.empty()) {
      arguments.insert(0, " -s " + test::quoted(folder.write("settings", item.settings)));
    }
    const ShellResult result =
        runShell(fmt::format("{}{}{} >/dev/null", item.limit, movtool, arguments));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, StartsWith("movtool: "));
    EXPECT_THAT(result.output, HasSubstr(item.reason));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    EXPECT_THAT(leftOvers(folder), testing::IsEmpty());
  }
}

// ffmpeg 5.1 ends with status 0 when only the movie's header finds no room any more.
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
    const std::string limited = folder.write(
        "bin/ffmpeg", fmt::format("#!/bin/sh\ncase \" $* \" in *' prores '*) trap '' XFSZ; exec "
                                  "prlimit --fsize={} /usr/bin/ffmpeg \"$@\" ;; esac\n"
                                  "exec /usr/bin/ffmpeg \"$@\"\n",
                                  size - missing));
    std::filesystem::permissions(limited, std::filesystem::perms::owner_all);
    const ShellResult result = runShell(
        fmt::format("PATH={}:$PATH {}{}", test::quoted(folder.file("bin")), movtool, arguments));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, testing::AllOf(StartsWith("movtool: "), HasSubstr("out.mov")));
    std::filesystem::remove_all(folder.file("bin"));
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
  for (const char* arguments : {"", "-s a -i b", "-s a -i b -o c -q", "-s a -i b -o c d"}) {
    const ShellResult result = runShell(movtool + " " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
  }
}

// The children of a process, as the kernel lists them.
std::vector<pid_t> childrenOf(pid_t pid) {
  const std::string number = std::to_string(pid);
  std::ifstream file("/proc/" + number + "/task/" + number + "/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; file >> child;)
    children.push_back(child);
  return children;
}

bool comesTrue(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 500; ++tries) {
    if (condition())
      return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

TEST(Movtool, LeavesNeitherFfmpegNorFilesWhenItIsEnded) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=160x120:r=25:d=60 -c:v mpeg4 -q:v 5");
  for (const char* codec : {"icod", "prores"}) {
    Settings settings;
    settings.codec = codec;
    settings.width = 1920;
    settings.height = 1080;
    for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
      SCOPED_TRACE(testing::Message() << codec << " signal " << signal);
      ChildSetup setup;
      setup.program = movtool;
      setup.arguments = {"-s", settings.write(folder), "-i", clip, "-y",
                         "-o", folder.file("out.mov")};
      Outcome<ChildProcess> tool = ChildProcess::start(setup);
      ASSERT_TRUE(tool.ok());
      // Not the probe, which comes first and is soon over.
      std::vector<pid_t> children;
      std::this_thread::sleep_for(std::chrono::milliseconds(400));
      ASSERT_TRUE(comesTrue([&] {
        children = childrenOf(tool->pid());
        return !children.empty();
      }));
      // To it alone, as a crash would meet it, and not to its group.
      ::kill(tool->pid(), signal);
      EXPECT_EQ(tool->wait().signal, signal);
      EXPECT_TRUE(comesTrue([&] {
        return std::all_of(children.begin(), children.end(), [](pid_t child) {
          const char letter = test::processLetter(child);
          return letter == ' ' || letter == 'Z';
        });
      }));
      EXPECT_THAT(leftOvers(folder), testing::IsEmpty());
    }
  }
}

TEST(Movtool, StandsStillWithItsFfmpegWhenItsGroupIsPaused) {
  const ScopedTemporaryFolder folder;
  const std::string clip =
      makeClip(folder, "clip.mov", "-f lavfi -i testsrc2=s=160x120:r=25:d=60 -c:v mpeg4 -q:v 5");
  Settings settings;
  settings.codec = "prores";
  settings.width = 1920;
  settings.height = 1080;
  ChildSetup setup;
  setup.program = movtool;
  setup.arguments = {"-s", settings.write(folder), "-i", clip, "-y", "-o", folder.file("out.mov")};
  Outcome<ChildProcess> tool = ChildProcess::start(setup);
  ASSERT_TRUE(tool.ok());
  std::vector<pid_t> children;
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  ASSERT_TRUE(comesTrue([&] {
    children = childrenOf(tool->pid());
    return !children.empty();
  }));
  tool->suspend();
  for (const pid_t child : children)
    EXPECT_TRUE(comesTrue([&] { return test::processLetter(child) == 'T'; }));
  tool->kill();
}

}  // namespace
}  // namespace tessarin
