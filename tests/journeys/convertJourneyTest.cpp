#include <nlohmann/json.hpp>

#include "Journey.h"
#include "analysis/probes.h"
#include "support/TestBundle.h"
#include "support/clips.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

class ConvertJourney : public test::Journey {};

json probed(const std::string& movie) {
  const auto result =
      test::runShell("ffprobe -v error -show_streams -show_format -of json " + test::quoted(movie));
  EXPECT_EQ(result.status, 0) << result.output;
  return json::parse(result.output, nullptr, false);
}

TEST_F(ConvertJourney, AnAvchdClipBecomesAMovieForTheEditor) {
  const std::string clip = folder.file("card/00012.MTS");
  ASSERT_TRUE(mkdir(folder.file("card")));
  ASSERT_TRUE(test::makeAvchdClip(clip));
  const Result result = tessarin({"--destination", destination(), "card"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, clip + " -> " + movie("00012.mov") + "\n");
  EXPECT_EQ(result.err, "");
  ASSERT_THAT(movies(), ElementsAre("00012.mov", "00012.txt"));

  const json report = probed(movie("00012.mov"));
  const json& picture = report["streams"][0];
  EXPECT_EQ(picture["codec_name"], "prores");
  EXPECT_EQ(picture["width"], 1920);
  EXPECT_EQ(picture["height"], 1080);
  EXPECT_EQ(picture["r_frame_rate"], "25/1");
  EXPECT_EQ(picture["field_order"], "tb");
  const json& sound = report["streams"][1];
  EXPECT_EQ(sound["codec_name"], "pcm_s16le");
  EXPECT_EQ(sound["channels"], 2);
  EXPECT_EQ(sound["sample_rate"], "48000");
  EXPECT_NEAR(std::stod(report["format"]["duration"].get<std::string>()), 0.4, 0.04);
  // What the stream says is what the pictures show.
  const test::TestBundle bundle;
  const auto counts = idetCounts(test::idetReport(movie("00012.mov")));
  ASSERT_TRUE(counts);
  EXPECT_GE(counts->top, 9);
  EXPECT_EQ(counts->bottom, 0);

  EXPECT_THAT(folder.read("movies/Tessarin/00012.txt"), HasSubstr("source              : " + clip));
  EXPECT_THAT(folder.read("home/Library/Logs/Tessarin/Details.log"), HasSubstr("iba_batchGoBt"));
}

TEST_F(ConvertJourney, ClipsOfTheSameNameFromTwoCardsBothBecomeMovies) {
  tinyClip("a/00000.MTS");
  tinyClip("b/00000.MTS", "0.4");
  Result result = tessarin({"-d", destination(), "a", "b", "a/00000.MTS", "./a/../a"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.lines(),
              UnorderedElementsAre(folder.file("a/00000.MTS") + " -> " + movie("00000.mov"),
                                   folder.file("b/00000.MTS") + " -> " + movie("00000-2.mov")));
  EXPECT_GT(poidsFile(movie("00000-2.mov"), "k"), poidsFile(movie("00000.mov"), "k") * 1.5);

  // What a run wrote is no source of the next one, unless it is named.
  result = tessarin({"plan", "-d", destination(), folder.path()});
  EXPECT_THAT(result.out, HasSubstr(folder.file("a/00000.MTS")));
  EXPECT_THAT(result.out, Not(HasSubstr("-i " + movie("00000.mov"))));
  result = tessarin({"plan", "-d", destination(), "--overwrite", "keep", "movies/Tessarin"});
  EXPECT_THAT(result.out + result.err, HasSubstr(movie("00000-2.mov")));
}

TEST_F(ConvertJourney, AMovieThatIsThereIsKeptUnlessTheUserWantsItReplaced) {
  const std::string clip = tinyClip("x.mts");
  folder.write("movies/Tessarin/x.mov", "precious");
  const std::string kept = clip + ": “" + movie("x.mov") + "” was there already and was kept\n";

  // Nobody can be asked.
  Result result = tessarin({"-d", destination(), clip});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "tessarin: " + kept);
  result = tessarin({"-d", destination(), "--overwrite", "keep", clip});
  EXPECT_EQ(result.status, 0) << "as the user wanted it";
  EXPECT_EQ(result.out, kept);
  result = tessarin({"plan", "-d", destination(), "--overwrite", "keep", clip});
  EXPECT_EQ(result.out, "# " + kept) << "a comment for the shell";
  EXPECT_EQ(folder.read("movies/Tessarin/x.mov"), "precious");

  result = tessarin({"-d", destination(), "--overwrite", "replace", clip});
  EXPECT_EQ(result.status, 0);
  EXPECT_GT(poidsFile(movie("x.mov"), "k"), 10);
}

TEST_F(ConvertJourney, EventsTellAProgramWhatHappens) {
  const std::string clip = tinyClip("x.mts", "1.2");
  // Slow enough that ffmpeg tells how far it is.
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) exec $real -readrate 1 \"$@\" ;; esac\nexec $real \"$@\"");
  const Result result =
      tessarin({"--json", "-d", destination(), "--format", "aic", clip, "gone.mts"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  std::vector<std::string> events;
  double before = 0;
  for (const std::string& line : result.lines()) {
    const json event = json::parse(line, nullptr, false);
    ASSERT_TRUE(event.is_object()) << line;
    if (events.empty() || events.back() != event["event"])
      events.push_back(event["event"]);
    if (event["event"] == "progress") {
      EXPECT_EQ(event["row"], 1);
      EXPECT_EQ(event["rows"], 1);
      EXPECT_GT(event["fraction"], 0);
      EXPECT_GE(event["fraction"], before) << "fell when the export began";
      before = event["fraction"];
      EXPECT_LE(event["fraction"], 1);
    }
    EXPECT_EQ(event["source"], event["event"] == "problem" ? "gone.mts" : clip);
  }
  EXPECT_THAT(events, ElementsAre("problem", "started", "progress", "converted"));
  const json last = json::parse(result.lines().back());
  EXPECT_THAT(last["output"].get<std::string>(), EndsWith("x.mov"));
  EXPECT_EQ(last["duration"], 1);
}

TEST_F(ConvertJourney, NoSourceIsEverReplaced) {
  tinyClip("movies/Tessarin/x.mov");
  const std::string bytes = folder.read("movies/Tessarin/x.mov");
  tinyClip("x.mts");
  for (const Arguments& sources :
       {Arguments{"movies/Tessarin/x.mov"}, Arguments{"x.mts", "movies/Tessarin/x.mov"}})
    for (const char* command : {"plan", "convert"}) {
      Arguments arguments = {command, "-d", destination(), "--overwrite", "replace"};
      arguments.insert(arguments.end(), sources.begin(), sources.end());
      const Result result = tessarin(arguments);
      EXPECT_EQ(result.status, 1);
      ASSERT_EQ(result.errorLines().size(), 1u) << result.err;
      EXPECT_THAT(result.err, HasSubstr(folder.file(sources[0]) + ": the movie would replace “" +
                                        movie("x.mov") + "”, which is a source"));
      EXPECT_EQ(folder.read("movies/Tessarin/x.mov"), bytes);
    }
}

TEST_F(ConvertJourney, WhatAFailedConversionWroteIsSetAside) {
  const std::string bad = tinyClip("bad.mts");
  const std::string good = tinyClip("good.mts");
  setVariable("TESSARIN_PRORES_ENCODER", "ffmpeg");
  useFfmpeg(
      "for last; do :; done\n"
      "case \" $* \" in *' -c:v '*bad.mov*) seq 3000 >\"$last\"\n"
      "  echo \"Error writing trailer of $last: No space left on device\" >&2; exit 0 ;; esac\n"
      "exec $real \"$@\"");
  folder.write("movies/Tessarin/bad-failure.mov", "older");
  const Result result = tessarin({"-d", destination(), bad, good});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tessarin: " + bad +
                            ": the disk is full; make room or choose another destination (what "
                            "was written is in " +
                            movie("bad-failure-2.mov") + ")\n");
  EXPECT_EQ(result.out, good + " -> " + movie("good.mov") + "\n");
  EXPECT_EQ(folder.read("movies/Tessarin/bad-failure.mov"), "older");
  EXPECT_EQ(folder.read("movies/Tessarin/bad-failure-2.mov").size(), 13893u);
  EXPECT_FALSE(pathExists(movie("bad.mov")));
}

TEST_F(ConvertJourney, WhatIsInTheWayIsNamed) {
  const std::string clip = tinyClip("x.mts");
  const std::string end = "” is in the way; move it or choose another destination\n";
  const std::string file = folder.write("file", "in the way");
  Result result = tessarin({"-d", file + "/below", clip});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tessarin: " + file + "/below: “" + file + end);
  EXPECT_EQ(folder.read("file"), "in the way");
  ASSERT_TRUE(mkdir(movie("x.mov")));
  result = tessarin({"-d", destination(), "--overwrite", "replace", clip});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tessarin: " + clip + ": “" + movie("x.mov") + end);
  EXPECT_THAT(movies(), ElementsAre("x.mov"));
}

TEST_F(ConvertJourney, ADiskThatFillsUpIsTold) {
  const std::string clip = tinyClip("x.mts", "0.4");
  ASSERT_TRUE(mkdir(destination()));
  const std::string disk = test::quoted(destination());
  if (test::runShell("mount -t tmpfs -o size=64k tmpfs " + disk).status != 0)
    GTEST_SKIP() << "no file system can be mounted here";
  const Result result = tessarin({"-d", destination(), clip});
  const std::vector<std::string> left = movies();
  EXPECT_EQ(test::runShell("umount " + disk).status, 0);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::StartsWith("tessarin: " + clip + ": the disk is full"));
  EXPECT_THAT(left, Not(testing::Contains("x.mov")));
}

TEST_F(ConvertJourney, WithoutFfmpegThePackageIsNamed) {
  const std::string clip = tinyClip("x.mts");
  setVariable("PATH", folder.path());
  const Result result = tessarin({"-d", destination(), clip});
  EXPECT_EQ(result.status, 1);
  ASSERT_EQ(result.errorLines().size(), 1u);
  EXPECT_THAT(result.err, testing::StartsWith("tessarin: "));
  EXPECT_THAT(result.err, HasSubstr("Install the package ffmpeg"));
  EXPECT_THAT(movies(), IsEmpty());
}

}  // namespace
}  // namespace tessarin
