// Cards with a file for the pictures and one for each channel of sound.
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

}  // namespace
}  // namespace tessarin
