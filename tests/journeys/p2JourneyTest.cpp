// Cards with a file for the pictures and one for each channel of sound.
#include <cmath>
#include <filesystem>

#include "Journey.h"
#include "support/p2Card.h"
#include "support/shell.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class P2Journey : public test::Journey {
 protected:
  std::string card(const std::string& name = "") const {
    return folder.file("Karte für später/CONTENTS/" + name);
  }
  std::string pictures(const std::string& clip = "0001AB") const {
    return card("VIDEO/" + clip + ".MXF");
  }
  std::string sound(int channel) const {
    return card("AUDIO/0001AB0" + std::to_string(channel) + ".MXF");
  }
  static void make(const std::string& options, const std::string& path) {
    std::filesystem::create_directories(parentFolder(path));
    ASSERT_TRUE(test::makeClip(options + " -f mxf_opatom", path));
  }
  // Each channel has a tone of its own, which changes all the time.
  void makeSounds(const std::string& clip, int channels, int first = 0) const {
    for (int channel = first; channel < first + channels; ++channel)
      make("-f lavfi -i \"aevalsrc=sin(6.28*t*(" + std::to_string(300 + 150 * channel) +
               "+200*t)):s=48000:d=1\" -c:a pcm_s16le",
           card("AUDIO/" + clip + "0" + std::to_string(channel) + ".MXF"));
  }
  void makePictures(const std::string& clip) const {
    make(test::interlacedPicture("720x576", "1") +
             "-pix_fmt yuv422p -c:v dvvideo -flags +ildct+ilme",
         pictures(clip));
  }
  void writeXml(const test::P2Xml& xml, const std::string& name = "") {
    folder.write("Karte für später/CONTENTS/CLIP/" + (name.empty() ? xml.name : name) + ".XML",
                 test::p2Xml(xml));
  }
  void makeCard() {
    makePictures("0001AB");
    makeSounds("0001AB", 2);
    writeXml({});
  }
  std::string analysed(const Arguments& arguments) {
    Arguments command{"analyse", "--json"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return tessarin(command).out;
  }
  // What is seen and heard in the only movie.
  std::string made(const Arguments& arguments) {
    std::filesystem::remove_all(destination());
    Arguments command{"-d", destination()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Result result = tessarin(command);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return sumsOfMovie();
  }
  std::string sumsOfMovie() const {
    std::vector<std::string> names = movies();
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".mov"); });
    EXPECT_THAT(names, SizeIs(1));
    return names.empty() ? "" : sums({movie(names.front())}, "0:v 0:a:0 0:a:1");
  }
  static std::string sums(const std::vector<std::string>& files, const std::string& streams) {
    std::string inputs;
    for (const std::string& file : files)
      inputs += " -i " + test::quoted(file);
    return test::runShell("for stream in " + streams + "; do ffmpeg -v error" + inputs +
                          " -map $stream -c:a pcm_s16le -f md5 -; done")
        .output;
  }
};

TEST_F(P2Journey, PicturesAndSoundBecomeOneMovie) {
  makeCard();
  // The same in one file.
  const std::string whole = folder.file("whole.mxf");
  ASSERT_TRUE(test::makeClip("-i " + test::quoted(pictures()) + " -i " + test::quoted(sound(0)) +
                                 " -i " + test::quoted(sound(1)) +
                                 " -map 0 -map 1 -map 2 -c copy -f mxf",
                             whole));
  for (const auto& [format, speed] : {std::pair{"prores", "slow"}, std::pair{"aic", "full"}}) {
    SCOPED_TRACE(format);
    EXPECT_EQ(made({"--format", format, "--speed", speed, pictures()}),
              made({"--format", format, "--speed", speed, whole}));
  }
  const std::string movie = made({"--format", "aic", card()});
  EXPECT_THAT(movie, testing::EndsWith(sums({sound(0), sound(1)}, "0:a 1:a")));
  // And so do the commands that a plan shows.
  std::filesystem::remove_all(destination());
  const Result plan = tessarin({"plan", "-d", destination(), "--format", "aic", card()});
  EXPECT_EQ(test::runShell("cd / && (" + plan.out + ") >/dev/null 2>&1").status, 0) << plan.out;
  EXPECT_EQ(sumsOfMovie(), movie);
  // Copies are the same picture by picture, and sample by sample.
  make(test::progressivePicture("1280x720", "1", "50") +
           "-pix_fmt yuv422p10 -c:v libx264 -x264-params avcintra-class=100",
       pictures());
  EXPECT_EQ(made({"--format", "quicktime", "--speed", "full", pictures()}),
            sums({pictures(), sound(0), sound(1)}, "0:v 1:a 2:a"));
  // DVCPRO HD stores them narrower than they are shown.
  make(
      test::progressivePicture("960x720", "1", "50") + "-aspect 16:9 -pix_fmt yuv422p -c:v dvvideo",
      pictures());
  EXPECT_EQ(made({"--format", "quicktime", "--speed", "full", pictures()}),
            sums({pictures(), sound(0), sound(1)}, "0:v 1:a 2:a"));
}

TEST_F(P2Journey, ACardIsAListOfClipsFromWhereverItIsTaken) {
  makeCard();
  makePictures("0002CD");  // without sound
  writeXml({.name = "0002CD", .sounds = 0});
  for (const std::string& place :
       {folder.file("Karte für später"), card(), card("VIDEO"), pictures()}) {
    const std::string told = analysed({place});
    EXPECT_THAT(split(told, "\"event\":\"analysed\""), SizeIs(place == pictures() ? 2 : 3)) << told;
    EXPECT_THAT(told, HasSubstr("\"soundFiles\":[\"" + sound(0) + "\",\"" + sound(1) + "\"]"));
    EXPECT_THAT(told, HasSubstr("\"recorded\":\"2006-05-27 16:06:13\""));
    EXPECT_THAT(told, HasSubstr("\"recordedZone\":\"+0900\""));
    EXPECT_THAT(told, HasSubstr("\"cameraModel\":\"AG-HVX200\""));
    EXPECT_THAT(told, HasSubstr("\"clipTitle\":\"Überfahrt & Hafen\""));
    EXPECT_THAT(told, HasSubstr("\"place\":\"+34.7500+135.5000/\""));
  }
  // Who wants files apart gets them.
  EXPECT_THAT(split(analysed({"--parts", card()}), "\"event\":\"analysed\""), SizeIs(5));
}

TEST_F(P2Journey, WhatIsMissingOrInDoubtIsTold) {
  makeCard();
  makeSounds("0001AB", 1, 2);
  // A third file, of which the XML does not know, stays a clip of its own.
  EXPECT_THAT(split(analysed({card()}), "\"event\":\"analysed\""), SizeIs(3));
  writeXml({.sounds = 4});
  EXPECT_THAT(analysed({card()}), HasSubstr("missing or cannot be read: 1"));
  // An XML that speaks of another clip says nothing of this one, and no link is followed.
  writeXml({.name = "0002CD", .sounds = 1}, "0001AB");
  std::filesystem::rename(sound(2), folder.file("elsewhere.MXF"));
  std::filesystem::create_symlink(folder.file("elsewhere.MXF"), sound(2));
  const std::string told = analysed({pictures()});
  EXPECT_THAT(told, HasSubstr("taken by their names: 2"));
  EXPECT_THAT(told, Not(HasSubstr(sound(2))));
  // What is no sound does not keep the others out.
  writeXml({});
  folder.write("Karte für später/CONTENTS/AUDIO/0001AB01.MXF", "nothing");
  EXPECT_THAT(analysed({pictures()}),
              testing::AllOf(HasSubstr("missing or cannot be read: 1"), HasSubstr(sound(0))));
}

TEST_F(P2Journey, AFileWithSoundThatGoesMissingOrChangesIsNamed) {
  makeCard();
  const std::string batch = folder.file("batch.plist");
  ASSERT_EQ(tessarin({"-d", destination(), "--batch", batch, card()}).status, 0);
  std::filesystem::rename(sound(1), folder.file("away"));
  EXPECT_THAT(tessarin({"--batch", batch}).errorLines(),
              ElementsAre("tessarin: " + pictures() + ": 0001AB01.MXF: there is no such file"));
  folder.write("Karte für später/CONTENTS/AUDIO/0001AB01.MXF", "something");
  EXPECT_THAT(tessarin({"--batch", batch}).err, HasSubstr("0001AB01.MXF: "));
  std::filesystem::rename(folder.file("away"), sound(1));
  EXPECT_THAT(tessarin({"--batch", batch}).out, HasSubstr(pictures() + " -> "));
  // Of a file that was cut the movie has what there is, and says so.
  std::filesystem::resize_file(sound(1), 40000);
  const Result cut = tessarin({"-d", destination(), "--overwrite", "replace", pictures()});
  EXPECT_THAT(cut.out + cut.err, HasSubstr("sound"));
}

// A recording that goes on in other clips, also of other cards.
class SpannedP2Journey : public P2Journey {
 protected:
  struct Part {
    std::string card;
    std::string clip;
    int begin;
    int end;
  };
  std::string card(const std::string& name) const { return folder.file("Karte " + name + "/"); }
  std::string pictures(const Part& part) const {
    return card(part.card) + "CONTENTS/VIDEO/" + part.clip + ".MXF";
  }
  static std::string sound(const std::string& pictures, int channel) {
    return replaceAll(withoutExtension(pictures), "/VIDEO/", "/AUDIO/") + "0" +
           std::to_string(channel) + ".MXF";
  }
  void makePart(const Part& part, const std::string& path, double rate) const {
    const bool isEuropean = rate == 25;
    make(test::interlacedPicture(isEuropean ? "720x576" : "720x480", "3",
                                 isEuropean ? "50" : "60000/1001") +
             "-vf trim=start_frame=" + std::to_string(part.begin) +
             ":end_frame=" + std::to_string(part.end) +
             ",setpts=PTS-STARTPTS -c:v dvvideo -pix_fmt " + (isEuropean ? "yuv422p" : "yuv411p"),
         path);
    for (const int channel : {0, 1})
      make("-f lavfi -i \"aevalsrc=sin(6.28*t*(" + std::to_string(300 + 150 * channel) +
               "+200*t)):s=48000:d=4,atrim=start_sample=" +
               std::to_string(std::lround(part.begin / rate * 48000)) +
               ":end_sample=" + std::to_string(std::lround(part.end / rate * 48000)) +
               ",asetpts=N/SR/TB\" -c:a pcm_s16le -mxf_audio_edit_rate " +
               (isEuropean ? "25" : "30000/1001"),
           sound(path, channel));
  }
  void makeRecording(const std::vector<Part>& parts, double rate = 25) {
    std::filesystem::create_directories(folder.file("whole/AUDIO"));
    const std::string whole = folder.file("whole/VIDEO/whole.mxf");
    makePart({"", "", 0, parts.back().end}, whole, rate);
    ASSERT_TRUE(test::makeClip(
        "-i " + test::quoted(whole) + " -i " + test::quoted(sound(whole, 0)) + " -i " +
            test::quoted(sound(whole, 1)) + " -map 0 -map 1 -map 2 -c copy -f mxf",
        folder.file("whole.mxf")));
    std::vector<std::string> ids;
    for (std::size_t part = 0; part < parts.size(); ++part)
      ids.push_back("060A2B34-" + std::to_string(part));
    for (std::size_t part = 0; part < parts.size(); ++part) {
      makePart(parts[part], pictures(parts[part]), rate);
      tell(parts[part], {.name = parts[part].clip,
                         .id = ids[part],
                         .connection = test::p2Connection(ids, part),
                         .frames = parts[part].end - parts[part].begin,
                         .offset = parts[part].begin});
    }
  }
  void tell(const Part& part, const test::P2Xml& xml) const {
    folder.write("Karte " + part.card + "/CONTENTS/CLIP/" + part.clip + ".XML", test::p2Xml(xml));
  }
  // How many clips an analysis finds, and what it says of them.
  std::string found(const Arguments& arguments, std::size_t clips) {
    const std::string told = analysed(arguments);
    EXPECT_THAT(split(told, "\"event\":\"analysed\""), SizeIs(clips + 1)) << told;
    return told;
  }
};

// The second card has a clip of the same name as the first.
const std::vector<std::string> spannedCards{"eins", "zwei für später"};

TEST_F(SpannedP2Journey, IsOneMovieAsOfTheUncutRecording) {
  for (const double rate : {25.0, 30000.0 / 1001}) {
    SCOPED_TRACE(rate);
    const std::vector<Part> parts{{spannedCards[0], "0001AB", 0, 31},
                                  {spannedCards[0], "0003CD", 31, 50},
                                  {spannedCards[1], "0001AB", 50, 75}};
    makeRecording(parts, rate);
    for (const char* format : {"prores", "aic"}) {
      SCOPED_TRACE(format);
      const std::string uncut = made({"--format", format, folder.file("whole.mxf")});
      EXPECT_EQ(made({"--format", format, card(spannedCards[1]), card(spannedCards[0])}), uncut);
    }
  }
  const std::string told = found({card(spannedCards[0]), card(spannedCards[1])}, 1);
  EXPECT_THAT(told, Not(HasSubstr("remarks\":[\"")));
  found({"--parts", card(spannedCards[0]), card(spannedCards[1])}, 9);
  const std::string last = card(spannedCards[1]) + "CONTENTS/AUDIO/0001AB01.MXF";
  // What puts them behind each other names the one that it cannot read.
  const std::string first = card(spannedCards[0]) + "CONTENTS/VIDEO/0001AB.MXF";
  const auto gone = test::runShell(test::quoted(test::builtFile("resources/tools/joinmxf")) +
                                   " --ffmpeg $(command -v ffmpeg) " + test::quoted(first) + " " +
                                   test::quoted(folder.file("it's gone.MXF")) + " 2>&1 >/dev/null");
  EXPECT_EQ(gone.status, 1);
  EXPECT_THAT(gone.output, testing::StartsWith("joinmxf: " + first +
                                               ": No such file or directory (it's gone.MXF)\n"));
  // A batch knows all its files, and misses the one that goes.
  const std::string batch = folder.file("batch.plist");
  ASSERT_EQ(tessarin({"-d", destination(), "--batch", batch, card(spannedCards[0]),
                      card(spannedCards[1])})
                .status,
            0);
  std::filesystem::rename(last, folder.file("away"));
  EXPECT_THAT(tessarin({"--batch", batch}).err, HasSubstr("0001AB01.MXF: there is no such file"));
  std::filesystem::rename(folder.file("away"), last);
  EXPECT_THAT(tessarin({"--batch", batch}).out, HasSubstr(" -> "));
}

TEST_F(SpannedP2Journey, StaysApartWhereItsPartsDoNotFit) {
  const std::vector<Part> parts{{"eins", "0001AB", 0, 25}, {"eins", "0002CD", 25, 50}};
  makeRecording(parts);
  const std::vector<std::string> ids{"060A2B34-0", "060A2B34-1"};
  const test::P2Xml second{
      .name = "0002CD", .id = ids[1], .connection = test::p2Connection(ids, 1), .offset = 25};
  found({card("eins")}, 1);
  const auto expectApart = [&](const char* what) {
    const std::string told = found({card("eins")}, 2);
    EXPECT_THAT(told, HasSubstr("seems to go on")) << what;
    EXPECT_THAT(told, HasSubstr("a later part")) << what;
  };
  test::P2Xml other = second;
  other.offset = 24;
  tell(parts[1], other);
  expectApart("another place in the recording");
  other = second;
  other.sounds = 3;
  tell(parts[1], other);
  expectApart("other sounds");
  other = second;
  other.frames = 20;
  tell(parts[1], other);
  expectApart("fewer pictures than are there");
  // Each behind the other, and one behind itself.
  const auto inCircle = [&](std::size_t own, std::size_t another) {
    return test::p2Connection({ids[another], ids[own], ids[another]}, 1);
  };
  other = second;
  other.connection = inCircle(1, 0);
  tell(parts[1], other);
  tell(parts[0], {.id = ids[0], .connection = inCircle(0, 1)});
  const std::string circle = found({card("eins")}, 1);
  EXPECT_THAT(circle, testing::AllOf(HasSubstr("seems to go on"), HasSubstr("a later part")));
  other.connection = inCircle(1, 1);
  tell(parts[1], other);
  found({card("eins")}, 2);
  // A part that is not there is told, whichever it is.
  tell(parts[1], second);
  tell(parts[0], {.id = ids[0], .connection = test::p2Connection(ids, 0)});
  EXPECT_THAT(found({pictures(parts[0])}, 1), HasSubstr("seems to go on"));
  EXPECT_THAT(found({pictures(parts[1])}, 1), HasSubstr("a later part"));
  // Sound that is shorter than the pictures would put what follows out of step.
  make("-f lavfi -i sine=300:r=48000:d=0.8 -c:a pcm_s16le", sound(pictures(parts[0]), 0));
  expectApart("short sound");
}

}  // namespace
}  // namespace tessarin
