#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "Journey.h"
#include "platform/UserDomain.h"
#include "prefs/PreferenceStore.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

class AnalyseJourney : public test::Journey {};

TEST_F(AnalyseJourney, ATableTellsWhatEachClipIs) {
  const std::string clip = tinyClip("x.mts", "1.2");
  const std::string movie = folder.file("y.mov");
  ASSERT_TRUE(
      test::makeClip(test::progressivePicture("320x240", "0.2") + "-c:v mpeg4 -f mov", movie));
  const Result result = tessarin({"analyse", clip, movie});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  ASSERT_EQ(result.lines().size(), 5u) << result.out;
  EXPECT_THAT(result.lines()[0], MatchesRegex(" Duration  Picture +Codec +Sound +Container +Clip"));
  EXPECT_THAT(result.lines()[1],
              MatchesRegex(" +0:01  352x288i 50 +mpeg2video +mp2 2x48000 +mpegts +" + clip));
  EXPECT_EQ(result.lines()[2], "           -> ProRes 352x288i 50, PCM 2x48000");
  EXPECT_THAT(result.lines()[3], MatchesRegex(" +-  320x240p 25 +mpeg4 +- +mov +" + movie));
  EXPECT_EQ(result.lines()[4], "           -> Apple Intermediate Codec 960x540p 25");
}

// Of a name that is no UTF-8, of one that is, and of one in UTF-16.
TEST_F(AnalyseJourney, ListsOfAnyDayNameClips) {
  const std::string oldName = folder.file("\xC9t\xE9.mts");
  const std::string newName = folder.file("\xC3\x89t\xC3\xA9.mts");
  std::filesystem::copy_file(tinyClip("x.mts", "0.4"), oldName);
  std::filesystem::copy_file(oldName, newName);
  std::string wide = "\xFF\xFE";
  for (const char character : folder.file("x.mts\r\n"))
    wide += {character, '\0'};
  folder.write("wide.txt", wide);
  // In the list of an old program the names are the same; which is meant is what there is.
  folder.write("old.txt", "\r\n" + oldName + "\r\n");
  Result result = tessarin({"analyse", "--json", "--from", "wide.txt", "--from", "old.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.lines().size(), 2u) << result.out;
  std::filesystem::remove(oldName);
  result = tessarin({"analyse", "--json", "--from", "old.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out, nullptr, false)["source"], newName);

  folder.write("none.txt", std::string("\0\1\2", 3));
  folder.write("empty.txt", "\n");
  for (const char* wrong : {"none.txt", "empty.txt", "missing.txt"})
    EXPECT_EQ(tessarin({"analyse", "--from", wrong}).status, 2) << wrong;
}

TEST_F(AnalyseJourney, AMemoryCardIsAListOfItsRecordings) {
  const std::string root = "Karte für uns/PRIVATE/M4ROOT/";
  const auto make = [&](const std::string& name, const std::string& size,
                        const std::string& options) {
    const std::string path = folder.file(root + name);
    std::filesystem::create_directories(parentFolder(path));
    ASSERT_TRUE(test::makeClip(test::progressivePicture(size, "0.2") + options, path));
  };
  make("CLIP/C0001.MP4", "1280x720", "-c:v libx264 -preset ultrafast -f mp4");
  make("SUB/C0001S03.MP4", "320x180", "-c:v libx264 -preset ultrafast -f mp4");
  make("THMBNL/C0001T01.JPG", "320x180", "-frames:v 1 -c:v mjpeg -f image2 -update 1");
  folder.write(root + "CLIP/C0001M01.XML",
               "<NonRealTimeMeta xmlns=\"urn:schemas-professionalDisc:nonRealTimeMeta:ver.2.20\">"
               "<CreationDate value=\"2013-04-05T06:07:08-05:00\"/>"
               "<LtcChangeTable tcFps=\"25\"><LtcChange frameCount=\"0\" value=\"07212901\"/>"
               "</LtcChangeTable><Device manufacturer=\"Sony\" modelName=\"ILCE-6700\"/>"
               "</NonRealTimeMeta>");
  folder.write(root + "MEDIAPRO.XML", "<MediaProfile><Contents/></MediaProfile>");
  folder.write(root + "STATUS.BIN", "status");
  folder.write(root + "GENERAL/NOTE.TXT", "no clip");
  const Result result = tessarin({"analyse", "--json", folder.file("Karte für uns")});
  ASSERT_EQ(result.lines().size(), 1u) << result.out;
  EXPECT_EQ(result.err, "");
  for (const std::string& fact :
       {"\"source\":\"" + folder.file(root + "CLIP/C0001.MP4"),
        std::string("\"recorded\":\"2013-04-05 06:07:08\""),
        std::string("\"recordedZone\":\"-0500\""), std::string("\"timeCode\":\"01:29:21:07\""),
        std::string("\"cameraModel\":\"ILCE-6700\"")})
    EXPECT_THAT(result.out, HasSubstr(fact));
}

TEST_F(AnalyseJourney, WhatIsLeftOutIsToldWhereverOneLooks) {
  ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "0.4", "50") + test::tone("0.4") +
                                 test::tone("0.4") +
                                 "-map 0 -map 1 -map 2 -c:v libx264 -preset ultrafast -c:a ac3 "
                                 "-f mpegts",
                             folder.file("x.mts")));
  const std::string leftOut = "left out: pictures (25 of 50 a second stay); sound stream 2 (ac3)";
  EXPECT_THAT(tessarin({"analyse", "--sound", "first", "x.mts"}).out,
              HasSubstr("           " + leftOut));
  EXPECT_THAT(tessarin({"plan", "--sound", "1", "x.mts"}).lines().front(),
              HasSubstr("; " + leftOut));
  const Result result = tessarin({"--json", "plan", "--sound", "first", "x.mts"});
  const json event = json::parse(result.lines().front(), nullptr, false);
  EXPECT_EQ(event["event"], "expected");
  EXPECT_EQ(event["movie"]["rate"], 25.0);
  EXPECT_EQ(event["movie"]["leftOut"].size(), 2u);
  EXPECT_EQ(tessarin({"x.mts", "--sound", "first", "-d", destination()}).status, 0);
  EXPECT_THAT(folder.read("movies/Tessarin/x.txt"),
              HasSubstr("\n                      " + leftOut));
}

TEST_F(AnalyseJourney, AFormatThatIsNotPossibleNamesThoseThatAre) {
  ASSERT_TRUE(test::makeClip(test::progressivePicture("640x480", "0.2") + "-c:v mpeg4 -f mov",
                             folder.file("x.mov")));
  const Result result = tessarin({"--format", "quicktime", "x.mov", "-d", destination()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err,
              HasSubstr("a copy keeps the size of the pictures, 640x480; possible here: "
                        "aic; prores with --size 720p25\n"));
  EXPECT_EQ(tessarin({"plan", "--format", "prores", "--size", "720p25", "x.mov"}).status, 0);
  EXPECT_THAT(tessarin({"plan", "--format", "prores", "x.mov"}).out, HasSubstr("pr1280x720p25"));

  std::filesystem::create_directories(folder.file("home/config/Tessarin/presets"));
  const auto preset = [](const std::string& size) {
    return "<plist version=\"1.0\"><dict><key>format</key><string>prores</string><key>prores</key>"
           "<string>LT</string><key>size</key><string>" +
           size + "</string></dict></plist>";
  };
  folder.write("home/config/Tessarin/presets/my tapes.plist", preset("720p25"));
  folder.write("wrong.plist", preset("800p"));
  EXPECT_THAT(tessarin({"plan", "--preset", "my tapes", "x.mov"}).out,
              HasSubstr("prLt1280x720p25"));
  EXPECT_THAT(tessarin({"plan", "--preset", "my tapes", "--prores", "hq", "x.mov"}).out,
              HasSubstr("prHd1280x720p25"));
  EXPECT_THAT(tessarin({"plan", "--preset", "tapes", "x.mov"}).err,
              HasSubstr("(there are: my tapes)"));
  EXPECT_THAT(tessarin({"plan", "--preset", "./wrong.plist", "x.mov"}).err,
              HasSubstr("size = 800p"));
}

TEST_F(AnalyseJourney, JsonHoldsTheWholeRecord) {
  const std::string clip = tinyClip("x.mts");
  const Result result = tessarin({"--json", "analyse", clip});
  EXPECT_EQ(result.status, 0);
  const json event = json::parse(result.out, nullptr, false);
  ASSERT_TRUE(event.is_object()) << result.out;
  EXPECT_EQ(event["event"], "analysed");
  EXPECT_EQ(event["source"], clip);
  EXPECT_EQ(event["progressive"], false);
  EXPECT_EQ(event["target"], "prores");
  EXPECT_EQ(event["speed"], "full");
  const json& record = event["record"];
  EXPECT_EQ(record["wrapper"], "mpegts");
  EXPECT_EQ(record["v0_width"], 352);
  EXPECT_EQ(record["v0_fps"], 50.0);
  EXPECT_EQ(record["v0_fields"], "Top field first");
  EXPECT_EQ(record["a0_channels"], 2);
  for (const auto& [key, value] : record.items())
    EXPECT_FALSE(value.is_string() && contains(value.get<std::string>(), folder.path()))
        << key << " leads into our temporary folder";
}

TEST_F(AnalyseJourney, BadInputIsToldInALineEachAndTheRestGoesOn) {
  const std::string clip = tinyClip("good.mts");
  folder.write("card/text.mp4", "Dear diary");
  folder.write("card/text.mts", "Dear diary");
  folder.write("card/empty.mts", "");
  folder.write("card/notes.txt", "no movie, and not asked about");
  ASSERT_EQ(::mkfifo(folder.file("card/pipe.mts").c_str(), 0600), 0);
  folder.write("card/dir.mts/notes.txt", "");
  ASSERT_TRUE(test::makeClip(test::progressivePicture("320x240", "0.2") + "-c:v mpeg4 -f mov",
                             folder.file("whole.mov")));
  const std::string whole = folder.read("whole.mov");
  folder.write("card/cut.mov", whole.substr(0, whole.size() / 2));
  folder.write("folder/notes.txt", "Dear diary");
  ASSERT_TRUE(test::makeClip(test::tone("0.2") + "-c:a aac -f mp4", folder.file("sound.mp4")));

  const Result result = tessarin({"plan", "gone.mts", "card", "card/pipe.mts", "card/dir.mts",
                                  "folder", "folder/notes.txt", "sound.mp4", "", clip});
  EXPECT_EQ(result.status, 1);
  const std::string card = "tessarin: " + folder.file("card/");
  EXPECT_THAT(
      result.errorLines(),
      ElementsAre(
          "tessarin: gone.mts: there is no such file",
          "tessarin: card/pipe.mts: this is not a file that can be read to its end",
          "tessarin: card/dir.mts: there are no movies in this folder",
          "tessarin: folder: there are no movies in this folder",
          "tessarin: folder/notes.txt: the extension of the name is not that of a movie",
          "tessarin: : there is no such file",
          card + "cut.mov: the movie is incomplete: its index is missing, as after a recording "
                 "that was cut off",
          card + "empty.mts: the file is empty",
          card + "pipe.mts: this is not a file that can be read to its end",
          card + "text.mp4: this is not a movie that ffmpeg can read",
          card + "text.mts: this is not a movie that ffmpeg can read",
          "tessarin: " + folder.file("sound.mp4") +
              ": there is no picture in it, so there is nothing to convert"));
  ASSERT_EQ(result.lines().size(), 3u) << result.out;
  EXPECT_EQ(result.lines()[0], "# " + clip + ": ProRes 352x288i 50, PCM 2x48000");
  EXPECT_THAT(result.lines()[2], HasSubstr("-i " + clip));
}

class OptionsJourney : public test::Journey {
 protected:
  // The commands for an interlaced clip with sound of six channels.
  std::string plan(const Arguments& options) {
    Arguments arguments = {"plan", "x.mts"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Result result = tessarin(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  void SetUp() override {
    ASSERT_TRUE(test::makeClip(
        test::interlacedPicture("352x288", "0.2") +
            "-f lavfi -i anullsrc=r=48000:cl=5.1:d=0.2 -c:v mpeg2video -flags +ildct+ilme -top 1 "
            "-c:a ac3 -f mpegts",
        folder.file("x.mts")));
  }
};

TEST_F(OptionsJourney, ReachTheCommands) {
  const std::string usual = plan({});
  EXPECT_THAT(usual, HasSubstr(" -profile 2 -flags +ildct+ilme "));
  EXPECT_THAT(usual, HasSubstr(" -ac 2 "));
  EXPECT_THAT(usual, HasSubstr(" " + folder.file("home/Movies/Tessarin/x.mov\n")));
  EXPECT_THAT(plan({"--prores", "proxy", "--prores=HQ"}), HasSubstr(" -profile 3 "));
  EXPECT_THAT(plan({"--surround"}), testing::Not(HasSubstr(" -ac 2 ")));
  EXPECT_THAT(plan({"--size", "720p50"}), HasSubstr("scale=1280:720"));
  EXPECT_THAT(plan({"--speed", "slow"}), HasSubstr("setpts=2"));
  EXPECT_THAT(plan({"--destination", "~/here"}), HasSubstr(folder.file("home/here/Tessarin/")));
}

TEST_F(OptionsJourney, StandAboveTheStoredChoices) {
  const std::string stored = "home/config/Tessarin/preferences.plist";
  ASSERT_TRUE(mkdir(folder.file("home/config/Tessarin")));
  FileUserDomain domain(folder.file(stored), nullptr);
  domain.write(PrefKey::surround, 1);
  domain.write(PrefKey::prores, "apch");
  ASSERT_TRUE(domain.synchronize());
  const std::string bytes = folder.read(stored);

  const std::string chosen = plan({});
  EXPECT_THAT(chosen, HasSubstr(" -profile 3 "));
  EXPECT_THAT(chosen, testing::Not(HasSubstr(" -ac 2 ")));
  const std::string asked = plan({"--prores", "lt", "--no-surround"});
  EXPECT_THAT(asked, HasSubstr(" -profile 1 "));
  EXPECT_THAT(asked, HasSubstr(" -ac 2 "));
  EXPECT_EQ(folder.read(stored), bytes);
}

TEST_F(AnalyseJourney, TheWayBackFromALinkedFolderIsItsOwn) {
  const std::string clip = tinyClip("card/clips/x.mts");
  std::filesystem::create_directory_symlink(folder.file("card/clips"), folder.file("link"));
  tinyClip("card/y.mts");
  const Result result = tessarin({"--json", "analyse", "link/../y.mts", "./link/x.mts"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("\"" + folder.file("link/../y.mts") + "\""));
  EXPECT_THAT(result.out, HasSubstr("\"" + folder.file("link/x.mts") + "\""));
}

}  // namespace
}  // namespace tessarin
