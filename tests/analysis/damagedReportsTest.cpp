// Reports that were cut, mixed up or filled with rubbish: the readers answer with less, never with
// values that a record may not hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "classShared/TextAdditions.h"
#include "ffmpeg/ffmpegSuccess.h"
#include "ffmpeg/reportText.h"
#include "support/LogCapture.h"
#include "support/readTestData.h"

namespace tessarin {
namespace {

using test::LogCapture;
using test::readTestData;

// Texts that mean something to the readers, and some that try to be too much for them.
const auto pieces = split(
    "Input #0, |Output #0, |\n  Stream #0:|\n  Stream #0.4294967296[|: Video: |: Audio: |"
    ": Subtitle: |, |(|)|[|]|\n|\r|\r\n|x|9999999999999x8|0x0|-1x-1| tbr| tbc|k tbn| fps, |"
    " kb/s| Hz|SAR | DAR |PAR |Duration: |start: |bitrate: "
    "|1e999|nan|-|99999999999999999999|.|5.1|title           : |"
    "Chapter #0:0: start |, end |read_frame_internal stream=| pts=| flags=|"
    "ff_read_packet stream=0, pts=-9223372036854775808, dts=9223372036854775807, flags=1|"
    " Single frame detection: TFF:| BFF:|\xff\xc3",
    "|");

class Damage {
 public:
  std::string apply(std::string report) {
    for (std::size_t count = 1 + below(8); count > 0; --count) {
      // Three times out of four where it hurts.
      const std::size_t input = std::min(report.find("Input #0"), report.size());
      const std::size_t rest = std::min<std::size_t>(report.size() - input, 1500);
      const std::size_t place = below(4) == 0 ? below(report.size() + 1) : input + below(rest + 1);
      switch (below(5)) {
        case 0:
          report.insert(place, pieces[below(pieces.size())]);
          break;
        case 1:
          report.erase(place, below(60));
          break;
        case 2:
          report.insert(place, report.substr(below(report.size() + 1), below(200)));
          break;
        case 3:
          report.insert(place, 1, '\0');
          break;
        default:
          report.replace(place, below(20), pieces[below(pieces.size())]);
          break;
      }
    }
    return report;
  }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }

  std::mt19937 random_{1080};
};

bool endsWithOneOf(const std::string& key, const std::vector<std::string>& endings) {
  return std::any_of(endings.begin(), endings.end(),
                     [&key](const std::string& ending) { return key.ends_with(ending); });
}

void expectSound(const Dico& record) {
  for (const auto& [key, value] : record) {
    if (endsWithOneOf(key, {"_width", "_height", "_channels", "_rate", "_tbc", "bitrate", "_fps",
                            "duration"})) {
      EXPECT_GT(value.number().value_or(0), 0) << key;
    } else if (endsWithOneOf(key, {"_id"})) {
      EXPECT_GE(value.integer().value_or(-1), 0) << key;
    } else if (endsWithOneOf(key,
                             {"wrapper", "_codec", "_lang", "_par", "_dar", "_chroma", "lang+"})) {
      EXPECT_NE(value.text().value_or(""), "") << key;
    }
    if (value.number()) {
      EXPECT_TRUE(std::isfinite(*value.number())) << key;
    }
    if (value.number()) {
      EXPECT_LE(std::abs(*value.number()), 1e10) << key;
    }
    if (endsWithOneOf(key, {"_width", "_height"})) {
      EXPECT_LE(value.integer().value_or(0), 32768) << key;
    }
  }
}

TEST(DamagedReports, NeverMakeUnsoundRecords) {
  const LogCapture quiet(false);
  Damage damage;
  int readable = 0;
  for (const char* name : {"avchd", "mpeg-ps", "quicktime", "matroska", "song-with-cover",
                           "camera-dv-pal", "late-sound"}) {
    const std::string report = readTestData(std::string("reports/") + name + ".txt");
    for (int round = 0; round < 150; ++round) {
      const std::string damaged = damage.apply(report);
      if (const auto record = analysisFf(damaged, Fields::progressive, "")) {
        ++readable;
        expectSound(recordOfSource(*record));
      }
      isFfmpegSuccess(damaged);
      EXPECT_LE(wordsOfTool(damaged).size(), damaged.size() + 1);
      idetCounts(damaged);
      firstKeyFrameOfShowinfo(damaged);
      forceFormatLite(damaged);
      ASSERT_FALSE(HasFailure()) << name << " " << round << "\n" << damaged;
    }
  }
  EXPECT_GT(readable, 500);
}

}  // namespace
}  // namespace tessarin
