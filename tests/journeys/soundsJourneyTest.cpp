// Clips with several sounds: all of them come out, each as it is and in its place.
#include "Journey.h"
#include "movie/movieIndex.h"
#include "support/shell.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SoundsJourney : public test::Journey {
 protected:
  // What is loud of a track behind a filter that takes one tone alone: "0.50 1.50".
  static std::string heard(const std::string& movie, int track, int tone) {
    const std::string found =
        test::runShell("ffmpeg -hide_banner -i " + test::quoted(movie) +
                       " -map 0:a:" + std::to_string(track) +
                       " -af aresample=48000,bandpass=f=" + std::to_string(tone) +
                       ":width_type=h:w=60,silencedetect=n=-30dB:d=0.2 -f null - 2>&1 | "
                       "sed -n 's/.*silence_end: \\([0-9.]*\\).*/\\1/p' | head -1")
            .output;
    return found.substr(0, 3);
  }
  static std::vector<std::string> said(const std::string& movie, const std::string& what) {
    const std::string told = test::runShell("ffprobe -v error -select_streams a -show_entries " +
                                            what + " -of csv=p=0 " + test::quoted(movie))
                                 .output;
    std::vector<std::string> words;
    for (const std::string_view line : splitLines(told))
      if (!line.empty())
        words.emplace_back(line);
    return words;
  }
};

TEST_F(SoundsJourney, AllComeOutInOrderAndInStep) {
  const std::string clip = folder.file("x.mkv");
  ASSERT_TRUE(test::makeClip(
      "-f lavfi -i testsrc2=s=1280x720:r=50:d=2,format=yuv420p -f lavfi -i sine=500:r=48000:d=2 "
      "-itsoffset 0.5 -f lavfi -i sine=1000:r=44100:d=1.5 -itsoffset 1 -f lavfi "
      "-i sine=2000:r=48000:d=1 -map 0 -map 1 -map 2 -map 3 -c:v libx264 -preset ultrafast "
      "-c:a ac3 -c:a:2 pcm_s16le -ac:a:0 2 -ac:a:1 2 -ac:a:2 1 -metadata:s:a:0 language=eng "
      "-metadata:s:a:1 language=deu -metadata:s:a:2 title=Boom",
      clip));
  for (const char* format : {"quicktime", "aic", "prores"}) {
    SCOPED_TRACE(format);
    const Result result = tessarin({"-d", destination(), "--overwrite", "replace", "--format",
                                    format, "--size", "720p50", clip});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string made = folder.file("movies/Tessarin/" + movies().front());
    EXPECT_THAT(said(made, "stream=sample_rate,channels"),
                ElementsAre("48000,2", "44100,2", "48000,1"));
    EXPECT_THAT(said(made, "stream_tags=language,handler_name"),
                ElementsAre(HasSubstr("eng"), testing::AnyOf(HasSubstr("ger"), HasSubstr("deu")),
                            HasSubstr("Boom")));
    EXPECT_THAT(said(made, "stream_disposition=default"), ElementsAre("1", "1", "1"));
    EXPECT_EQ(heard(made, 1, 1000), "0.5");
    EXPECT_EQ(heard(made, 2, 2000).substr(0, 2), "1.");
    std::filesystem::remove_all(destination());
  }
  const Result two = tessarin({"-d", destination(), "--format", "quicktime", "--speed", "slow",
                               "--sound", "1,3", "--slow-sound", "slowed", clip});
  ASSERT_EQ(two.status, 0) << two.err;
  const auto slow = readMovieIndex(movie("x.mov"));
  ASSERT_TRUE(slow && slow->sounds().size() == 2);
  EXPECT_NEAR(slow->sounds()[0]->seconds, 4, 0.1);
  EXPECT_NEAR(std::stod("0" + heard(movie("x.mov"), 1, 2000)), 2, 0.11) << "at its own pitch";
  const Result missing = tessarin({"-d", destination(), "--sound", "1,4", clip});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.errorLines(), ElementsAre(HasSubstr("there is no sound track 4")));
}

}  // namespace
}  // namespace tessarin
