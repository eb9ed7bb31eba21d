// A tape that was captured as one file: a movie of each of its recordings.
#include <filesystem>

#include "Journey.h"
#include "support/shell.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class TapeJourney : public test::Journey {
 protected:
  TapeJourney() {
    std::string bytes;
    for (const Shot& shot : shots) {
      const std::string name = "shot " + shot.seconds + ".dv";
      test::makeClip("-f lavfi -i testsrc2=s=720x576:r=25:d=" + shot.seconds + ",hue=h=" +
                         shot.hue + " -f lavfi -i sine=" + shot.hue + ":r=48000:d=" + shot.seconds +
                         " -pix_fmt yuv420p -c:v dvvideo -c:a pcm_s16le -ac 2 -timecode " +
                         shot.code + " -metadata creation_time=" + shot.time + "Z -f dv",
                     folder.file(name));
      bytes += folder.read(name);
    }
    tape = folder.write("Bänder '03/Sommer.dv", bytes);
    setVariable("TZ", "UTC");
  }

  static std::string seenAndHeard(const std::string& movie) {
    return test::runShell("ffmpeg -v error -nostdin -i " + test::quoted(movie) + " -f framemd5 -")
        .output;
  }
  static std::string probed(const std::string& movie) {
    return test::runShell(
               "ffprobe -v error -show_entries format_tags:stream_tags:stream=nb_frames " +
               test::quoted(movie))
        .output;
  }

  struct Shot {
    std::string seconds;
    std::string hue;
    std::string code;
    std::string time;
    int pictures;
  };
  const std::vector<Shot> shots{{"1", "60", "00:00:10:00", "2003-07-01T10:20:30", 25},
                                {"1.2", "180", "00:00:11:00", "2003-07-02T11:00:00", 30},
                                {"0.8", "300", "00:00:00:00", "2003-07-02T11:00:01", 20}};
  std::string tape;
};

TEST_F(TapeJourney, EachRecordingBecomesAMovie) {
  const std::string analysed = tessarin({"analyse", "--json", "--split-tapes", tape}).out;
  EXPECT_THAT(analysed, HasSubstr("\"begin\":3600000,\"end\":7920000"));
  const Result run = tessarin({"--split-tapes", "--format", "prores", "-d", destination(), tape});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.errorLines(), IsEmpty());
  for (std::size_t each = 0; each < shots.size(); ++each) {
    const Shot& shot = shots[each];
    const std::string made = movie("Sommer-0" + std::to_string(each + 1) + ".mov");
    // That of a file with this recording alone.
    const std::string alone = movie("shot " + shot.seconds + ".mov");
    ASSERT_EQ(tessarin({"--format", "prores", "-d", destination(),
                        folder.file("shot " + shot.seconds + ".dv")})
                  .status,
              0);
    EXPECT_EQ(seenAndHeard(made), seenAndHeard(alone));
    const std::string told = probed(made);
    EXPECT_THAT(told, HasSubstr("nb_frames=" + std::to_string(shot.pictures)));
    EXPECT_THAT(told, HasSubstr("timecode=" + shot.code));
    EXPECT_THAT(told, HasSubstr(shot.time));
  }
}

TEST_F(TapeJourney, OnlyOnWishAndTwiceIsOnce) {
  EXPECT_THAT(split(tessarin({"analyse", "--json", tape}).out, "\"analysed\""), SizeIs(2));
  ASSERT_EQ(tessarin({"--split-tapes", "--new", "-d", destination(), tape}).status, 0);
  const Result again = tessarin({"--split-tapes", "--new", "-d", destination(), tape});
  EXPECT_THAT(again.out + again.err, HasSubstr("3"));
  EXPECT_THAT(movies(), SizeIs(6)) << "with their texts";
}

// Recordings whose border is in doubt stay one, and all of a batch can be converted row by row.
TEST_F(TapeJourney, DoubtIsToldAndRowsAreConvertedAlone) {
  std::string bytes = folder.read("Bänder '03/Sommer.dv");
  constexpr std::size_t picture = 144000;
  bytes.replace(25 * picture, 2 * picture, 2 * picture, '\0');
  folder.write("Bänder '03/Sommer.dv", bytes);
  const std::string batch = folder.file("tape.batch");
  const Result prepared = tessarin({"--batch", batch, "--split-tapes", "-d", destination(), tape});
  EXPECT_THAT(prepared.err, HasSubstr("Sommer-01.dv: may hold several recordings"));
  EXPECT_THAT(prepared.err, Not(HasSubstr("Sommer-02.dv: may")));
  tessarin({"--batch", batch, "--row", "2"});
  EXPECT_THAT(movies(), ElementsAre("Sommer-02.mov", "Sommer-02.txt"));
  std::filesystem::resize_file(tape, 60 * picture);
  EXPECT_EQ(tessarin({"--batch", batch, "--row", "2", "--overwrite", "replace"}).status, 1);
}

}  // namespace
}  // namespace tessarin
