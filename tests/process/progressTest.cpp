#include <gtest/gtest.h>

#include "process/progress.h"
#include "support/LogCapture.h"

namespace tessarin {
namespace {

TEST(ProgressTest, timesNeedHoursMinutesAndSeconds) {
  const struct {
    const char* text;
    float seconds;
  } cases[]{
      {"frame= 1641 fps= 50 q=2.0 size=  100kB time=00:01:05.50 bitrate=1000.0kbits/s", 65.5F},
      {"time=01:00:00.25", 3600.25F},
      {"time=00:00:01.00 speed=1x\rframe=2 time=00:00:02.00 speed=1x", 1},  // the first one
      {"time=100:00:00.00 ", 360000},
      {"time=65.50 bitrate=", 0},
      {"time=01:05.50 bitrate=", 0},
      {"time=00:00:01:05 bitrate=", 0},
      {"time=N/A bitrate=N/A", 0},
      {"time=", 0},
      {"time= 00:00:01.00", 0},  // nothing before the first blank
      {"time=::", 0},
      {"", 0},
      {"frame= 12", 0},
  };
  for (const auto& [text, seconds] : cases)
    EXPECT_EQ(parseTime(text), seconds) << text;
}

TEST(ProgressTest, numbersStandRightBehindTheirMarkers) {
  EXPECT_EQ(parsePourcentage("x\npourcentage    : 37.5\n"), 37.5F);
  EXPECT_EQ(parsePourcentage("pourcentage   : 37.5"), 0);  // three blanks
  EXPECT_EQ(parsePourcentage("pourcentage    : none"), 0);
  EXPECT_EQ(parseBatch("(batch 3 of 7)"), 3);
  EXPECT_EQ(parseBatch("(batch -3)"), -3);
  EXPECT_EQ(parseProcessing("Processing (12%)"), 12);
  EXPECT_EQ(parseMarkerFloat("abc", ""), 0);
  EXPECT_EQ(parseMarkerFloat("n=9999999999999999999999999999999999999999999999", "n="), 0);
  EXPECT_EQ(parseMarkerFloat("n=inf", "n="), 0);
}

TEST(ProgressTest, theModeSaysWhichNumberCounts) {
  const char* const text = "time=00:00:10.00 pourcentage    : 20.5 (batch 30) Processing (40) end";
  EXPECT_EQ(progressValue(ParseMode::time, text), 10);
  EXPECT_EQ(progressValue(ParseMode::endless, text), -1);
  EXPECT_EQ(progressValue(ParseMode::pourcentage, text), 20.5);
  EXPECT_EQ(progressValue(ParseMode::batch, text), 30);
  EXPECT_EQ(progressValue(ParseMode::processing, text), 40);
  EXPECT_EQ(progressValue(ParseMode::count, text), 20.5);
  EXPECT_EQ(progressValue(ParseMode::endlessNoBar, text), -1);
  EXPECT_EQ(progressValue(ParseMode::none, text), std::nullopt);
  EXPECT_EQ(progressValue(static_cast<ParseMode>(7), text), std::nullopt);
}

TEST(ProgressTest, durationsAsText) {
  EXPECT_EQ(durationStr(36000 + 10 * 60 + 10), "10h10'10\"");
  EXPECT_EQ(minutesStr(4.5F), "-04.5'");
  EXPECT_EQ(minutesStr(12), "-12.0'");
  EXPECT_EQ(minutesStr(0), "");
  EXPECT_EQ(minutesStr(-1), "");
}

TEST(ProgressTest, loudnessReportsAreTakenIntoTheJob) {
  const test::LogCapture log;
  Dico job;
  captureLoudness("[Parsed_volumedetect_0 @ 0x55] max_volume: -13.4 dB\n", job);
  EXPECT_EQ(job.number("normalizedVolumedetect"), -13.4F);
  EXPECT_EQ(job.size(), 1U);
  EXPECT_TRUE(log.has("tl normalize max vol: -13.4"));
  captureLoudness("  Integrated loudness:\n    I:       -17.0 LUFS\n    Threshold: -27.2 LUFS",
                  job);
  EXPECT_EQ(job.number("normalized"), -6);
  EXPECT_TRUE(log.has("tl normalize loud   : -6"));

  // Parts of the reports, and other lines that hold the same words.
  for (const char* text :
       {"[Parsed_volumedetect_0 @ 0x55] mean_volume: -20.1 dB",
        "[Parsed_volumedetect_0 @ 0x55] max_volume: -4.5", "max_volume: -13.4 dB",
        "    I:       -17.0 LUFS", "Integrated loudness: I: -17.0 LUFS"}) {
    const Loudness found = loudness(text);
    EXPECT_FALSE(found.maxVolume || found.normalized) << text;
  }
}

TEST(ProgressTest, theDisplayChangesOnlyWhenTheWholePercentageGrows) {
  const auto step = [](double previous, double value) {
    return progressStep(previous, value, 130, ParseMode::time, "50 %", "th");
  };
  EXPECT_FALSE(step(65.5, 65.9));  // both 50 %
  EXPECT_FALSE(step(65.5, 30));    // never backwards
  EXPECT_FALSE(step(65.5, -1));
  const auto shown = step(65.5, 67);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->percentText, "51 %");
  EXPECT_EQ(shown->barValue, 67);
  EXPECT_EQ(shown->previous, 67);
  EXPECT_FALSE(shown->wheelTurns);
  EXPECT_FALSE(shown->starts);
}

TEST(ProgressTest, theFirstValueStartsTheBar) {
  const auto first = progressStep(-1, 2, 100, ParseMode::time, "", "th");
  ASSERT_TRUE(first);
  EXPECT_TRUE(first->starts);
  EXPECT_TRUE(first->wheelTurns);
  EXPECT_EQ(first->barValue, 2);
  EXPECT_FALSE(first->percentText);
  EXPECT_EQ(progressStep(-1, 0, 50, ParseMode::time, "", "th")->previous, 0.1);
  // -1 of 130 is still 0 %, and so is 0.
  EXPECT_FALSE(progressStep(-1, 0, 130, ParseMode::time, "", "th"));
}

TEST(ProgressTest, hundredPercentIsNeverShown) {
  const auto text = [](double value) {
    return progressStep(1, value, 100, ParseMode::time, "1 %", "th")->percentText;
  };
  EXPECT_EQ(text(99.5), "99 %");
  EXPECT_EQ(text(100), "");
  EXPECT_EQ(text(100.2), "");
  EXPECT_TRUE(progressStep(1, 100.2, 100, ParseMode::time, "", "th")->wheelTurns);
}

TEST(ProgressTest, countingRunsKeepTheirWord) {
  const auto text = [](const char* current) {
    return progressStep(1, 12.4, 40, ParseMode::count, current, "th")->percentText;
  };
  EXPECT_EQ(text("Frame 3/40"), "Frame 12/40");
  EXPECT_EQ(text("word"), "Th 12/40");
  EXPECT_EQ(text(""), "Th 12/40");
}

TEST(ProgressTest, withoutAMaximumOnlyTheWheelTurns) {
  for (const double maximum : {0.0, -5.0}) {
    const auto display = progressStep(3, 10, maximum, ParseMode::time, "", "th");
    ASSERT_TRUE(display);
    EXPECT_TRUE(display->wheelTurns);
    EXPECT_EQ(display->previous, 3);
    EXPECT_FALSE(display->barValue || display->percentText || display->starts);
  }
}

}  // namespace
}  // namespace tessarin
