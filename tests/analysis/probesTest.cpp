#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/timing.h"
#include "support/AnalysisTools.h"
#include "support/LogCapture.h"
#include "support/readTestData.h"

namespace tessarin {
namespace {

using test::AnalysisTools;
using test::LogCapture;
using test::readTestData;
using ::testing::ElementsAre;
using ::testing::Optional;

// ---- Field order

TEST(FieldOrder, DecidesOnePass) {
  EXPECT_EQ(fieldsOfCounts({0, 0, 100, 20}), Fields::progressive);
  EXPECT_EQ(fieldsOfCounts({0, 0, 10, 10}), std::nullopt);
  EXPECT_EQ(fieldsOfCounts({5, 5, 100, 0}), Fields::topFirst);
  EXPECT_EQ(fieldsOfCounts({5, 6, 100, 0}), Fields::bottomFirst);
  EXPECT_EQ(fieldsOfCounts({0, 1, 100, 0}), Fields::bottomFirst);
}

TEST(FieldOrder, ReadsTheLastCountsOfSingleFrames) {
  const std::string report =
      "x\n"
      "[idet @ 1] Single frame detection: TFF:7 BFF:7 Progressive:7 Undetermined:7\n"
      "[idet @ 1] Repeated Fields: Neither:    98 Top:     1 Bottom:     1\n"
      "[idet @ 1] Single frame detection: TFF:    12 BFF:     3 Progressive:    40 "
      "Undetermined:    45\n"
      "[idet @ 1] Multi frame detection: TFF:    99 BFF:     0 Progressive:     0 "
      "Undetermined:     1\n";
  const auto counts = idetCounts(report);
  ASSERT_TRUE(counts);
  EXPECT_EQ(counts->top, 12);
  EXPECT_EQ(counts->bottom, 3);
  EXPECT_EQ(counts->progressive, 40);
  EXPECT_EQ(counts->undetermined, 45);
  EXPECT_FALSE(idetCounts(" Single frame detection: TFF:1 BFF:0 Progressive:0 Undetermined:0"));
  EXPECT_FALSE(idetCounts(""));
}

TEST(FieldOrder, GoesOnUntilAPassDecides) {
  const LogCapture log(false);
  const AnalysisTools tools;
  // Only what starts at 12 seconds has fields.
  tools.script("ffmpeg",
               "n=0; test \"$4\" = 12.00 && n=3\n"
               "echo; echo \"[i] Single frame detection: TFF:  $n BFF:  0 Progressive:  1 "
               "Undetermined:  9\"");
  EXPECT_EQ(fieldOrderProbe("/a.mts"), Fields::topFirst);
  EXPECT_TRUE(log.has("pass #1             : tffInt=0 bffInt=0 pffInt=1 undefInt=9 "));
  EXPECT_TRUE(log.has("pass #2             : tffInt=3 bffInt=0 pffInt=1 undefInt=9 "));
  EXPECT_FALSE(log.mentions("pass #3"));

  tools.script("ffmpeg", "echo \"$4\" >>'" + tools.folder().file("starts") + "'; echo nothing");
  EXPECT_EQ(fieldOrderProbe("/a.mts"), std::nullopt);
  EXPECT_EQ(tools.folder().read("starts"), "4.00\n8.00\n12.00\n16.00\n20.00\n24.00\n");
}

TEST(FieldOrder, ReadsTheHeaderOfTheFrameFile) {
  EXPECT_EQ(fieldsOfHeader("YUV4MPEG2 W720 H576 F25:1 It A16:15 C420mpeg2"), Fields::topFirst);
  EXPECT_EQ(fieldsOfHeader("YUV4MPEG2 W720 H576 F25:1 Ib A16:15"), Fields::bottomFirst);
  EXPECT_EQ(fieldsOfHeader("YUV4MPEG2 W720 H576 F25:1 Ip A16:15"), Fields::progressive);
  EXPECT_EQ(fieldsOfHeader("YUV4MPEG2 W720 H576 F25:1 I"), Fields::progressive);
  EXPECT_EQ(fieldsOfHeader(""), Fields::progressive);
}

// ---- Chapters

std::string chapterLines(const std::vector<std::string>& starts) {
  std::string text;
  for (const std::string& start : starts)
    text.append("    Chapter #0:0: start ").append(start).append(", end 1000.000000\n");
  return text;
}

TEST(Chapters, MergesThoseWithinTwentySeconds) {
  const LogCapture quiet(false);
  EXPECT_THAT(ffChapters(chapterLines({"0.000000", "12.000000", "25.000000", "30.0", "60.000000"})),
              Optional(ElementsAre(0, 25, 60)));
  EXPECT_THAT(ffChapters(chapterLines({"5.5", "25.5", "25.6", "3.0"})),
              Optional(ElementsAre(5.5, 25.6)));
  // The report lists the chapters of the output once more.
  EXPECT_THAT(ffChapters(readTestData("reports/matroska.txt")), Optional(ElementsAre(0, 25, 60)));
}

// ---- The tool's version

TEST(Revision, IsTheLeadingNumberOfTheFirstLine) {
  const LogCapture quiet(false);
  const AnalysisTools tools;
  const auto revision = [&](const std::string& line) {
    tools.script("ffmpeg", "test \"$*\" = -version && printf '" + line + "\\nversion 9.9\\n'");
    return ffRevision();
  };
  EXPECT_EQ(revision("ffmpeg version 5.1.9-0+deb12u1 Copyright (c) 2000"), 5.1);
  EXPECT_EQ(revision("FFmpeg version 0.10, Copyright"), 0.1);
  EXPECT_EQ(revision("ffmpeg version N-12345-gabc Copyright"), 0);
  std::filesystem::remove(tools.folder().file("tools/ffmpeg"));
  EXPECT_EQ(ffRevision(), 0);
}

// ---- Forced formats

TEST(ForceFormat, KnowsStreamsByTheirDataNames) {
  const LogCapture quiet(false);
  EXPECT_EQ(forceFormatLite("Stream #0.0: Data: m1s"), "mpeg");
  EXPECT_EQ(forceFormatLite("Data: m1v1"), "mpegvideo");
  EXPECT_EQ(forceFormatLite("Data: m2v\nData: m2s"), "mpeg");
  EXPECT_EQ(forceFormatLite("Data: m2v1"), "mpegvideo");
  EXPECT_EQ(forceFormatLite("Data: none"), std::nullopt);
}

}  // namespace
}  // namespace tessarin
