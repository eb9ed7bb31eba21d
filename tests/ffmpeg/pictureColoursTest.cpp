#include <gtest/gtest.h>

#include "ffmpeg/pictureColours.h"

namespace tessarin {
namespace {

TEST(PictureColours, AreReadFromTheBracketsOfAReport) {
  const struct {
    const char* report;
    PictureColours colours;
  } cases[] = {
      {"h264 (High) (HDMV / 0x4D4448), yuv420p(tv, bt709, top first, left), 1920x1080",
       {"bt709", "bt709", "bt709"}},
      {"yuv420p10le(tv, bt2020nc/bt2020/arib-std-b67, progressive)",
       {"bt2020", "arib-std-b67", "bt2020nc"}},
      {"mjpeg (MJPG / 0x47504A4D), yuvj420p(pc, bt470bg/unknown/unknown, center)",
       {"", "", "bt470bg"}},
      {"png, rgb24(pc, gbr/bt709/iec61966-2-1), 640x480", {"bt709", "iec61966-2-1", ""}},
      {"dvvideo (dvcp / 0x70637664), yuv420p(top first), 720x576", {}},
      {"h264, yuv420p(tv, a/b/c, bt709:evil), 9x9", {}},
      {"h264, yuv420p(tv, bt709", {"bt709", "bt709", "bt709"}},
  };
  for (const auto& [report, colours] : cases)
    EXPECT_EQ(coloursOfReport(report), colours) << report;
}

TEST(PictureColours, AreThoseOfTelevisionWhereNobodySays) {
  const auto primaries = [](int width, int height, double rate) {
    return usualColours(width, height, rate).primaries;
  };
  EXPECT_EQ(primaries(1920, 1080, 50), "bt709");
  EXPECT_EQ(primaries(1280, 536, 24), "bt709");
  EXPECT_EQ(primaries(720, 576, 50), "bt470bg");
  EXPECT_EQ(primaries(720, 480, 59.94), "smpte170m");
  EXPECT_EQ(primaries(720, 486, 25), "smpte170m");
  EXPECT_EQ(primaries(320, 240, 25), "smpte170m");
  EXPECT_EQ(primaries(640, 360, 25), "bt470bg");
  EXPECT_EQ(primaries(640, 360, 29.97), "smpte170m");
  EXPECT_EQ(completeColours({"", "", "bt470bg"}, 1280, 720, 30),
            (PictureColours{"bt709", "bt709", "bt470bg"}));
  EXPECT_EQ(completeColours({"", "smpte2084", ""}, 1280, 720, 30),
            (PictureColours{"bt2020", "smpte2084", "bt2020nc"}));
}

}  // namespace
}  // namespace tessarin
