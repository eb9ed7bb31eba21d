// Recordings that are cut into several files anywhere: found again, and joined without a trace.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "classShared/TextAdditions.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/places.h"
#include "support/shell.h"
#include "tools/joinclips/dvFacts.h"
#include "tools/joinclips/partNames.h"
#include "tools/support/clips.h"

namespace tessarin::joining {
namespace {

using test::quoted;

TEST(PartNames, CountAsEachKindOfCameraCounts) {
  const std::pair<const char*, const char*> chapters[] = {{"/c/GOPR0042.MP4", "/c/GP010042.MP4"},
                                                          {"/c/GP090042.MP4", "/c/GP100042.MP4"},
                                                          {"gopr0042.mp4", "gp010042.mp4"},
                                                          {"GH010042.MP4", "GH020042.MP4"},
                                                          {"GX010042.MP4", "GX020042.MP4"},
                                                          {"GX990042.MP4", ""},
                                                          {"GHAA0042.MP4", ""},
                                                          {"GL010042.LRV", ""},
                                                          {"GH000042.MP4", ""},
                                                          {"GX0100420.MP4", ""},
                                                          {"GX01/GX.MP4", ""}};
  for (const auto& [name, next] : chapters)
    EXPECT_EQ(nextChapterName(name).value_or(""), next) << name;
  EXPECT_EQ(nextHexadecimalName("/PRG001/MOV009.MOD"), "/PRG001/MOV00A.MOD");
  EXPECT_EQ(nextHexadecimalName("mov0ff.tod"), "mov100.tod");
  EXPECT_EQ(nextHexadecimalName("MOVFFF.MOD"), std::nullopt);
  EXPECT_EQ(nextHexadecimalName("MOVIE1.MPG"), std::nullopt);
  const std::string tape = "/VIDEO/HVR/00_0001_2007-08-06_165555.M2T";
  for (const auto& [next, may] : {std::pair{"/VIDEO/HVR/00_0001_2007-08-06_171800.M2T", true},
                                  std::pair{"/VIDEO/HVR/00_0002_2007-08-06_171800.M2T", true},
                                  std::pair{"/VIDEO/HVR/00_0003_2007-08-06_171800.M2T", false},
                                  std::pair{"/VIDEO/HVR/01_0001_2007-08-06_171800.M2T", false},
                                  std::pair{"/VIDEO/00_0001_2007-08-06_171800.M2T", false}})
    EXPECT_EQ(mayFollowOnRecorder(tape, next), may) << next;
}

TEST(DvParts, GoOnByClockAndTimeCode) {
  const DvFacts first{true, 0, 250, {1000, "00:00:10:00", true}, {1009, "00:00:19:24", false}};
  DvFacts next{true, 0, 250, {1010, "00:00:20:00", false}, {1019, "00:00:29:24", false}};
  EXPECT_TRUE(goesOn(first, next));
  EXPECT_FALSE(goesOn(next, first));
  next.first.beginsRecording = true;
  EXPECT_FALSE(goesOn(first, next));
  next.first = {1040, "00:00:20:00", false};
  EXPECT_FALSE(goesOn(first, next)) << "the camera stood still between them";
  next.first = {1010, "00:00:20:01", false};
  EXPECT_FALSE(goesOn(first, next)) << "a frame is missing";
}

// Makes an uncut clip and cuts it where a camera may.
class JoinedParts : public testing::Test {
 protected:
  static int cuts() {
    const char* asked = std::getenv("TESSARIN_CUTS");
    return asked != nullptr ? std::clamp(std::atoi(asked), 2, 90) : 7;
  }
  std::string path(const std::string& name) const { return folder_.file(name); }
  void make(const std::string& options, const std::string& name) const {
    const std::string seconds = std::to_string(cuts() + 2);
    test::makeClip(folder_, name,
                   "-f lavfi -i testsrc2=s=160x128:r=25:d=" + seconds +
                       ",format=yuv420p -f lavfi -i \"aevalsrc=sin(6.28*t*(300+20*t)):s=48000:d=" +
                       seconds + "\" -metadata creation_time=2024-05-06T07:08:09Z " + options);
  }
  // Places between 0 and 1, in order and not next to each other or to the ends.
  std::vector<double> places() {
    std::vector<double> places;
    for (int cut = 0; cut < cuts(); ++cut)
      places.push_back((cut + 1 + std::uniform_real_distribution<double>(0.3, 0.9)(random_)) /
                       (cuts() + 2));
    return places;
  }
  // Every so many bytes may be a border.
  std::vector<std::string> cutBytes(const std::string& name, std::size_t unit,
                                    const std::string& pattern) {
    const std::string bytes = folder_.read(name);
    std::vector<std::string> files;
    std::size_t begin = 0;
    auto all = places();
    all.push_back(1);
    for (const double place : all) {
      const auto end =
          static_cast<std::size_t>(place * static_cast<double>(bytes.size() / unit)) * unit;
      if (end <= begin)
        continue;
      files.push_back(fmt::format(fmt::runtime(pattern), files.size() + 1));
      folder_.write(files.back(), bytes.substr(begin, end - begin));
      files.back() = path(files.back());
      begin = end;
    }
    return files;
  }
  std::vector<std::string> cutMovie(const std::string& name, const std::string& pattern) {
    std::string times;
    for (const double place : places())
      times += fmt::format("{}{:.3f}", times.empty() ? "" : ",", place * (cuts() + 2));
    EXPECT_EQ(test::runShell("ffmpeg -v error -nostdin -i " + quoted(path(name)) +
                             " -map 0 -c copy -f segment -segment_start_number 1 "
                             "-reset_timestamps 1 -metadata creation_time=2024-05-06T07:08:09Z "
                             "-segment_times " +
                             times + " " + quoted(path(pattern)))
                  .status,
              0);
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
      if (entry.path().filename() != name)
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
  }
  static std::string tool(const std::string& option, const std::vector<std::string>& files) {
    std::string command = quoted(test::builtFile("resources/tools/joinclips")) + option;
    for (const std::string& file : files)
      command += " " + quoted(file);
    return command;
  }
  // What is seen, at which steps, and what is heard; of coded sound the packets, as ffmpeg gives
  // the first and the last one of a cut movie other edges.
  static std::string sums(const std::string& input, bool isSoundPlain,
                          const std::string& before = "") {
    const auto told = [&](const std::string& options) {
      return test::runShell(before + "ffmpeg -v error -nostdin -i " + input + " -map " + options)
          .output;
    };
    return test::runShell(before +
                          "ffprobe -v error -select_streams v -show_entries packet=dts "
                          "-of csv=p=0 " +
                          input + " | awk -F, 'NR > 1 { print $1 - last } { last = $1 }' | sort -u")
               .output +
           told("0:v -f framehash -hash md5 - | grep -v '^#' | cut -d, -f4,6") +
           told(isSoundPlain ? "0:a -f md5 -"
                             : "0:a -c copy -f framehash -hash md5 - | grep -v '^#' | cut -d, -f6");
  }
  void expectAreWhole(const std::string& name, const std::vector<std::string>& files,
                      bool isSoundPlain) {
    ASSERT_GT(files.size(), 2u);
    std::string places;
    for (std::size_t place = 0; place < files.size(); ++place)
      places += " " + std::to_string(place);
    EXPECT_THAT(test::runShell(tool(" --parts", files)).output,
                testing::StartsWith("parts" + places + ": "));
    const std::string uncut = sums(quoted(path(name)), isSoundPlain);
    EXPECT_GT(uncut.size(), 25u * 20u) << uncut;
    EXPECT_EQ(sums("pipe:0", isSoundPlain, tool("", files) + " | "), uncut);
    EXPECT_EQ(test::runShell(tool(" --list", files) + " | grep -c '^byte '").output,
              std::to_string(files.size()) + "\n");
  }

  test::ScopedTemporaryFolder folder_;
  std::mt19937 random_{std::random_device{}()};
};

TEST_F(JoinedParts, OfMoviesWithPacketsOfSound) {
  make("-c:v libx264 -preset veryfast -bf 2 -g 7 -c:a aac -f mp4", "uncut.MP4");
  expectAreWhole("uncut.MP4", cutMovie("uncut.MP4", "GX%02d0042.MP4"), false);
}

TEST_F(JoinedParts, OfMoviesWithPlainSound) {
  make("-c:v mjpeg -q:v 5 -c:a pcm_s16le -f mov", "uncut.MOV");
  expectAreWhole("uncut.MOV", cutMovie("uncut.MOV", "GX%02d0042.MOV"), true);
}

TEST_F(JoinedParts, OfProgramStreams) {
  make("-c:v mpeg2video -bf 2 -g 12 -c:a ac3 -f vob", "uncut.MPG");
  expectAreWhole("uncut.MPG", cutBytes("uncut.MPG", 2048, "MOV{:03X}.MOD"), false);
}

TEST_F(JoinedParts, OfDv) {
  make("-s 720x576 -timecode 01:02:03:04 -c:v dvvideo -c:a pcm_s16le -ac 2 -f dv", "uncut.dv");
  expectAreWhole("uncut.dv", cutBytes("uncut.dv", 144000, "tape {}.dv"), true);
}

}  // namespace
}  // namespace tessarin::joining
