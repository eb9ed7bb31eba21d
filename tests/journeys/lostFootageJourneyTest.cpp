// Clips that do not become whole movies, whatever the tools say: nobody is told that they did.
#include <random>

#include "Journey.h"
#include "movie/movieIndex.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LostFootageJourney : public test::Journey {
 protected:
  // Converts the clip where "x.mov" or its like is there already; that has to stay, and the reason
  // is told.
  void refused(const std::string& clip, const std::string& format, const std::string& reason) {
    SCOPED_TRACE(format + ": " + reason);
    std::filesystem::remove_all(destination());
    const std::string old = folder.write("movies/Tessarin/x.mov", "the only movie of it");
    const Result result =
        tessarin({"-d", destination(), "--overwrite", "replace", "--format", format, clip});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.lines(), IsEmpty());
    ASSERT_EQ(result.errorLines().size(), 1u) << result.err;
    EXPECT_THAT(result.err, HasSubstr(reason));
    EXPECT_FALSE(contains(result.err, ".tessarin-")) << "our own folder: " << result.err;
    EXPECT_EQ(readFileStart(old, 100), "the only movie of it");
    for (const std::string& name : movies())
      EXPECT_TRUE(name == "x.mov" || contains(name, "-failure.mov")) << name;
  }

  // What ffmpeg does instead of a conversion, or of decoding for one.
  void convertBy(const std::string& script) {
    useFfmpeg("for last; do :; done\ncase \" $* \" in *' -c:v '* | *' -strict -1 '*)\n" + script +
              "\n;; esac\nexec \"$real\" \"$@\"");
  }

  // Random bytes in a part of the file.
  static void damage(const std::string& path, double place, std::streamoff bytes) {
    std::mt19937 random(1);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(place * poidsFile(path, "o")));
    for (std::streamoff byte = 0; byte < bytes; ++byte)
      file.put(static_cast<char>(random()));
  }
};

TEST_F(LostFootageJourney, AnErrorOfTheDiskIsNoEndOfTheClip) {
  const std::string clip = tinyClip("x.mts", "2");
  const auto half = static_cast<long>(poidsFile(clip, "o") / 2);
  convertBy("export " + test::preloading("failingReads") + " FAILING_PATH=" + test::quoted(clip) +
            " FAILING_FROM=" + std::to_string(half));
  for (const char* format : {"prores", "aic"})
    refused(clip, format, "the clip could not be read to its end (Input/output error)");
}

TEST_F(LostFootageJourney, AnFfmpegThatSaysThatAllIsWellIsNotBelieved) {
  const std::string clip = tinyClip("x.mts", "2");
  setVariable("TESSARIN_PRORES_ENCODER", "ffmpeg");
  const std::pair<const char*, const char*> lies[] = {
      {"head -c 200000 /dev/urandom >\"$last\"; exit 0",
       "what ffmpeg wrote is no movie that could be played"},
      {"exec \"$real\" -t 0.6 \"$@\"", "the movie is 0."},
      {"\"$real\" \"$@\" && \"$real\" -v error -i \"$last\" -c copy -an \"$last.mov\" &&\n"
       "  exec mv \"$last.mov\" \"$last\"",
       "the movie has no sound, and the clip has"},
      {"\"$real\" \"$@\"; exec truncate -s -20000 \"$last\"", "the movie is incomplete"},
      {"kill -SEGV $$", "crashed (signal 11"}};
  for (const auto& [script, reason] : lies) {
    convertBy(script);
    refused(clip, "prores", reason);
  }
  // A copy that the export would read.
  const std::string whole = folder.file("x.mp4");
  ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "1") + "-c:v mpeg4", whole));
  convertBy("exit 0");
  refused(whole, "aic", "ffmpeg wrote no movie");
}

TEST_F(LostFootageJourney, AClipThatWasCutOffIsNoWholeMovie) {
  const std::string cut = folder.file("x.mp4");
  ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "3") + test::tone("3") +
                                 "-c:v mpeg4 -q:v 3 -c:a aac -movflags faststart",
                             cut));
  std::filesystem::resize_file(cut, std::filesystem::file_size(cut) / 2);
  for (const char* format : {"quicktime", "aic"})
    refused(cut, format, "the clip ends early: it promises more than its file holds");
  const std::string noise = folder.write("x.avi", "");
  std::filesystem::resize_file(noise, 100'000);
  damage(noise, 0, 100'000);
  refused(noise, "prores", "this is not a movie that ffmpeg can read");
}

TEST_F(LostFootageJourney, DamageInsideAClipIsToldEverywhere) {
  const std::string clip = tinyClip("x.mts", "2");
  damage(clip, 0.5, 2000);
  const Result result = tessarin({"-d", destination(), clip});
  EXPECT_EQ(result.status, 1) << "a movie was made, but not of all of the clip";
  EXPECT_THAT(result.err, IsEmpty());
  const std::string line = clip + " -> " + movie("x.mov") + " (with ";
  ASSERT_THAT(result.out, testing::StartsWith(line));
  EXPECT_THAT(result.out, HasSubstr("damaged picture"));
  const std::string said = result.out.substr(line.size(), result.out.find(')') - line.size());
  EXPECT_THAT(folder.read("movies/Tessarin/x.txt"), HasSubstr(said));
  const Result again = tessarin({"-d", destination(), "--overwrite", "replace", "--json", clip});
  EXPECT_EQ(again.status, 1);
  EXPECT_THAT(again.out, HasSubstr("\"event\":\"converted\""));
  EXPECT_THAT(again.out, testing::ContainsRegex("\"damagedPictures\":[1-9]"));

  // Whole pictures are decoded by the tool for exports.
  const std::string whole = folder.file("whole.mp4");
  ASSERT_TRUE(test::makeClip(
      test::progressivePicture("1280x720", "1") + "-c:v libx264 -preset ultrafast", whole));
  damage(whole, 0.5, 500);
  for (const char* format : {"prores", "aic"})
    EXPECT_THAT(tessarin({"-d", destination(), "--format", format, whole}).out,
                HasSubstr(" (with "))
        << format;
}

// A trimmed clip with a hole before its first key frame, of which the tools tell as damage; all
// that can be decoded is in the movie, with the sound of that time.
TEST_F(LostFootageJourney, ACutClipWithAHoleKeepsItsPicturesAndSound) {
  ASSERT_TRUE(test::makeClip(test::interlacedPicture("720x576", "4") + test::tone("4") +
                                 "-c:v libx264 -preset superfast -b:v 4M -flags +ildct+ilme "
                                 "-x264-params tff=1:keyint=25:open-gop=1:bframes=2:b-pyramid=none "
                                 "-c:a ac3 -mpegts_m2ts_mode 1 -f mpegts",
                             folder.file("whole.mts")));
  constexpr std::size_t packet = 192;
  const std::string whole = folder.read("whole.mts");
  const std::size_t packets = whole.size() / packet;
  const std::size_t start = packets * 35 / 100 * packet;
  const std::size_t hole = packets * 38 / 100 * packet;
  const std::string clip = folder.write(
      "x.mts", whole.substr(start, hole - start) + whole.substr(hole + packets / 10 * packet));
  const Result result = tessarin({"-d", destination(), "--size", "same", clip});
  EXPECT_THAT(result.out, HasSubstr(" (with ")) << result.err;
  const auto made = readMovieIndex(movie("x.mov"));
  ASSERT_TRUE(made && made->pictures() && !made->sounds().empty()) << result.err;
  EXPECT_EQ(made->pictures()->shown, 25u);
  EXPECT_NEAR(made->sounds().at(0)->seconds, 1, 0.05);
}

// Without a head the first picture looks like one of 525 lines, and bytes that were cut out take
// all behind them out of step.
TEST_F(LostFootageJourney, RawDvIsReadPictureByPicture) {
  const std::string clip = folder.file("x.dv");
  ASSERT_TRUE(test::makeClip(test::interlacedPicture("720x576", "1") + test::tone("1") +
                                 "-c:v dvvideo -c:a pcm_s16le -ac 2 -f dv",
                             clip));
  std::string bytes = folder.read("x.dv");
  bytes.replace(0, 80, 80, '\0');
  bytes.erase(std::size_t{12} * 144'000 + 1000, 30'000);
  folder.write("x.dv", bytes);
  for (const char* format : {"prores", "aic"}) {
    SCOPED_TRACE(format);
    const Result result =
        tessarin({"-d", destination(), "--overwrite", "replace", "--format", format, clip});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr(" (with 2 damaged pictures)")) << result.err;
    const auto made = readMovieIndex(movie("x.mov"));
    ASSERT_TRUE(made && made->pictures() && !made->sounds().empty()) << result.err;
    EXPECT_EQ(made->pictures()->shown, 24u);
    EXPECT_NEAR(made->pictures()->seconds, 0.96, 0.001);
    EXPECT_NEAR(made->sounds().at(0)->seconds, 0.96, 0.01);
  }
}

// Most of the clip is one group of pictures, whose first one is gone.
TEST_F(LostFootageJourney, WhatNoKeyFrameLeadsToIsTold) {
  const std::string clip = folder.file("x.mts");
  ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "3") + test::tone("3") +
                                 "-c:v libx264 -preset ultrafast -g 50 -sc_threshold 0 -c:a ac3 "
                                 "-f mpegts",
                             clip));
  std::string bytes = folder.read("x.mts");
  bytes.replace(3 * 188, 20 * 188, std::string(20 * 188, 0));
  folder.write("x.mts", bytes);
  for (const char* format : {"quicktime", "aic"}) {
    std::filesystem::remove_all(destination());
    const Result result = tessarin({"-d", destination(), "--format", format, clip});
    EXPECT_EQ(result.status, 1) << format;
    EXPECT_THAT(result.out, testing::ContainsRegex("with (49|50) damaged pictures"))
        << format << result.err;
  }
}

TEST_F(LostFootageJourney, WhatAnAviFilePromisesIsComparedWithWhatItHas) {
  const std::string clip = folder.file("x.avi");
  ASSERT_TRUE(test::makeClip(
      test::progressivePicture("352x288", "3") + test::tone("3") + "-c:v mjpeg -c:a pcm_s16le",
      clip));
  const std::string whole = folder.read("x.avi");
  // The size alone may be wrong where nothing is missing.
  std::string wrong = whole;
  wrong[5] = '\xff';
  folder.write("x.avi", wrong);
  EXPECT_EQ(tessarin({"-d", destination(), clip}).status, 0);
  // Zeros that can be read all the same.
  std::string zeros = whole.substr(0, whole.size() * 7 / 10);
  zeros.resize(whole.size());
  folder.write("x.avi", zeros);
  const Result told = tessarin({"-d", destination(), "--overwrite", "replace", clip});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.out, HasSubstr(" damaged pictures)"));
  folder.write("x.avi", whole.substr(0, whole.size() / 2));
  refused(clip, "prores", "the clip ends early");
}

// Sound that does not end with the pictures, a clock that begins again or leaps: nothing is lost
// and nothing comes between, and nothing is told for damage.
TEST_F(LostFootageJourney, RecordingsBehindEachOtherFollowWithoutAPause) {
  struct Case {
    std::string codecs;
    std::string sound;  // seconds
    std::string begin;  // of the second's clock
    std::string speed = "full";
  };
  for (const auto& [codecs, sound, begin, speed] :
       {Case{"-c:v libx264 -preset ultrafast -c:a ac3 -mpegts_m2ts_mode 1", "1", "10"},
        Case{"-c:v mpeg2video -q:v 3 -c:a mp2", "0.9", "3000"},
        Case{"-c:v mpeg2video -q:v 3 -c:a ac3", "1.3", "12", "slow"}}) {
    SCOPED_TRACE(codecs);
    std::string clip;
    for (const std::string& clock : {std::string("10"), begin}) {
      const std::string part = folder.file("part.ts");
      ASSERT_TRUE(test::makeClip(test::progressivePicture("1280x720", "1", "50") +
                                     test::tone(sound) + codecs + " -output_ts_offset " + clock,
                                 part));
      clip += folder.read("part.ts");
    }
    folder.write("x.ts", clip);
    EXPECT_THAT(tessarin({"plan", "-d", destination(), folder.file("x.ts")}).out,
                HasSubstr("-joined "));
    for (const char* format : {"prores", "aic", "quicktime"}) {
      SCOPED_TRACE(format);
      std::filesystem::remove_all(destination());
      const Result result = tessarin({"-d", destination(), "--format", format, "--speed", speed,
                                      "--size", "720p50", folder.file("x.ts")});
      EXPECT_EQ(result.status, 0) << result.out << result.err;
      ASSERT_EQ(movies().size(), 2u) << result.err;
      const auto made = readMovieIndex(movie(movies().front()));
      ASSERT_TRUE(made && made->pictures() && !made->sounds().empty());
      EXPECT_EQ(made->pictures()->shown, 100u);
      EXPECT_NEAR(made->sounds().at(0)->seconds, 1 + std::stod(sound), 0.04);
    }
  }
}

// Packets of both sizes, other numbers for the streams, bytes that are no packets and other sizes
// of the pictures do not matter; what another decoder would have to read is told.
TEST_F(LostFootageJourney, RecordingsOfOtherKindsAreJoinedOrTold) {
  const auto made = [this](const std::string& codecs) {
    EXPECT_TRUE(test::makeClip(test::progressivePicture("352x288", "1", "25") + test::tone("1") +
                                   "-pix_fmt yuv420p " + codecs,
                               folder.file("part.ts")));
    return folder.read("part.ts");
  };
  const std::string h264 = "-c:v libx264 -preset ultrafast ";
  const std::string first = made(h264 + "-c:a ac3 -output_ts_offset 9");
  const std::string stamped = made(h264 + "-c:a ac3 -mpegts_m2ts_mode 1");
  struct Case {
    std::string clip;
    unsigned pictures;
    double sound;
    std::string told;
  };
  for (const auto& [clip, pictures, sound, told] :
       {Case{std::string(5000, 'x') + stamped + first + stamped, 75, 3, ""},
        Case{first + made(h264 + "-s 176x144 -c:a ac3") + first, 75, 3, ""},
        Case{first + made("-c:v mpeg2video -q:v 3 -c:a mp2") + first, 50, 2,
             "(without another movie that follows in the same file)"},
        Case{first + made(h264 + "-c:a mp2") + first, 75, 3, "(with damaged sound)"}}) {
    SCOPED_TRACE(told);
    std::filesystem::remove_all(destination());
    const Result result =
        tessarin({"-d", destination(), "--size", "same", folder.write("x.ts", clip)});
    EXPECT_EQ(result.status, told.empty() ? 0 : 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr(told));
    ASSERT_EQ(movies().size(), 2u) << result.err;
    const auto index = readMovieIndex(movie(movies().front()));
    ASSERT_TRUE(index && index->pictures() && !index->sounds().empty()) << result.err;
    EXPECT_EQ(index->pictures()->shown, pictures);
    EXPECT_NEAR(index->sounds().at(0)->seconds, sound, 0.06);
  }
}

// Files of these formats behind each other in one: ffmpeg reads the first and says nothing.
TEST_F(LostFootageJourney, AMovieBehindTheFirstIsTold) {
  for (const char* format : {"mkv", "mov", "mxf"}) {
    SCOPED_TRACE(format);
    const std::string name = std::string("x.") + format;
    ASSERT_TRUE(test::makeClip(test::progressivePicture("352x288", "1") + "-c:v mpeg2video -q:v 3",
                               folder.file(name)));
    std::filesystem::remove_all(destination());
    EXPECT_EQ(tessarin({"-d", destination(), folder.file(name)}).status, 0);
    std::filesystem::remove_all(destination());
    const Result twice =
        tessarin({"-d", destination(), folder.write(name, folder.read(name) + folder.read(name))});
    EXPECT_EQ(twice.status, 1);
    EXPECT_THAT(twice.out, HasSubstr("(without another movie that follows in the same file)"));
  }
}

// Everything else that may stand in the destination, or come there while a movie is made.
TEST_F(LostFootageJourney, WhatIsInTheDestinationStays) {
  const std::string clip = tinyClip("x.mts");
  const std::string victim = folder.write("victim.mov", "precious");
  convertBy("rm -f \"$SHOWN\"; ln -s " + test::quoted(victim) + " \"$SHOWN\"");
  setVariable("SHOWN", movie("x.mov"));
  folder.write("movies/Tessarin/x_MASTER.mov", "the user's");
  folder.write("movies/Tessarin/x.mov", "to be replaced");
  ASSERT_EQ(tessarin({"-d", destination(), "--overwrite", "replace", clip}).status, 0);
  EXPECT_FALSE(std::filesystem::is_symlink(std::filesystem::symlink_status(movie("x.mov"))));
  EXPECT_GT(poidsFile(movie("x.mov"), "k"), 10);
  std::filesystem::remove(movie("x.mov"));
  const Result other = tessarin({"-d", destination(), clip});
  EXPECT_THAT(other.lines(), ElementsAre(clip + " -> " + movie("x-2.mov"))) << other.err;
  EXPECT_THAT(movies(), ElementsAre("x-2.mov", "x-2.txt", "x.mov", "x.txt", "x_MASTER.mov"));
  EXPECT_EQ(folder.read("victim.mov"), "precious");
  EXPECT_EQ(folder.read("movies/Tessarin/x_MASTER.mov"), "the user's");
}

}  // namespace
}  // namespace tessarin
