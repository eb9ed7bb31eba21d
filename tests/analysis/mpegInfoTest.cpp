#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "analysis/mpegInfo.h"
#include "analysis/probeParser.h"
#include "support/AnalysisTools.h"
#include "support/LogCapture.h"
#include "utils/numbers.h"

namespace tessarin {
namespace {

using test::AnalysisTools;
using test::LogCapture;
using test::runFfmpeg;
using test::ScopedTemporaryFolder;

// ---- Streams written by hand

std::string bytes(const std::vector<int>& values) {
  std::string text;
  for (const int value : values)
    text.push_back(static_cast<char>(value));
  return text;
}

std::string startCode(int code) {
  return bytes({0, 0, 1, code});
}

// 720x576, 4:3, 8 Mbit/s unless told otherwise.
std::string sequence(int rateCode, int aspectCode = 2, int bitRate = 20000) {
  return startCode(0xB3) + bytes({0x2D, 0x02, 0x40, aspectCode << 4 | rateCode, bitRate >> 10,
                                  bitRate >> 2 & 0xFF, (bitRate & 3) << 6 | 0x20, 0});
}

std::string extension(bool progressive, int chroma) {
  return startCode(0xB5) + bytes({0x14, 0x80 | (progressive ? 8 : 0) | chroma << 1, 0, 1, 0, 0});
}

std::string group(int hours, int minutes, int seconds, int pictures) {
  const unsigned value =
      static_cast<unsigned>(hours) << 26U | static_cast<unsigned>(minutes) << 20U | 1U << 19U |
      static_cast<unsigned>(seconds) << 13U | static_cast<unsigned>(pictures) << 7U;
  return startCode(0xB8) + bytes({static_cast<int>(value >> 24U), static_cast<int>(value >> 16U),
                                  static_cast<int>(value >> 8U), static_cast<int>(value)});
}

std::string pictures(int count) {
  std::string text;
  for (int index = 0; index < count; ++index)
    text += startCode(0x00) + bytes({0x11, 0x22, 0x33}) + startCode(0x01) + "slice";
  return text;
}

// One packet of a program stream, with the header of MPEG-2.
std::string packet(int code, const std::string& payload, int headerData = 0) {
  const int length = static_cast<int>(payload.size()) + 3 + headerData;
  return startCode(code) + bytes({length >> 8, length & 0xFF, 0x80, 0, headerData}) +
         std::string(static_cast<std::size_t>(headerData), '\xFF') + payload;
}

const std::string packHeader = startCode(0xBA) + bytes({0x44, 0, 4, 0, 4, 1, 1, 0x89, 0xC3, 0xF8});

class MpegInfo : public ::testing::Test {
 protected:
  std::optional<std::string> read(const std::string& content) {
    return reader.readInformations(folder.write("clip.m2v", content));
  }

  ScopedTemporaryFolder folder;
  mpegInfo reader;
};

TEST_F(MpegInfo, ReadsAnElementaryStreamToItsEnd) {
  const LogCapture quiet(false);
  ASSERT_EQ(read(sequence(3) + extension(true, 2) + group(0, 0, 0, 0) + pictures(250) +
                 group(0, 0, 10, 0) + pictures(12)),
            std::nullopt);
  EXPECT_FALSE(reader.isMuxed());
  EXPECT_TRUE(reader.isMPeg2());
  EXPECT_TRUE(reader.isProgressive());
  EXPECT_EQ(reader.horizontalSize(), 720);
  EXPECT_EQ(reader.verticalSize(), 576);
  EXPECT_EQ(reader.chromaFormat(), 2);
  EXPECT_EQ(reader.bitRate(), 8000000);
  EXPECT_EQ(reader.end(), (MpegTimeCode{0, 0, 10, 12}));

  const auto record = mpeginfoFunction::mpegInfo(folder.file("clip.m2v"));
  ASSERT_TRUE(record);
  EXPECT_NEAR(record->duration.value_or(0), 10.48, 0.0001);
}

TEST_F(MpegInfo, CountsFromTheFirstGroup) {
  const LogCapture quiet(false);
  ASSERT_EQ(read(sequence(3) + group(23, 59, 58, 20) + pictures(12) + group(0, 0, 1, 5) +
                 pictures(24) + startCode(0xB7)),
            std::nullopt);
  EXPECT_EQ(reader.begin(), (MpegTimeCode{23, 59, 58, 20}));
  EXPECT_EQ(reader.end(), (MpegTimeCode{0, 0, 2, 4}));
  EXPECT_EQ(reader.duration(), (MpegTimeCode{0, 0, 3, 9}));
  const auto record = mpeginfoFunction::mpegInfoDico(folder.file("clip.m2v"));
  ASSERT_TRUE(record);
  // Pictures as seconds: 23 h 59 min 58 s and 20.
  EXPECT_EQ(record->start, 86418.0);
}

TEST_F(MpegInfo, WrapsPicturesAtTheWholePartOfTheRate) {
  EXPECT_EQ(nextPicture({0, 0, 0, 28}, 30000.0 / 1001), (MpegTimeCode{0, 0, 1, 0}));
  EXPECT_EQ(nextPicture({0, 0, 0, 22}, 24000.0 / 1001), (MpegTimeCode{0, 0, 1, 0}));
  EXPECT_EQ(nextPicture({23, 59, 59, 59}, 60), (MpegTimeCode{0, 0, 0, 0}));
  EXPECT_EQ(nextPicture({1, 59, 59, 58}, 60000.0 / 1001), (MpegTimeCode{2, 0, 0, 0}));
  EXPECT_EQ(nextPicture({0, 0, 0, 3}, 0), (MpegTimeCode{0, 0, 0, 3}));
  EXPECT_EQ(timeBetween({0, 0, 0, 20}, {0, 1, 0, 10}, 30000.0 / 1001),
            (MpegTimeCode{0, 0, 59, 19}));
}

// ---- Program streams

TEST_F(MpegInfo, FindsTheVideoInAProgramStream) {
  const std::string video = sequence(4) + extension(false, 1) + group(0, 0, 0, 0) + pictures(1);
  const std::string audio = "sound " + startCode(0xB8) + " that looks like video";
  // A navigation packet, sound, then the video in two packs, divided inside the sequence header's
  // successor.
  ASSERT_EQ(
      read(packHeader + packet(0xBF, audio) + packet(0xC0, audio) +
           packet(0xE0, video.substr(0, 14), 5) + packHeader + packet(0xE0, video.substr(14))),
      std::nullopt);
  EXPECT_TRUE(reader.isMuxed());
  EXPECT_TRUE(reader.isMPeg2());
  EXPECT_EQ(reader.chromaFormat(), 1);
  EXPECT_NEAR(reader.frameRate(), 29.97, 0.001);
  EXPECT_EQ(reader.duration(), MpegTimeCode());

  // A packet takes the first zero of what follows: that packet is passed over.
  EXPECT_NE(read(packHeader + packet(0xE0, video.substr(0, 12)) + packet(0xE0, video.substr(12))),
            std::nullopt);
}

TEST_F(MpegInfo, UnderstandsPacketsOfMpeg1) {
  const std::string video = sequence(3) + group(0, 0, 0, 0) + pictures(1);
  const auto packetOf = [&](const std::string& header) {
    const int length = static_cast<int>(video.size() + header.size());
    return packHeader + startCode(0xE0) + bytes({length >> 8, length & 0xFF}) + header + video;
  };
  const std::string buffer = bytes({0x60, 0x20});
  const std::string pts = bytes({0x21, 0, 1, 0, 1});
  const std::string both = bytes({0x31, 0, 1, 0, 1, 0x11, 0, 1, 0, 1});
  for (const std::string& header :
       {bytes({0x0F}), pts, both, buffer + bytes({0x0F}), buffer + pts, buffer + both})
    EXPECT_EQ(read(packetOf(header)), std::nullopt) << ::testing::PrintToString(header);
}

// ---- Agreement with ffmpeg

struct MpegClip {
  const char* name;
  const char* video;  // of lavfi
  const char* options;
};

class MpegClips : public ::testing::TestWithParam<MpegClip> {};

TEST_P(MpegClips, AreDescribedAsFfmpegDoes) {
  const LogCapture quiet(false);
  const AnalysisTools tools;
  tools.installed("ffmpeg");
  const std::string path = tools.folder().file(GetParam().name);
  runFfmpeg(std::string("-f lavfi -i '") + GetParam().video + "' -f lavfi -i sine=d=2 " +
            GetParam().options + " '" + path + "'");
  const auto record = mpeginfoFunction::mpegInfoDico(path);
  const auto other = ffInfos(std::nullopt, path);
  ASSERT_TRUE(record);
  ASSERT_TRUE(other);
  EXPECT_EQ(record->pictures.width, other->pictures.width);
  EXPECT_EQ(record->pictures.height, other->pictures.height);
  // ffmpeg works the shape of MPEG-1 pictures out from that of their pixels: 1958:1467.
  EXPECT_NEAR(fractionStr2Float(record->pictures.shape), fractionStr2Float(other->pictures.shape),
              0.01);
  if (!record->pictures.format.empty()) {
    EXPECT_EQ(record->pictures.format, other->pictures.format);
  }
  EXPECT_NEAR(record->pictures.rate.value_or(0), other->pictures.rate.value_or(-1), 0.005);
  if (record->container == "mpeg") {
    EXPECT_EQ(other->container, "mpeg");
    EXPECT_FALSE(record->duration);
  } else {
    EXPECT_EQ(record->container, other->pictures.codec);
    // Fifty or sixty pictures; counted with whole rates, so not quite two seconds at 29.97.
    EXPECT_NEAR(record->duration.value_or(0), 2, 0.05);
  }
}

constexpr const char* pal = "testsrc2=s=720x576:r=25:d=2,format=yuv420p";
constexpr const char* ntsc = "testsrc2=s=720x480:r=30000/1001:d=2,format=yuv420p";

INSTANTIATE_TEST_SUITE_P(
    Made, MpegClips,
    ::testing::Values(
        MpegClip{"a.m2v", pal, "-map 0 -c:v mpeg2video -aspect 16:9"},
        MpegClip{"b.m2v", ntsc, "-map 0 -c:v mpeg2video -aspect 4:3"},
        MpegClip{"c.m2v", pal, "-map 0 -c:v mpeg2video -pix_fmt yuv422p -aspect 4:3 -bf 2"},
        MpegClip{"d.m1v", "testsrc2=s=352x288:r=25:d=2", "-map 0 -c:v mpeg1video -aspect 4:3"},
        MpegClip{"e.mpg", "testsrc2=s=352x288:r=25:d=2",
                 "-c:v mpeg1video -aspect 4:3 -c:a mp2 -f mpeg"},
        MpegClip{"f.mod", pal, "-c:v mpeg2video -aspect 16:9 -b:v 6M -c:a ac3 -f vob"},
        MpegClip{"g.vob", ntsc, "-c:v mpeg2video -aspect 4:3 -b:v 4M -c:a mp2 -f dvd"}));

// ---- Files that are something else, or lie

TEST_F(MpegInfo, SaysWhyAFileCannotBeRead) {
  EXPECT_EQ(reader.readInformations(folder.file("none")), "File not found");
  EXPECT_EQ(reader.readInformations(folder.path()), "File not found");
  EXPECT_EQ(read(""), "File of length 0");
  EXPECT_EQ(read("x"), "Not an MPEG-2 file");
  EXPECT_EQ(read(bytes({0, 0, 1})), "Not an MPEG-2 file");
  EXPECT_EQ(read(packHeader), "Not an MPEG-2 file");
  EXPECT_EQ(read(packHeader + packet(0xE0, "no sequence")), "Not an MPEG-2 file");
  EXPECT_EQ(read(sequence(3)), "No GOP found");
  EXPECT_EQ(read(sequence(3) + pictures(5)), "No GOP found");
  EXPECT_EQ(read(sequence(3) + startCode(0xB7) + group(0, 0, 0, 0)), "No GOP found");
  // The start code behind a video packet is lost to it, so the end code comes second.
  EXPECT_EQ(read(packHeader + packet(0xE0, sequence(3)) + packHeader + startCode(0xB9) +
                 packet(0xE0, group(0, 0, 0, 0))),
            "No GOP found");

  const LogCapture log(false);
  EXPECT_EQ(mpeginfoFunction::mpegInfoDico(folder.file("none")), std::nullopt);
  EXPECT_TRUE(log.has("Erreur              : File not found"));
}

TEST_F(MpegInfo, ReadsOverTheEdgesOfItsBuffer) {
  // The last group anywhere around a block's border, seen from both ends.
  const auto streamWith = [](const std::string& padding) {
    return sequence(3) + padding + group(0, 0, 1, 0) + pictures(1) + padding + group(0, 0, 3, 0) +
           padding + pictures(2) + padding;
  };
  for (std::size_t filler = 2020; filler < 2080; ++filler) {
    ASSERT_EQ(read(streamWith(std::string(filler, 'U'))), std::nullopt) << filler;
    ASSERT_EQ(reader.begin(), (MpegTimeCode{0, 0, 1, 0})) << filler;
    ASSERT_EQ(reader.end(), (MpegTimeCode{0, 0, 3, 2})) << filler;
  }
}

// Whatever the bytes say, reading comes to an end and the values stay in their ranges.
TEST_F(MpegInfo, SurvivesDamagedFiles) {
  const std::string video = sequence(4) + extension(false, 1) + group(1, 2, 3, 4) + pictures(40);
  const std::vector<std::string> whole = {
      video + group(1, 2, 4, 0) + pictures(10),
      packHeader + packet(0xBF, "nav") + packet(0xE0, video, 5) + packHeader +
          packet(0xC0, std::string(3000, 's')) + packet(0xE0, video)};
  std::mt19937 random(20101224);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  for (int round = 0; round < 400; ++round) {
    std::string content = whole[below(whole.size())];
    for (std::size_t change = below(12); change > 0; --change)
      content[below(content.size())] =
          bytes({0, 1, 0xE0, 0xB8, 0xFF, static_cast<int>(below(256))})[below(6)];
    content.resize(below(content.size() + 1));
    if (!read(content)) {
      ASSERT_LE(reader.horizontalSize(), 4095);
      ASSERT_LT(reader.duration().hours, 64);
    }
  }
  // A packet that claims more, or less, than there is; the video is found where it can be.
  const auto lyingPacket = [&](int length, int header) {
    return packHeader + startCode(0xE0) + bytes({length >> 8, length & 0xFF, 0x80, 0, header}) +
           video;
  };
  EXPECT_EQ(read(lyingPacket(65535, 0)), std::nullopt);
  for (const int length : {0, 1, 2, 3})
    for (const int header : {0, 1, 255})
      EXPECT_EQ(read(lyingPacket(length, header)), "Not an MPEG-2 file") << length << " " << header;
  EXPECT_EQ(read(lyingPacket(65535, 255)), "Not an MPEG-2 file");
}

}  // namespace
}  // namespace tessarin
