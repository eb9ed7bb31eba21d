// Recordings that the camera cut into several files: one movie, as of the uncut stream.
#include <signal.h>

#include <filesystem>

#include "Journey.h"
#include "support/shell.h"
#include "tools/cardBytes.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr std::size_t packet = 192;

// A recording as AVCHD has it, with pictures that hang on others across the borders of groups.
std::string recordingBytes(const test::ScopedTemporaryFolder& folder, const std::string& size) {
  const std::string path = folder.file("made.m2ts");
  EXPECT_TRUE(test::makeClip(test::progressivePicture(size, "3") +
                                 "-f lavfi -i \"aevalsrc=sin(6.28*t*(300+200*t))|"
                                 "sin(6.28*t*(900-200*t)):s=48000:d=3\" "
                                 "-c:v libx264 -preset veryfast -bf 2 -g 12 "
                                 "-x264-params open-gop=1 -c:a ac3 -b:a 192k "
                                 "-f mpegts -mpegts_m2ts_mode 1",
                             path));
  std::string bytes = folder.read("made.m2ts");
  std::filesystem::remove(path);
  return bytes;
}

// The first packet from this one on that is in the middle of a unit of this stream.
std::size_t insideUnit(const std::string& bytes, std::size_t number, int stream) {
  const auto byte = [&](std::size_t at) {
    return static_cast<std::uint8_t>(bytes.at(number * packet + 4 + at));
  };
  while (((byte(1) & 0x5F) << 8 | byte(2)) != stream)
    ++number;
  return number;
}

class SpannedJourney : public test::Journey {
 protected:
  std::string card(const std::string& name = "") const {
    return folder.file("card/PRIVATE/AVCHD/BDMV/" + name);
  }
  std::string clip(int number) const {
    return card("STREAM/0000" + std::to_string(number) + ".MTS");
  }
  // A recording of three files, the first cut inside a picture, the second inside a frame of sound,
  // behind a whole one.
  // Behind the cuts the last `repeated` packets come once more.
  void makeCard(std::size_t repeated = 0) {
    const std::string whole = recordingBytes(folder, "1280x720");
    const std::size_t first = packet * insideUnit(whole, whole.size() / packet / 3, 0x1011);
    const std::size_t second = packet * insideUnit(whole, whole.size() / packet / 2, 0x1100);
    folder.write("uncut.MTS", whole);
    const auto write = [&](int number, const std::string& bytes) {
      folder.write("card/PRIVATE/AVCHD/BDMV/STREAM/0000" + std::to_string(number) + ".MTS", bytes);
    };
    write(0, recordingBytes(folder, "640x360"));
    write(1, whole.substr(0, first));
    write(2, whole.substr(first - repeated * packet, second - first + repeated * packet));
    write(3, whole.substr(second - repeated * packet));
    write(4, whole);  // of which no playlist knows
    writeList({1, 5, 6, 6});
  }
  void writeList(const std::vector<int>& connections) {
    std::vector<test::CardClip> clips;
    for (std::size_t number = 0; number < connections.size(); ++number)
      clips.push_back({"0000" + std::to_string(number), "", connections[number]});
    folder.write("card/PRIVATE/AVCHD/BDMV/PLAYLIST/00000.MPL", test::playlistBytes(clips));
  }
  // What the lines of an analysis say of each clip: its name, and its parts.
  std::vector<std::string> listed(const Arguments& arguments) {
    Arguments command{"analyse"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Result result = tessarin(command);
    std::vector<std::string> clips;
    for (const std::string& line : result.lines())
      if (line.ends_with(".MTS"))
        clips.push_back(line.starts_with("           parts: ") ? "+" : fileName(line));
    return clips;
  }
  // Converts, and says of the only movie what is seen and heard in it.
  std::string made(const Arguments& arguments) {
    std::filesystem::remove_all(destination());
    Arguments command{"-d", destination()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Result result = tessarin(command);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.lines(), SizeIs(1));
    return sumsOfMovie();
  }
  std::string sumsOfMovie() const {
    std::vector<std::string> names = movies();
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".mov"); });
    EXPECT_THAT(names, SizeIs(1));
    const std::string path = names.empty() ? "" : test::quoted(movie(names.front()));
    return test::runShell("for kind in v a; do ffmpeg -v error -i " + path +
                          " -map 0:$kind -f md5 -; done; ffprobe -v error -show_entries "
                          "stream=nb_frames,start_time " +
                          path)
        .output;
  }
};

TEST_F(SpannedJourney, MakesTheMovieOfTheUncutRecording) {
  makeCard();
  std::string last;
  for (const char* format : {"quicktime", "prores", "aic"}) {
    SCOPED_TRACE(format);
    if (format == std::string_view("aic"))
      makeCard(120);
    const std::string uncut = made({"--format", format, folder.file("uncut.MTS")});
    EXPECT_THAT(uncut, HasSubstr("nb_frames=75"));
    last = made({"--format", format, clip(3), clip(1), clip(2)});
    EXPECT_EQ(last, uncut);
  }
  for (const std::string& name : movies())
    if (name.ends_with(".txt")) {
      EXPECT_THAT(folder.read("movies/Tessarin/" + name),
                  HasSubstr(clip(1) + "\nsource              : " + clip(2) + "\nsource"));
    }
  // And so do the commands that a plan shows.
  std::filesystem::remove_all(destination());
  const Result plan =
      tessarin({"plan", "-d", destination(), "--format", "aic", clip(1), clip(2), clip(3)});
  EXPECT_EQ(test::runShell("cd / && (" + plan.out + ") >/dev/null 2>&1").status, 0) << plan.out;
  EXPECT_EQ(sumsOfMovie(), last);
}

TEST_F(SpannedJourney, ACardIsTheSameListFromWhereverItIsTaken) {
  makeCard();
  const auto list = ElementsAre("00000.MTS", "00001.MTS", "+", "00004.MTS");
  for (const std::string& place :
       {folder.file("card"), folder.file("card/PRIVATE/AVCHD"), card(), card("STREAM")})
    EXPECT_THAT(listed({place}), list) << place;
  EXPECT_THAT(listed({clip(0), clip(1), clip(2), clip(3), clip(4)}), list);
  EXPECT_THAT(listed({"--parts", card()}), SizeIs(5));
  EXPECT_THAT(listed({clip(2)}), ElementsAre("00002.MTS"));
  EXPECT_THAT(tessarin({"analyse", "--json", clip(1), clip(2)}).out,
              HasSubstr("\"parts\":[\"" + clip(1) + "\",\"" + clip(2) + "\"]"));
}

TEST_F(SpannedJourney, WhatDoesNotFitStaysApartAndIsTold) {
  makeCard();
  // The list says that all is one recording: the second begins anew, with another size; the last
  // one goes back to the beginning.
  writeList({1, 6, 6, 6, 6});
  EXPECT_THAT(listed({card()}), ElementsAre("00000.MTS", "00001.MTS", "+", "00004.MTS"));
  const std::string told = tessarin({"analyse", "--json", card()}).out;
  EXPECT_EQ(split(told, "seems to go on").size() - 1, 2u) << told;
  // And where the one between is missing nothing is one.
  std::filesystem::remove(clip(2));
  EXPECT_THAT(listed({card()}), SizeIs(4));
}

TEST_F(SpannedJourney, APartThatGoesMissingIsNamed) {
  makeCard();
  const std::string batch = folder.file("batch.plist");
  ASSERT_EQ(tessarin({"-d", destination(), "--batch", batch, card("STREAM")}).status, 0);
  std::filesystem::rename(clip(2), folder.file("away"));
  const Result result = tessarin({"--batch", batch});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errorLines(),
              ElementsAre("tessarin: " + clip(1) + ": 00002.MTS: there is no such file"));
  EXPECT_THAT(result.lines(), SizeIs(2));
  std::filesystem::rename(folder.file("away"), clip(2));
  // So is one that has become another of the same size, as all but the last are.
  const auto change = [](const std::string& path, std::chrono::seconds by) {
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + by);
  };
  for (const int number : {1, 2}) {
    change(clip(number), std::chrono::seconds(100));
    EXPECT_THAT(tessarin({"--batch", batch}).errorLines(),
                ElementsAre(testing::AllOf(HasSubstr(clip(1) + ": "),
                                           HasSubstr("changed or exchanged since"))));
    change(clip(number), -std::chrono::seconds(100));
  }
  change(clip(2), std::chrono::hours(1));  // another zone
  EXPECT_THAT(tessarin({"--batch", batch}).out, HasSubstr(clip(1) + " -> "));
}

// The chapters of an action camera.
class ChapterJourney : public SpannedJourney {
 protected:
  ChapterJourney() { setVariable("XDG_STATE_HOME", folder.file("state")); }
  std::string chapter(int number) const {
    return folder.file("GoPro für uns/GX0" + std::to_string(number) + "0042.MP4");
  }
  void makeChapters() {
    EXPECT_TRUE(test::makeClip(test::progressivePicture("1280x720", "3") +
                                   "-f lavfi -i \"aevalsrc=sin(6.28*t*(300+200*t)):s=48000:d=3\" "
                                   "-c:v libx264 -preset veryfast -bf 2 -g 10 -c:a pcm_s16le "
                                   "-metadata creation_time=2024-05-06T07:08:09Z -f mov",
                               folder.file("uncut.MP4")));
    folder.write("GoPro für uns/GX010007.MP4", folder.read("uncut.MP4"));
    EXPECT_EQ(test::runShell("ffmpeg -v error -i " + test::quoted(folder.file("uncut.MP4")) +
                             " -map 0 -c copy -f segment -segment_times 0.9,1.9 "
                             "-segment_start_number 1 -segment_format mov -reset_timestamps 1 "
                             "-metadata creation_time=2024-05-06T07:08:09Z " +
                             test::quoted(folder.file("GoPro für uns/GX%02d0042.MP4")))
                  .status,
              0);
  }
};

TEST_F(ChapterJourney, MakesTheMovieOfTheUncutRecordingEvenAfterAKill) {
  makeChapters();
  std::string uncut;
  for (const char* format : {"aic", "prores", "quicktime"}) {
    SCOPED_TRACE(format);
    uncut = made({"--format", format, folder.file("uncut.MP4")});
    EXPECT_THAT(uncut, HasSubstr("nb_frames=75"));
    EXPECT_EQ(made({"--format", format, chapter(2), chapter(3), chapter(1)}), uncut);
  }
  std::filesystem::remove_all(destination());
  useFfmpeg(
      "case \" $* \" in *' -c:v '*) if test -e slow; then\n"
      "  for output; do :; done; echo partial > \"$output\"; exec sleep 100\n"
      "fi ;; esac\n"
      "exec $real \"$@\"");
  folder.write("slow", "");
  setVariable("PWD", folder.path());
  leavesTemporaryFiles = true;
  Run run =
      start({"-d", destination(), "--format", "quicktime", chapter(1), chapter(2), chapter(3)});
  ASSERT_TRUE(eventually([this] { return isBeingMade("GX010042.mov"); }));
  run.process.sendSignal(SIGKILL);
  finish(run);
  std::filesystem::remove(folder.file("slow"));
  const Result recovered = tessarin({"--recover"});
  EXPECT_EQ(recovered.status, 0) << recovered.err;
  EXPECT_EQ(sumsOfMovie(), uncut);
}

TEST_F(ChapterJourney, AreToldWhereTheyDoNotFit) {
  makeChapters();
  const std::string card = folder.file("GoPro für uns");
  const std::string all = tessarin({"analyse", card}).out;
  EXPECT_THAT(all, HasSubstr("parts: GX010042.MP4, GX020042.MP4, GX030042.MP4"));
  EXPECT_THAT(all, testing::Not(HasSubstr("seems to go on")));
  const auto doubts = [&] {
    return split(tessarin({"analyse", "--json", card}).out, "seems to go on").size() - 1;
  };
  // The second is another recording by its time; then it is gone.
  EXPECT_EQ(test::runShell("ffmpeg -v error -i " + test::quoted(chapter(2)) +
                           " -c copy -f mov -metadata creation_time=2024-05-06T09:00:00Z " +
                           test::quoted(folder.file("later.MP4")))
                .status,
            0);
  std::filesystem::rename(folder.file("later.MP4"), chapter(2));
  EXPECT_EQ(doubts(), 2u);
  std::filesystem::remove(chapter(2));
  EXPECT_EQ(doubts(), 1u);
}

TEST_F(ChapterJourney, StayApartWhereTheirTimeCodesDoNotMeet) {
  makeChapters();
  const auto setCode = [&](int number, const std::string& code) {
    EXPECT_EQ(test::runShell("ffmpeg -v error -i " + test::quoted(chapter(number)) +
                             " -map 0:v -map 0:a -c copy -f mov -timecode " + code +
                             " -metadata creation_time=2024-05-06T07:08:09Z " +
                             test::quoted(folder.file("coded.MP4")))
                  .status,
              0);
    std::filesystem::rename(folder.file("coded.MP4"), chapter(number));
  };
  const std::string card = folder.file("GoPro für uns");
  const auto partsOf = [&] { return tessarin({"analyse", card}).out; };
  setCode(1, "23:59:59:00");
  setCode(2, "00:00:00:05");
  setCode(3, "00:00:01:00");
  EXPECT_THAT(partsOf(), HasSubstr("parts: GX010042.MP4, GX020042.MP4, GX030042.MP4"));
  std::filesystem::rename(chapter(2), folder.file("away"));
  std::filesystem::rename(chapter(3), chapter(2));
  std::filesystem::rename(folder.file("away"), chapter(3));
  const std::string swapped = partsOf();
  EXPECT_THAT(swapped, testing::Not(HasSubstr("parts:")));
  EXPECT_EQ(split(swapped, "seems to go on").size() - 1, 2u) << swapped;
  EXPECT_EQ(split(swapped, "a later part").size() - 1, 2u) << swapped;
}

// Memory camcorders give each part of a recording a folder, and tell the time code beside it.
TEST_F(ChapterJourney, OfFoldersOfTheirOwnAreOneMovie) {
  makeChapters();
  const auto take = [this](int number) {
    return folder.file("EX für uns/BPAV/CLPR/709_0001_0") + std::to_string(number) + "/709_0001_0" +
           std::to_string(number);
  };
  const auto setCode = [&](int number, const std::string& digits) {
    folder.write(take(number).substr(folder.path().size() + 1) + "M01.XML",
                 "<NonRealTimeMeta><CreationDate value=\"2013-04-05T06:07:08+09:00\"/>"
                 "<LtcChangeTable tcFps=\"25\"><LtcChange frameCount=\"0\" value=\"" +
                     digits + "\" status=\"increment\"/></LtcChangeTable></NonRealTimeMeta>");
  };
  setCode(1, "00000010");
  setCode(2, "05010010");
  setCode(3, "00020010");
  for (const int number : {1, 2, 3})
    std::filesystem::rename(chapter(number), take(number) + ".MP4");
  const std::string card = folder.file("EX für uns");
  const std::string uncut = made({"--format", "aic", folder.file("uncut.MP4")});
  EXPECT_EQ(made({"--format", "aic", card}), uncut);
  std::filesystem::remove_all(destination());
  const std::string batch = folder.file("batch.plist");
  ASSERT_EQ(tessarin({"-d", destination(), "--batch", batch, "--format", "aic", card}).status, 0);
  EXPECT_THAT(tessarin({"--batch", batch}).out, HasSubstr("709_0001_01.MP4 -> "));
  setCode(3, "00030010");
  const auto expectApart = [&] {
    EXPECT_THAT(tessarin({"analyse", card}).out,
                testing::AllOf(HasSubstr("parts: 709_0001_01.MP4, 709_0001_02.MP4\n"),
                               HasSubstr("seems to go on"), HasSubstr("a later part")));
  };
  expectApart();
  // Without time codes the list of the card counts, which has less than all of the third.
  for (const int number : {1, 2, 3})
    std::filesystem::remove(take(number) + "M01.XML");
  const std::string ref = "<ref clipBegin=\"smpte-25=00:00:00:0";
  folder.write(
      "EX für uns/BPAV/TAKR/709_0001/709_0001.SMI",
      "<smil><body><par>" + ref + "0\"/>" + ref + "0\"/>" + ref + "1\"/></par></body></smil>");
  expectApart();
}

// Others put all parts into the folder of the recording.
TEST_F(SpannedJourney, OfAFolderWithNumberedPartsIsOneMovie) {
  // Groups of ten pictures, which hang on no others.
  const std::string pictures = folder.file("pictures.m2v");
  ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "2.4") +
                                 "-pix_fmt yuv422p -c:v mpeg2video -q:v 3 -bf 2 -g 10 -flags +cgop "
                                 "-sc_threshold 1000000000 -f mpeg2video",
                             pictures));
  const std::string stream = folder.read("pictures.m2v");
  std::vector<std::size_t> groups;
  for (std::size_t at = stream.find(std::string("\0\0\1\xB3", 4)); at != std::string::npos;
       at = stream.find(std::string("\0\0\1\xB3", 4), at + 1))
    groups.push_back(at);
  ASSERT_THAT(groups, SizeIs(6));
  groups.push_back(stream.size());
  const auto make = [&](const std::string& path, std::size_t first, std::size_t end,
                        const std::string& code) {
    const auto samples = [](std::size_t group) { return std::to_string(group * 10 * 1920); };
    folder.write("part.m2v", stream.substr(groups[first], groups[end] - groups[first]));
    EXPECT_TRUE(test::makeClip("-r 25 -i " + test::quoted(folder.file("part.m2v")) +
                                   " -f lavfi -i \"aevalsrc=sin(6.28*t*(300+200*t)):s=48000:d=2.4,"
                                   "atrim=start_sample=" +
                                   samples(first) + ":end_sample=" + samples(end) +
                                   ",asetpts=N/SR/TB\" -map 0 -map 1 -map 1 -c:v copy "
                                   "-c:a pcm_s24le -timecode " +
                                   code + " -f mxf",
                               path));
  };
  const std::string uncut = folder.file("uncut.mxf");
  make(uncut, 0, 6, "23:59:59:00");
  const auto part = [this](int number) {
    return folder.file("XF für uns/CONTENTS/CLIPS001/AA0012/AA00120") + std::to_string(number) +
           ".MXF";
  };
  std::filesystem::create_directories(parentFolder(part(1)));
  make(part(1), 0, 2, "23:59:59:00");
  make(part(2), 2, 4, "23:59:59:20");
  make(part(3), 4, 6, "00:00:00:15");
  const std::string card = folder.file("XF für uns");
  for (const char* format : {"quicktime", "aic"})
    EXPECT_EQ(made({"--format", format, "--speed", "full", card}),
              made({"--format", format, "--speed", "full", uncut}));
  const auto told = [&] { return tessarin({"analyse", card}).out; };
  EXPECT_THAT(told(), HasSubstr("parts: AA001201.MXF, AA001202.MXF, AA001203.MXF\n"));
  make(part(3), 4, 6, "00:00:00:16");
  EXPECT_THAT(told(), testing::AllOf(HasSubstr("parts: AA001201.MXF, AA001202.MXF\n"),
                                     HasSubstr("seems to go on"), HasSubstr("a later part")));
  std::filesystem::remove(part(2));
  EXPECT_EQ(split(told(), "seems to go on").size() - 1, 1u);
}

}  // namespace
}  // namespace tessarin
