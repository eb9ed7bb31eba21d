#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "ffmpeg/ffmpegSuccess.h"
#include "ffmpeg/reportText.h"
#include "support/LogCapture.h"
#include "support/readTestData.h"

namespace tessarin {
namespace {

using test::LogCapture;
using test::readTestData;

Dico recordOf(const std::string& report) {
  const LogCapture quiet(false);
  return recordOfSource(ffInfos(report, std::nullopt).value_or(Source()));
}

// The record of a source with these lines in the input's block.
Dico recordOfLines(const std::string& lines) {
  return recordOf("ffmpeg version 4.2\nInput #0, mpegts, from 'clip.mts':\n" + lines +
                  "\nAt least one output file must be specified\n");
}

// Single precision is part of the record.
Value number(float value) {
  return {static_cast<double>(value)};
}

// ---- Real reports

struct RealReport {
  std::string name;
  Dico record;
};

class RealReports : public ::testing::TestWithParam<RealReport> {};

TEST_P(RealReports, AreReadWhole) {
  Dico record = recordOf(readTestData("reports/" + GetParam().name + ".txt"));
  // The whole seconds are those of the exact duration, which a record of any length has.
  const double seconds = record.number("w_seconds").value_or(0);
  EXPECT_EQ(static_cast<std::int64_t>(seconds), record.integer("w_duration").value_or(0));
  record.remove("w_seconds");
  EXPECT_EQ(record, GetParam().record) << record.description();
}

const std::string quickTime = "mov,mp4,m4a,3gp,3g2,mj2";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    OfFfmpeg51, RealReports,
    ::testing::Values(
        RealReport{"avchd",
                   {{"wrapper", "mpegts"}, {"w_offset", number(1.4F)}, {"w_bitrate", 14456},
                    {"v0_id", 0}, {"v0_codec", "h264"}, {"v0_chroma", "yuv420p"},
                    {"v0_width", 1440}, {"v0_height", 1080}, {"v0_par", "4:3"},
                    {"v0_dar", "16:9"}, {"v0_fps", number(25)},
                    {"a0_id", 1}, {"a0_lang", "eng"}, {"a0_codec", "ac3"}, {"a0_rate", 48000},
                    {"a0_channels", 6}, {"a0_bitrate", 448},
                    {"a1_id", 2}, {"a1_lang", "fra"}, {"a1_codec", "ac3"}, {"a1_rate", 48000},
                    {"a1_channels", 2}, {"a1_bitrate", 192}}},
        RealReport{"mpeg-ps",
                   {{"wrapper", "mpeg"}, {"w_offset", number(0.529978F)}, {"w_bitrate", 7761},
                    {"v0_id", 0}, {"v0_codec", "mpeg2video"}, {"v0_chroma", "yuv420p"},
                    {"v0_width", 720}, {"v0_height", 576}, {"v0_par", "64:45"},
                    {"v0_dar", "16:9"}, {"v0_fps", number(25)},
                    {"a0_id", 1}, {"a0_codec", "mp2"}, {"a0_rate", 48000}, {"a0_channels", 1},
                    {"a0_bitrate", 384}}},
        RealReport{"dv",
                   {{"wrapper", "dv"}, {"w_offset", number(0)}, {"w_bitrate", 28800},
                    {"v0_id", 0}, {"v0_codec", "dvvideo"}, {"v0_chroma", "yuv420p"},
                    {"v0_bitrate", 25000}, {"v0_width", 720}, {"v0_height", 576},
                    {"v0_par", "64:45"}, {"v0_dar", "16:9"}, {"v0_fps", number(25)},
                    {"a0_id", 1}, {"a0_codec", "pcm_s16le"}, {"a0_rate", 48000},
                    {"a0_channels", 2}, {"a0_bitrate", 1536}}},
        RealReport{"quicktime",
                   {{"wrapper", quickTime}, {"w_offset", number(0)}, {"w_bitrate", 8375},
                    {"v0_id", 0}, {"v0_lang", "jpn"}, {"v0_codec", "h264"},
                    {"v0_chroma", "yuv420p"}, {"v0_bitrate", 7506}, {"v0_width", 1280},
                    {"v0_height", 720}, {"v0_par", "1:1"}, {"v0_dar", "16:9"},
                    {"v0_fps", number(29.97F)},
                    {"a0_id", 1}, {"a0_codec", "aac"}, {"a0_rate", 48000}, {"a0_channels", 1},
                    {"a0_bitrate", 71},
                    {"a1_id", 2}, {"a1_lang", "ita"}, {"a1_codec", "pcm_s16le"},
                    {"a1_rate", 48000}, {"a1_channels", 1}, {"a1_bitrate", 768}}},
        RealReport{"avi",
                   {{"wrapper", "avi"}, {"w_offset", number(0)}, {"w_bitrate", 5022},
                    {"v0_id", 0}, {"v0_codec", "mjpeg"}, {"v0_chroma", "yuvj422p"},
                    {"v0_bitrate", 4347}, {"v0_width", 640}, {"v0_height", 480},
                    {"v0_par", "1:1"}, {"v0_dar", "4:3"}, {"v0_fps", number(30)},
                    {"a0_id", 1}, {"a0_codec", "pcm_s16le"}, {"a0_rate", 48000},
                    {"a0_channels", 1}, {"a0_bitrate", 768}}},
        RealReport{"matroska",
                   {{"wrapper", "matroska,webm"}, {"w_offset", number(0)}, {"w_bitrate", 14008},
                    {"v0_id", 0}, {"v0_codec", "ffv1"}, {"v0_width", 1280}, {"v0_height", 720},
                    {"v0_chroma", "yuv420p10le"}, {"v0_par", "1:1"}, {"v0_dar", "16:9"},
                    {"v0_fps", number(23.98F)},
                    {"a0_id", 1}, {"a0_lang", "eng"}, {"a0_codec", "ac3"}, {"a0_rate", 48000},
                    {"a0_channels", 6}, {"a0_bitrate", 448},
                    {"a1_id", 2}, {"a1_lang", "deu"}, {"a1_codec", "flac"}, {"a1_rate", 48000},
                    {"a1_channels", 1},
                    {"s0_id", 3}, {"s0_lang", "eng"}, {"s0_codec", "subrip"},
                    {"s0_lang+", "Signs, songs"},
                    {"s1_id", 4}, {"s1_lang", "fra"}, {"s1_codec", "subrip"},
                    {"s1_lang+", "Complets"}}},
        RealReport{"audio-only",
                   {{"wrapper", "wav"}, {"w_bitrate", 769},
                    {"a0_id", 0}, {"a0_codec", "pcm_s16le"}, {"a0_rate", 48000},
                    {"a0_channels", 1}, {"a0_bitrate", 768}}},
        RealReport{"camera-avchd-1080i50",
                   {{"wrapper", "mpegts"}, {"w_offset", number(1.04F)}, {"w_bitrate", 12920},
                    {"v0_id", 0}, {"v0_codec", "h264"}, {"v0_chroma", "yuv420p"},
                    {"v0_width", 1920}, {"v0_height", 1080}, {"v0_par", "1:1"},
                    {"v0_dar", "16:9"}, {"v0_fps", number(50)},
                    {"a0_id", 1}, {"a0_codec", "ac3"}, {"a0_rate", 48000}, {"a0_channels", 2},
                    {"a0_bitrate", 256},
                    {"s0_id", 2}, {"s0_codec", "hdmv_pgs_subtitle"}}},
        RealReport{"camera-dv-pal",
                   {{"wrapper", quickTime}, {"w_duration", 1}, {"w_offset", number(0)},
                    {"w_bitrate", 28813},
                    {"v0_id", 0}, {"v0_lang", "eng"}, {"v0_codec", "dvvideo"},
                    {"v0_width", 720}, {"v0_height", 576}, {"v0_chroma", "yuv420p"},
                    {"v0_par", "16:15"}, {"v0_dar", "4:3"}, {"v0_bitrate", 28800},
                    {"w0_par", "59:54"}, {"w0_dar", "295:216"}, {"v0_fps", number(25)}}},
        RealReport{"camera-aic",
                   {{"wrapper", quickTime}, {"w_duration", 1}, {"w_offset", number(0)},
                    {"w_bitrate", 2556},
                    {"v0_id", 0}, {"v0_lang", "eng"}, {"v0_codec", "aic"},
                    {"v0_width", 320}, {"v0_height", 240}, {"v0_chroma", "yuv420p"},
                    {"v0_bitrate", 2545}, {"v0_fps", number(25)}}}),
    [](const auto& report) {
      std::string name = report.param.name;
      std::erase(name, '-');
      return name;
    });
// clang-format on

TEST(ProbeParser, LeavesOutAttachedPictures) {
  const Dico song = recordOf(readTestData("reports/song-with-cover.txt"));
  EXPECT_FALSE(song.contains("v0_codec")) << song.description();
  EXPECT_EQ(song.text("a0_codec"), "aac");

  const Dico movie = recordOf(readTestData("reports/movie-with-cover.txt"));
  EXPECT_EQ(movie.integer("v0_width"), 640);
  EXPECT_FALSE(movie.contains("v1_width")) << movie.description();

  // A cover that stands before the movie takes neither its place nor its number.
  const Dico first = recordOfLines(
      "  Stream #0:0: Video: mjpeg, yuvj420p(pc), 600x600 [SAR 1:1 DAR 1:1], 90k tbr (attached "
      "pic)\n"
      "  Stream #0:1(und): Video: h264 (High), yuv420p, 1280x720, 25 fps, 25 tbr");
  EXPECT_EQ(first.integer("v0_id"), 1);
  EXPECT_EQ(first.integer("v0_height"), 720);
}

// ---- Forms of other versions

TEST(ProbeParser, ReadsStreamLinesOfOldPrograms) {
  const Dico record = recordOfLines(
      "  Duration: 00:01:02.96, start: 1.033367, bitrate: 16734 kb/s\n"
      "  Program 1\n"
      "    Stream #0.0[0x1011]: Video: h264 (High), yuv420p, 1920x1080 [PAR 1:1 DAR 16:9], "
      "25 fps, 50 tbr, 90k tbn, 50 tbc\n"
      "    Stream #0.1[0x1100](deu): Audio: ac3, 48000 Hz, stereo, s16, 256 kb/s");
  const Dico expected = {{"wrapper", "mpegts"},  {"w_duration", 62},
                         {"w_seconds", 62.96},   {"w_offset", number(1.033367F)},
                         {"w_bitrate", 16734},   {"v0_id", 0},
                         {"v0_codec", "h264"},   {"v0_chroma", "yuv420p"},
                         {"v0_width", 1920},     {"v0_height", 1080},
                         {"v0_par", "1:1"},      {"v0_dar", "16:9"},
                         {"v0_fps", number(50)}, {"v0_tbc", number(50)},
                         {"a0_id", 1},           {"a0_lang", "deu"},
                         {"a0_codec", "ac3"},    {"a0_rate", 48000},
                         {"a0_channels", 2},     {"a0_bitrate", 256}};
  EXPECT_EQ(record, expected) << record.description();
}

TEST(ProbeParser, TakesTheLanguageButNeverTheProfile) {
  const Dico record = recordOfLines(
      "    Stream #0:0(eng): Video: h264 (High) (avc1 / 0x31637661), yuv420p(tv, bt709), "
      "1440x1080 [SAR 4:3 DAR 16:9], 21997 kb/s, 29.97 fps, 59.94 tbr, 90k tbn, 180k tbc "
      "(default)\n"
      "    Stream #0:1: Video: h264 (Main), yuv420p, 640x480, 25 fps, 25 tbr\n"
      "    Stream #0:2(fre): Audio: aac (LC) (mp4a / 0x6134706D), 44100 Hz, mono, fltp (default)\n"
      "    Stream #0:3: Audio: eac3 (Dolby Digital Plus), 48000 Hz, 7.1, fltp, 640 kb/s");
  EXPECT_EQ(record.text("v0_lang"), "eng");
  EXPECT_FALSE(record.contains("v1_lang"));
  EXPECT_EQ(record.text("a0_lang"), "fre");
  EXPECT_FALSE(record.contains("a1_lang"));
  EXPECT_EQ(record.text("v0_codec"), "h264");
  EXPECT_EQ(record.text("a1_codec"), "eac3");
  EXPECT_EQ(record.number("v0_tbc"), 180.0);
  EXPECT_EQ(record.integer("a0_channels"), 1);
  EXPECT_EQ(record.integer("a1_channels"), 8);
}

TEST(ProbeParser, ReadsStreamLinesOfNewPrograms) {
  const Dico record = recordOfLines(
      "  Stream #0:0[0x100], 26, 1/90000: Video: h264 (High), 1 reference frame ([27][0][0][0] / "
      "0x001B), none(progressive), 1920x1080 (1920x1088) [SAR 1:1 DAR 16:9], Closed Captions, 0/1, "
      "25 fps, 50 tbr, 90k tbn, start 1.440000\n"
      "  Stream #0:1[0x101], 17, 1/90000: Audio: dts (DTS-HD MA), 48000 Hz, 6 channels "
      "(FL+FR+FC+BC+SL+SR), s32p (24 bit), delay 0, start 1.440000");
  EXPECT_EQ(record.number("v0_fps"), 50.0);
  EXPECT_EQ(record.integer("v0_height"), 1080);
  EXPECT_EQ(record.text("v0_chroma"), "none");
  EXPECT_EQ(record.text("a0_codec"), "dts");
  EXPECT_FALSE(record.contains("a0_channels")) << record.description();
}

// ---- The block of the input

TEST(ProbeParser, ReadsOnlyTheLinesOfTheLastInput) {
  const std::string video = "  Stream #0:0: Video: h264, yuv420p, ";
  const Dico record = recordOf(
      "Stream #0:0: Video: early, 1x1\n"
      "Input #0, avi, from 'a.avi':\n" +
      video +
      "16x16, 10 tbr\n"
      "Input #0, dv, from 'b.dv':\r\n" +
      video +
      "32x48, 25 tbr\r\n"
      "Output #0, null, to 'pipe:':\n" +
      video +
      "64x64, 50 tbr\n"
      "At least one output file must be specified\n");
  EXPECT_EQ(record.text("wrapper"), "dv");
  EXPECT_EQ(record.integer("v0_width"), 32);
  EXPECT_FALSE(record.contains("v1_width"));
}

// What a source can put into a report: values, but also the names of values, the language of a
// stream, and texts of several lines.
TEST(ProbeParser, TakesNoStatementFromTextsOfTheSource) {
  const LogCapture quiet(false);
  const std::string report = readTestData("reports/hostile.txt");
  const Dico record = recordOf(report);
  EXPECT_EQ(record.text("wrapper"), "matroska,webm");
  EXPECT_EQ(record.integer("w_duration"), 1);
  EXPECT_EQ(record.text("v0_codec"), "h264");
  EXPECT_EQ(record.integer("v0_width"), 720);
  EXPECT_FALSE(record.contains("v1_codec"));
  EXPECT_EQ(record.integer("a0_id"), 1);
  EXPECT_FALSE(record.contains("a1_id"));
  EXPECT_EQ(ffChapters(report), std::nullopt);
  EXPECT_EQ(idetCounts(report), std::nullopt);
  EXPECT_EQ(firstKeyFrameOfShowinfo(report), std::nullopt);
  EXPECT_EQ(firstKeyFrameShown(report), 0.005);
  EXPECT_FALSE(isFfmpegSuccess(report));
  EXPECT_TRUE(isFfmpegSuccess(wordsOfTool(report)));
}

TEST(ProbeParser, StoresNoNumberThatCannotBe) {
  const Dico record = recordOfLines(
      "  Duration: 99999:00:00.00, start: 99999999999.0, bitrate: 999999999999 kb/s\n"
      "  Stream #0:0: Video: h264, yuv420p, 99999x88888 [SAR 1:65535 DAR 1:65535], 90k tbr\n"
      "  Stream #0:1: Audio: aac, 99999999 Hz, 9000.1, 1 kb/s");
  const Dico expected = {{"wrapper", "mpegts"},    {"v0_id", 0},           {"v0_codec", "h264"},
                         {"v0_chroma", "yuv420p"}, {"v0_fps", number(90)}, {"a0_id", 1},
                         {"a0_codec", "aac"},      {"a0_bitrate", 1}};
  EXPECT_EQ(record, expected) << record.description();
}

// ---- The container's line

TEST(ProbeParser, StoresNoUnknownOrEmptyDuration) {
  for (const char* line : {"  Duration: N/A, start: 2.500000, bitrate: N/A",
                           "  Duration: 00:00:00.00, start: 2.500000, bitrate: 0 kb/s",
                           "  Duration: 00:00:00.60, start: 2.500000, bitrate: -1 kb/s"}) {
    const Dico record = recordOfLines(line);
    EXPECT_FALSE(record.contains("w_duration")) << line;
    EXPECT_FALSE(record.contains("w_bitrate")) << line;
    EXPECT_EQ(record.number("w_offset"), 2.5) << line;
  }
  EXPECT_EQ(recordOfLines("  Duration: 1:02:03:04.99, start: -0.5").integer("w_duration"), 93784);
  EXPECT_EQ(recordOfLines("  Duration: 1:02:03:04.99, start: -0.5").number("w_offset"), -0.5);
}

// ---- Audio

TEST(ProbeParser, CountsChannelsOfTheKnownLayoutsOnly) {
  const auto channels = [](const std::string& layout) {
    return recordOfLines("  Stream #0:1: Audio: ac3, 48000 Hz, " + layout + ", fltp, 448 kb/s")
        .integer("a0_channels");
  };
  const std::pair<const char*, std::optional<std::int64_t>> layouts[] = {
      {"mono", 1},           {"Stereo", 2},      {"2 channels", 2}, {"5.1(side)", 6}, {"5.1", 6},
      {"7.1(wide-side)", 8}, {"6 channels", {}}, {"quad", {}},      {"0.0", {}}};
  for (const auto& [layout, count] : layouts)
    EXPECT_EQ(channels(layout), count) << layout;
}

TEST(ProbeParser, RewritesBluRaySoundOfTheFirstStreamOnly) {
  const std::string misread = "Audio: aac, 96000 Hz, 5.1, fltp, 300 kb/s";
  const std::string other = "Audio: aac, 48000 Hz, mono, fltp";
  const Dico record = recordOfLines("  Stream #0:1: " + misread + "\n  Stream #0:2: " + other);
  EXPECT_EQ(record.text("a0_codec"), "pcm_bluray");
  EXPECT_EQ(record.integer("a0_rate"), 48000);
  EXPECT_EQ(record.integer("a0_channels"), 2);
  EXPECT_EQ(record.integer("a0_bitrate"), 1536);
  EXPECT_EQ(record.integer("a0_force"), 1);

  const Dico second = recordOfLines("  Stream #0:1: " + other + "\n  Stream #0:2: " + misread);
  EXPECT_FALSE(second.contains("a0_force"));
  EXPECT_EQ(second.text("a1_codec"), "aac");
}

// ---- Video

TEST(ProbeParser, FrameRateIsTbrWithPulldownTakenOut) {
  const auto rate = [](const std::string& parts) {
    return recordOfLines("  Stream #0:0: Video: h264, yuv420p, 16x16, " + parts).number("v0_fps");
  };
  const std::pair<const char*, std::optional<float>> rates[] = {
      {"29.97 fps, 59.94 tbr, 90k tbn", 59.94F},
      {"23.98 fps, 59.94 tbr, 90k tbn", 29.97F},
      {"24 fps, 59.94 tbr", 29.97F},
      {"24.08 fps, 59.94 tbr", 29.97F},
      {"23.89 fps, 59.94 tbr", 59.94F},  // too far from film
      {"24 fps, 59.95 tbr", 59.95F},
      {"25 fps, 25 tbr", 25},
      {"59.94 tbr", 59.94F},
      {"25 fps, 90k tbn", {}},
      {"29.97 fps, 1k tbr, 1k tbn", 29.97F},  // the clock of a source with variable rate is none
      {"25 fps, 375 tbr, 90k tbn", 25},       // nor is the step at a joint
      {"240 fps, 240 tbr, 90k tbn", 240},
      {"1k fps, 1k tbr, 16k tbn", 1000.0F}};
  for (const auto& [parts, expected] : rates)
    EXPECT_EQ(rate(parts), expected) << parts;
}

TEST(ProbeParser, ReadsSizesAndShapesWhereverTheyStand) {
  const Dico record = recordOfLines(
      "  Stream #0:0: Video: rawvideo (2vuy / 0x79757632), uyvy422, 1440x1080 [SAR 4:3 DAR 16:9], "
      "SAR 1:1 DAR 4:3, 25 tbr\n"
      "  Stream #0:1: Video: dvvideo, yuv411p, 720x480, 28771 kb/s, PAR 8:9 DAR 4:3, 29.97 tbr\n"
      "  Stream #0:2: Video: dvvideo, xyz12le, 720x480, 28771 kb/s, SAR 8:9 DAR 4:3, 29.97 tbr");
  EXPECT_EQ(record.text("v0_par"), "4:3");
  EXPECT_EQ(record.text("v0_dar"), "16:9");
  EXPECT_EQ(record.text("w0_par"), "1:1");
  EXPECT_EQ(record.text("w0_dar"), "4:3");
  EXPECT_EQ(record.text("v1_chroma"), "yuv411p");
  EXPECT_EQ(record.text("v2_par"), "8:9");
  EXPECT_EQ(record.text("v2_dar"), "4:3");
  EXPECT_FALSE(record.contains("w2_par"));
  EXPECT_EQ(record.text("v2_chroma"), "xyz12le");
  EXPECT_EQ(record.integer("v2_width"), 720);
}

TEST(ProbeParser, KeepsOtherPartsOutOfThePixelFormat) {
  const auto chroma = [](const std::string& parts) {
    return recordOfLines("  Stream #0:0[0x1e0], 15, 1/90000: Video: mpeg2video (4:2:2), " + parts)
        .text("v0_chroma");
  };
  EXPECT_EQ(chroma("2 reference frames ([2][0][0][0] / 0x0002), yuv422p(tv, top first), 720x576 "
                   "[SAR 16:15 DAR 4:3], Closed Captions, 0/1, max. 50000 kb/s, 25 fps, 25 tbr"),
            "yuv422p");
  EXPECT_EQ(chroma("yuv420p(pc, bt470bg/unknown/unknown, center), 640x480, 30 tbr"), "yuv420p");
  EXPECT_EQ(chroma("90000, 1/25, 720x576"), std::nullopt);
}

// ---- Subtitles

TEST(ProbeParser, LooksForASubtitleTitleInTheNextTwoLines) {
  const std::string stream = "  Stream #0:2(eng): Subtitle: subrip (default)\n    Metadata:\n";
  EXPECT_EQ(recordOfLines(stream + "      title           : Full").text("s0_lang+"), "Full");
  EXPECT_FALSE(recordOfLines(stream + "      DURATION        : 1\n      title           : Late")
                   .contains("s0_lang+"));
  EXPECT_FALSE(recordOfLines(stream + "      subtitle        : No").contains("s0_lang+"));
}

// ---- Where the report comes from

// ---- The verdict over a run

TEST(IsFfmpegSuccess, FindsFailuresInAnyCaseAndPlace) {
  const LogCapture log(false);
  for (const char* phrase :
       {"Unknown format", "Unsupported video codec", "Could not find codec parameters for stream",
        "Operation not permitted", "ERROR while decoding", "I/O error occured",
        "Error reading header: -1", "Error while opening file"})
    EXPECT_FALSE(isFfmpegSuccess(std::string("frame= 1\n[x] ") + phrase + "\nmore")) << phrase;
  EXPECT_TRUE(log.has("isFfmpegSuccess     :-("));
  EXPECT_FALSE(isFfmpegSuccess(""));

  EXPECT_FALSE(log.has("isFfmpegSuccess     :-)"));
  EXPECT_TRUE(isFfmpegSuccess("0 decoding errors\nterror\nunknown\nformat"));
  EXPECT_TRUE(log.has("isFfmpegSuccess     :-)"));
}

TEST(IsFfmpegSuccess, FindsAPhraseAnywhereInALongText) {
  const LogCapture quiet(false);
  // Long texts are looked at in pieces; no place may fall between two of them.
  const std::string text(200000, '.');
  for (std::size_t place = 65400; place < 65600; ++place) {
    std::string report = text;
    report.replace(place, 31, "Could not find codec parameters");
    ASSERT_FALSE(isFfmpegSuccess(report)) << place;
  }
  EXPECT_TRUE(isFfmpegSuccess(text));
}

}  // namespace
}  // namespace tessarin
