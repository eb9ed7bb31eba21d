// Every shape of command line that the command builder makes, run by the installed ffmpeg.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>

#include "encoding/BatchEntry.h"
#include "encoding/commandBuilder.h"
#include "encoding/outputPreset.h"
#include "ffmpeg/ffmpegOptions.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/TestBundle.h"
#include "support/shell.h"
#include "support/sources.h"

namespace tessarin {
namespace {

using test::quoted;
using test::runShell;
using test::ShellResult;

struct Clip {
  const char* file;
  const char* wrapper;
  const char* videoCodec;
  const char* scan;  // "p" or "i"
  double fps;
  const char* graph;
  const char* encoding;
};

// Four frames each. 5.1 sound, so that it can be kept, mixed or left out.
const Clip sources[] = {
    {"i25.mts", "mpegts", "mpeg2video", "i", 25,
     "testsrc2=s=320x240:r=50:d=0.16,format=yuv420p,tinterlace=interleave_top,setfield=tff",
     "-c:v mpeg2video -flags +ildct+ilme -top 1"},
    {"i50.avi", "avi", "mpeg2video", "i", 50,
     "testsrc2=s=320x240:r=50:d=0.08,format=yuv422p,setfield=bff",
     "-c:v mpeg2video -flags +ildct+ilme -top 0"},
    {"p25.mov", "mov,mp4,m4a,3gp,3g2,mj2", "h264", "p", 25,
     "testsrc2=s=320x240:r=25:d=0.16,format=yuv420p", "-c:v libx264"},
    {"p50.mts", "mpegts", "h264", "p", 50, "testsrc2=s=320x240:r=50:d=0.08,format=yuv420p",
     "-c:v libx264"},
};

enum class Sound { stereo, surround, forced, none };

Row rowOf(const Clip& source, const std::string& folder, const Choice& choice, Sound sound) {
  Row row;
  row.choice = choice;
  Dico facts{{"srcPathStr", folder + "/" + source.file},
             {"v0_fields", *source.scan == 'p' ? "PFF" : "TFF"},
             {"wrapper", source.wrapper},
             {"v0_codec", source.videoCodec},
             {"v0_fps", source.fps},
             {"v0_width", 320},
             {"v0_height", 240}};
  if (sound != Sound::none)
    facts.merge({{"a0_id", 1},
                 {"a0_channels", 6},
                 {"a0_codec", "ac3"},
                 {"prefSurrond", sound == Sound::surround ? 1 : 0}});
  if (sound == Sound::forced)
    facts.set("a0_force", 1);
  row.source = test::sourceOf(facts);
  return row;
}

// What the command has in common with others that ffmpeg treats alike: no paths, sizes, rates.
std::string shapeOf(const std::vector<std::string>& arguments) {
  static const std::regex size("scale=[0-9]+:[0-9]+");
  std::string shape;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    const std::string& before = arguments[index - 1];
    if (before == "-i" || before == "-r" || before == "-profile" || index + 1 == arguments.size())
      continue;
    shape += arguments[index] + " ";
  }
  return std::regex_replace(shape, size, "scale");
}

// Distinct commands, and where each writes to. The forms of sound take turns over the pictures'
// treatments, for one does not depend on the other.
std::map<std::string, std::vector<std::string>> distinctCommands(const std::string& folder) {
  std::map<std::string, std::vector<std::string>> commands;
  std::map<std::string, bool> treatments;
  const auto add = [&](const Clip& source, const Choice& choice) {
    const auto silent =
        movieCommand(rowOf(source, folder, choice, Sound::none), folder + "/out.mov", "apch");
    ASSERT_TRUE(silent);
    if (!treatments.emplace(source.wrapper + shapeOf(silent->arguments), true).second)
      return;
    const std::size_t number = treatments.size();
    const std::string destination = folder + "/out" + std::to_string(number) + ".mov";
    const auto sound = static_cast<Sound>(number % 4);
    const auto command = movieCommand(rowOf(source, folder, choice, sound), destination, "apcn");
    ASSERT_TRUE(command);
    commands.emplace(shapeOf(command->arguments), command->arguments);
  };
  for (const Clip& source : sources)
    for (const Target target : {outQuickTime, outAic, outProres})
      for (const Speed speed : {speedKeep, speedHalf, speedSlow}) {
        add(source, {target, keepsSize, speed});
        for (int size = firstConcreteRow; sizeRow(size); ++size)
          add(source, {target, size, speed});
      }
  return commands;
}

TEST(FfmpegCommands, AreAllUnderstoodByTheInstalledFfmpeg) {
  const test::TestBundle bundle;
  const test::LogCapture log;
  const test::ScopedTemporaryFolder folder;
  for (const Clip& source : sources) {
    const ShellResult made =
        runShell("ffmpeg -nostdin -v error -f lavfi -i " + quoted(source.graph) +
                 " -f lavfi -i sine=d=0.2,aformat=channel_layouts=5.1 -shortest -c:a ac3 " +
                 source.encoding + " " + quoted(folder.file(source.file)));
    ASSERT_EQ(made.status, 0) << made.output;
  }
  const auto commands = distinctCommands(folder.path());
  EXPECT_GE(commands.size(), 20U);
  EXPECT_LE(commands.size(), 40U);
  bool asNewest = false;
  for (const auto& [shape, arguments] : commands) {
    SCOPED_TRACE(quoted(arguments));
    // What newer versions are given is good for the installed one as well: every second command
    // is translated for them.
    asNewest = !asNewest;
    const test::ScopedEnvironment version(
        ffmpegVersionVariable, asNewest ? std::optional<std::string>("N-1") : std::nullopt);
    const ShellResult result = runShell(quoted(arguments));
    EXPECT_EQ(result.status, 0) << result.output;
    // ffmpeg only warns of some options that it does not take.
    for (const char* complaint : {"Invalid stream specifier", "is ambiguous", "is deprecated",
                                  "Unrecognized option", "has not been used for any stream"})
      EXPECT_EQ(result.output.find(complaint), std::string::npos) << result.output;
    std::error_code error;
    EXPECT_GT(std::filesystem::file_size(arguments.back(), error), 1000U) << result.output;
  }
}

}  // namespace
}  // namespace tessarin
