#include <gtest/gtest.h>

#include "classShared/TextAdditions.h"
#include "movie/movieFacts.h"
#include "movie/movieIndex.h"
#include "movie/timeCode.h"
#include "support/ScopedTemporaryFolder.h"
#include "support/clips.h"
#include "support/shell.h"
#include "utils/files.h"

namespace tessarin {
namespace {

constexpr double american = 30000.0 / 1001;
constexpr double fast = 60000.0 / 1001;

TEST(TimeCode, IsTheSameAfterItWasSaid) {
  for (const double rate : {24.0, 25.0, american, 50.0, fast})
    for (const char* separator : {":", ";"}) {
      const auto first = timeCode(std::string("00:00:00") + separator + "00", rate);
      ASSERT_TRUE(first);
      const auto dayEnd = static_cast<std::uint32_t>(24 * 3600 * rate) - 100;
      for (std::uint32_t number = 0; number < dayEnd; number += number < 20000 ? 1 : 977) {
        const TimeCode later = laterTimeCode(*first, number);
        ASSERT_EQ(timeCode(timeCodeText(later), rate), later) << timeCodeText(later);
      }
    }
}

std::string said(const std::optional<TimeCode>& code) {
  return code ? timeCodeText(*code) : "none";
}

TEST(TimeCode, KeepsItsMomentAtAnotherRate) {
  EXPECT_EQ(said(timeCodeAtRate("10:11:12:13", 25, 25)), "10:11:12:13");
  EXPECT_EQ(said(timeCodeAtRate("10:11:12:13", 25, 50)), "10:11:12:26");
  EXPECT_EQ(said(timeCodeAtRate("10:11:12:13", 50, 25)), "10:11:12:06");
  EXPECT_EQ(said(timeCodeAtRate("10:11:12;13", fast, american)), "10:11:12;06");
  EXPECT_EQ(said(timeCodeAtRate("10:11:12:13", 0, 25)), "10:11:12:13");
  for (const char* wrong : {"99:99:99:99", "24:00:00:00", "10:11:12:30", "", "x", "-1:00:00:00"})
    EXPECT_EQ(said(timeCodeAtRate(wrong, 25, 25)), "none") << wrong;
  EXPECT_EQ(said(timeCodeOfDay("14:05:33", 25)), "14:05:33:00");
  EXPECT_EQ(said(timeCodeOfDay("14:05:33", 30)), "14:05:33:00");
  EXPECT_EQ(said(timeCodeOfDay("14:05:33", american)), "14:05:33;00");
  EXPECT_EQ(said(timeCodeOfDay("14:05:00", american)), "14:05:00;02") << "00 and 01 are dropped";
  EXPECT_EQ(said(timeCodeOfDay("14:05:00", fast)), "14:05:00;04");
  EXPECT_EQ(said(timeCodeOfDay("14:10:00", fast)), "14:10:00;00");
  EXPECT_EQ(said(timeCodeOfDay("25:05:33", 25)), "none");
}

class FactsOfMovies : public testing::Test {
 protected:
  std::string movie(const std::string& options) {
    const std::string path = folder_.file("x.mov");
    test::makeClip(test::progressivePicture("352x288", "1") + test::tone("1") +
                       "-c:v mpeg2video -c:a pcm_s16le -f mov " + options,
                   path);
    return path;
  }
  static std::string probed(const std::string& path, const std::string& options) {
    return test::runShell("ffprobe -v error " + options + " " + test::quoted(path)).output;
  }
  // How often the movie and its tracks say this.
  static std::size_t times(const std::string& path, const std::string& tag) {
    const std::string all = probed(path, "-show_format -show_streams");
    return split(all, "TAG:" + tag + "\n").size() - 1;
  }

  test::ScopedTemporaryFolder folder_;
};

// What ffmpeg's copies and its movies with the index in front are like.
TEST_F(FactsOfMovies, AreFoundByOthersWhereverTheIndexStands) {
  const MovieFacts facts = {3376044333,
                            "2010-12-24T14:05:33+0100",
                            "Ma\xC3\xA7on",
                            "X 1",
                            "+48.1371+011.5754/",
                            "10:11:12:13",
                            25,
                            "14:05:33"};
  for (const char* options : {"", "-movflags faststart", "-timecode 01:02:03:04",
                              "-metadata location=x -metadata date=2001"}) {
    SCOPED_TRACE(options);
    const char* samples = "-select_streams v -show_entries packet=pts,size -of csv";
    const std::string path = movie(options);
    const std::string pictures = probed(path, samples);
    for (int time = 0; time < 2; ++time) {
      ASSERT_TRUE(tellFacts(path, facts).value());
      const auto index = readMovieIndex(path);
      ASSERT_TRUE(index) << index.reason();
      EXPECT_TRUE(index->isWhole);
      EXPECT_EQ(index->pictures()->missing + index->sounds().front()->missing, 0u);
      EXPECT_EQ(index->tracks.size(), 3u) << "the time code has a track, and only one";
    }
    EXPECT_EQ(probed(path, samples), pictures);
    EXPECT_TRUE(test::runShell("ffmpeg -v error -i " + test::quoted(path) + " -f null - 2>&1")
                    .output.empty());
    EXPECT_EQ(times(path, "timecode=10:11:12:13"), 3u) << "also of the whole";
    EXPECT_EQ(times(path, "creation_time=2010-12-24T14:05:33.000000Z"), 4u);
    for (const char* words :
         {"com.apple.quicktime.creationdate=2010-12-24T14:05:33+0100",
          "com.apple.quicktime.make=Ma\xC3\xA7on", "com.apple.quicktime.model=X 1",
          "com.apple.quicktime.location.ISO6709=+48.1371+011.5754/",
          "date=2010-12-24T14:05:33+0100", "location=+48.1371+011.5754/"})
      EXPECT_EQ(times(path, words), 1u) << words;
  }
}

TEST_F(FactsOfMovies, ThatAreUnknownLeaveTheMovieAsItIs) {
  const std::string path = movie("-timecode 01:02:03:04");
  const std::string before = readWholeFile(path).value();
  EXPECT_FALSE(tellFacts(path, {}).value());
  EXPECT_EQ(readWholeFile(path).value(), before);
  MovieFacts odd;
  odd.timeCode = "99:99:99:99";
  ASSERT_TRUE(tellFacts(path, odd));
  EXPECT_EQ(times(path, "timecode=01:02:03:04"), 2u);
  ASSERT_TRUE(writeFileAtomically(path, before.substr(0, before.size() - 100)));
  odd.make = "X";
  EXPECT_FALSE(tellFacts(path, odd).value()) << "its index is not whole";
}

}  // namespace
}  // namespace tessarin
