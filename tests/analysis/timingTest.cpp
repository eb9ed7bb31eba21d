#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/probeParser.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "support/AnalysisTools.h"
#include "support/LogCapture.h"
#include "support/readTestData.h"

namespace tessarin {
namespace {

using test::AnalysisTools;
using test::LogCapture;
using test::readTestData;
using test::runFfmpeg;

// A report with packet lines as given, of one video stream (0) and one audio stream (1).
std::string reportOf(const std::string& packets, const std::string& start = "1.000000") {
  return "ffmpeg version 5.1\n" + packets +
         "Input #0, mpegts, from 'clip.mts':\n"
         "  Duration: 00:00:10.00, start: " +
         start +
         ", bitrate: 1 kb/s\n"
         "  Stream #0:0[0x100], 15, 1/90000: Video: h264, yuv420p, 16x16, 25 tbr, 90k tbn\n"
         "  Stream #0:1[0x101], 25, 1/48000: Audio: mp2, 48000 Hz, mono\n"
         "Output #0, yuv4mpegpipe, to 'frame.yuv':\n";
}

std::string packet(int stream, const std::string& pts, const std::string& dts, int flags = 1) {
  return "[mpegts @ 0x1] read_frame_internal stream=" + std::to_string(stream) + ", pts=" + pts +
         ", dts=" + dts + ", size=1, duration=1, flags=" + std::to_string(flags) + "\n";
}

Dico offsetsOf(const std::string& report) {
  Source source;
  addOffsets(report, source);
  return recordOfSource(source);
}

TEST(StartOffsets, AreThoseOfRealReports) {
  // Sound a quarter of a second late, in steps of its frames; the first picture is decoded one
  // frame before it is shown.
  EXPECT_EQ(offsetsOf(readTestData("reports/late-sound.txt")),
            (Dico{{"a1_offsetMs", 240}, {"a1_offsetDts", 240}, {"v0_offsetDts", -40}}));
  EXPECT_EQ(offsetsOf(readTestData("reports/quicktime.txt")), Dico());
  EXPECT_EQ(offsetsOf(readTestData("reports/audio-only.txt")), Dico());
  EXPECT_EQ(offsetsOf("Input #0, a, b\n"), Dico());
  EXPECT_EQ(offsetsOf(""), Dico());
}

TEST(StartOffsets, AreStoredBeyondThirtyMilliseconds) {
  const auto audio = [](int ticks) {
    return offsetsOf(reportOf(packet(1, std::to_string(48000 + ticks), "NOPTS")));
  };
  EXPECT_EQ(audio(30 * 48), Dico());
  EXPECT_EQ(audio(31 * 48), (Dico{{"a1_offsetMs", 31}}));
  EXPECT_EQ(audio(-31 * 48), (Dico{{"a1_offsetMs", -31}}));
}

TEST(StartOffsets, TakeTheEarliestOfPicturesStoredOutOfOrder) {
  // Pictures shown before the first one stored; sound that is cut away; times from nowhere.
  EXPECT_EQ(
      offsetsOf(reportOf(packet(0, "108000", "95400") + packet(0, "9223090561878065151", "NOPTS") +
                         packet(0, "99000", "99000", 0) + packet(1, "0", "0", 5) +
                         packet(1, "48000", "48000"))),
      (Dico{{"v0_offsetMs", 100}, {"v0_offsetDts", 60}, {"v_offsetMs", -100}}));
}

TEST(StartOffsets, UnderstandReportsWithoutTimeBases) {
  const std::string report =
      "x\n[mpegts @ 0x1] ff_read_packet stream=0, pts=90000, dts=90000, size=1, duration=0, "
      "flags=0\n"
      "[mpegts @ 0x1] ff_read_packet stream=1, pts=135000, dts=135000, size=1, duration=0, "
      "flags=0\n"
      "Input #0, mpegts, from 'clip.mts':\n"
      "  Duration: 00:00:10.00, start: 1.000000, bitrate: 1 kb/s\n"
      "    Stream #0.0[0x100]: Video: h264, yuv420p, 16x16, 25 tbr, 90k tbn\n"
      "    Stream #0.1[0x101]: Audio: mp2, 48000 Hz, mono\n";
  EXPECT_EQ(offsetsOf(report), (Dico{{"a1_offsetMs", 500}, {"a1_offsetDts", 500}}));
}

TEST(FirstKeyFrame, IsShownByTheReport) {
  EXPECT_EQ(firstKeyFrameShown(readTestData("reports/quicktime.txt")), 0.0);
  EXPECT_EQ(firstKeyFrameShown(readTestData("reports/late-sound.txt")), 0.0);
  // The picture of this recording begins after its sound.
  EXPECT_EQ(firstKeyFrameShown(readTestData("reports/camera-avchd-1080i50.txt")), 0.08);
  EXPECT_EQ(firstKeyFrameShown(readTestData("reports/audio-only.txt")), std::nullopt);

  EXPECT_EQ(firstKeyFrameShown(reportOf(packet(0, "90000", "90000", 0) + packet(1, "1", "1", 1) +
                                        packet(0, "135000", "135000", 1))),
            0.5);
  EXPECT_EQ(firstKeyFrameShown(reportOf(packet(0, "90000", "90000", 0))), std::nullopt);
  EXPECT_EQ(firstKeyFrameShown(
                reportOf(packet(0, "NOPTS", "NOPTS", 1) + packet(0, "135000", "135000", 1))),
            std::nullopt);
}

TEST(FirstKeyFrame, IsReadFromShowinfo) {
  const std::string head = "[Parsed_showinfo_0 @ 0x1] ";
  EXPECT_EQ(
      firstKeyFrameOfShowinfo(head + "config in time_base: 1/90000, frame_rate: 25/1\n" + head +
                              "n:   0 pts:   3600 pts_time:0.04    pos: 1 iskey:0 "
                              "type:B checksum:1\n" +
                              head +
                              "n:   1 pts:  43200 pts_time:0.48    pos: 1 iskey:1 "
                              "type:I checksum:1\n"),
      0.48);
  EXPECT_EQ(
      firstKeyFrameOfShowinfo("x\nInput #0, mpegts, from 'a':\n  Duration: 00:00:01.00, start: "
                              "5003.000000, bitrate: 1 kb/s\n" +
                              head + "n: 0 pts: 1 pts_time:5003.6 iskey:1\n"),
      0.6);
  EXPECT_EQ(firstKeyFrameOfShowinfo("showinfo\n"), std::nullopt);
}

TEST(FirstKeyFrame, IsMeasuredWhereTheReportDoesNotTell) {
  const LogCapture quiet(false);
  const AnalysisTools tools;
  tools.installed("ffmpeg");
  // A stream copied from the middle of a group of pictures: the packets before its first key
  // frame are there, but cannot be decoded.
  const std::string whole = tools.folder().file("whole.ts");
  const std::string cut = tools.folder().file("cut.ts");
  runFfmpeg("-f lavfi -i testsrc2=s=320x240:r=25:d=2 -c:v mpeg2video -g 20 -bf 0 -f mpegts '" +
            whole + "'");
  EXPECT_EQ(intraOffset(whole), 0);
  runFfmpeg("-i '" + whole + "' -c copy -copyinkf -bsf:v noise=drop='lt(n\\,5)' -f mpegts '" + cut +
            "'");
  EXPECT_NEAR(intraOffset(cut), 15 / 25.0, 0.001);
  EXPECT_EQ(intraOffset("/nowhere.mts"), 0);

  // The picture begins half a second after the sound: the report of the analysis run and the
  // measurement count from the same start.
  const std::string late = tools.folder().file("late.ts");
  runFfmpeg(
      "-itsoffset 0.5 -f lavfi -i testsrc2=s=320x240:r=25:d=1 -f lavfi -i sine=d=2 -c:v "
      "mpeg2video -bf 0 -c:a mp2 -f mpegts '" +
      late + "'");
  const std::string report = tools.folder().file("report");
  runFfmpeg("-loglevel debug -fdebug ts -i '" + late + "' -vframes 10 -an -f null - 2>'" + report +
            "'");
  EXPECT_NEAR(intraOffset(late), 0.5, 0.05);
  EXPECT_EQ(firstKeyFrameShown(tools.folder().read("report")), intraOffset(late));
}

// ---- The whole record

TEST(AnalysisFf, DescribesInterlacedSourcesByTheirFieldRate) {
  const LogCapture quiet(false);
  const AnalysisTools tools;
  const auto rate = [](const std::string& fps, Fields fields) {
    const std::string report = "x\nInput #0, dv, from 'a'\n  Stream #0:0: Video: dvvideo, " + fps;
    return analysisFf(report, fields, "").value_or(Source()).pictures.rate;
  };
  const auto single = [](float value) { return std::optional<double>(value); };
  EXPECT_EQ(rate("25 tbr", Fields::topFirst), single(50));
  EXPECT_EQ(rate("29.97 tbr", Fields::bottomFirst), single(59.94F));
  EXPECT_EQ(rate("30 tbr", Fields::topFirst), single(60));
  EXPECT_EQ(rate("50 tbr", Fields::topFirst), single(50));
  EXPECT_EQ(rate("25 tbr", Fields::progressive), single(25));
}

TEST(AnalysisFf, AddsOffsetsChaptersAndTheKeyFrame) {
  const LogCapture quiet(false);
  const AnalysisTools tools;
  tools.script("ffmpeg", "echo called >>'" + tools.folder().file("calls") +
                             "'; echo '[showinfo] pts_time:0.48 iskey:1'");
  const auto late =
      analysisFf(readTestData("reports/late-sound.txt"), Fields::progressive, "/a.ts");
  ASSERT_TRUE(late);
  EXPECT_EQ(late->offsets.at({StreamKind::audio, 1}).shown, 240);
  EXPECT_FALSE(late->firstKeyFrame);
  EXPECT_TRUE(late->chapters.empty());

  const auto chapters =
      analysisFf(readTestData("reports/matroska.txt"), Fields::progressive, "/a.mkv");
  ASSERT_TRUE(chapters);
  EXPECT_EQ(chapters->chapters, (std::vector<double>{0, 25, 60}));
  // Both reports show a key frame, so nothing had to be run.
  EXPECT_EQ(tools.folder().read("calls"), "");

  const std::string silent = "x\nInput #0, dv, from 'a'\n  Stream #0:0: Video: dvvideo, 25 tbr\n";
  EXPECT_EQ(analysisFf(silent, Fields::topFirst, "/a.dv").value_or(Source()).firstKeyFrame, 0.48F);
  EXPECT_FALSE(analysisFf(silent, Fields::topFirst, "").value_or(Source()).firstKeyFrame);
  EXPECT_EQ(tools.folder().read("calls"), "called\n");
}

}  // namespace
}  // namespace tessarin
