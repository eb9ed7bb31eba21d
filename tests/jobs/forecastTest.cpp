#include <gmock/gmock.h>

#include "analysis/codecInventory.h"
#include "encoding/BatchEntry.h"
#include "jobs/forecast.h"
#include "jobs/newRow.h"
#include "prefs/utilsAlert.h"
#include "support/LogCapture.h"
#include "support/TestBundle.h"
#include "support/sources.h"

namespace tessarin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Forecasts : public testing::Test {
 protected:
  Forecasts() {
    codecInventory().aic = true;
    codecInventory().prores = true;
  }
  ~Forecasts() override { codecInventory() = CodecInventory(); }

  static Row rowOf(int width, int height, double fps, bool progressive, Target out, int size,
                   Speed speed = speedKeep) {
    return newRow(test::sourceOf({{"v0_id", 0},
                                  {"v0_codec", "h264"},
                                  {"v0_width", width},
                                  {"v0_height", height},
                                  {"v0_fps", fps},
                                  {"v0_fields", progressive ? "PFF" : "TFF"},
                                  {"wrapper", "mov,mp4"},
                                  {"srcPathStr", "/clips/00001.mov"},
                                  {"a0_id", 1},
                                  {"a0_channels", 2},
                                  {"a0_rate", 48000}}),
                  {out, size, speed});
  }
  static std::string summary(const Row& row, const char* prores = "apcn") {
    const auto movie = forecastOf(row, prores);
    return movie ? summaryOf(*movie) : "none";
  }
  static std::vector<std::string> kindsLeftOut(const Row& row) {
    std::vector<std::string> kinds;
    if (const auto movie = forecastOf(row, "apcn"))
      for (const LeftOut& each : movie->leftOut)
        kinds.push_back(each.kind);
    return kinds;
  }

  test::TestBundle bundle_;
  test::LogCapture log_{false};
};

TEST_F(Forecasts, AreWhatTheirPlansMake) {
  const struct {
    const char* why;
    Row row;
    const char* expected;
  } cases[] = {
      {"fields stay fields, and nothing is scaled", rowOf(720, 576, 50, false, outProres, 9),
       "ProRes 720x576i 50, PCM 2x48000"},
      {"an export scales", rowOf(720, 576, 50, false, outAic, 9),
       "Apple Intermediate Codec 1440x1080i 50, PCM 2x48000"},
      {"television's rate", rowOf(1920, 1080, 59.94, false, outProres, 12),
       "ProRes 1920x1080i 59.94, PCM 2x48000"},
      {"fields become pictures", rowOf(1920, 1080, 50, false, outProres, 6),
       "ProRes 1280x720p 50, PCM 2x48000"},
      {"a copy", rowOf(1280, 720, 50, true, outQuickTime, 6),
       "h264 (copy) 1280x720p 50, PCM 2x48000"},
      {"a slowed one", rowOf(1280, 720, 50, true, outQuickTime, 5, speedSlow),
       "h264 (copy) 1280x720p 25, PCM 2x48000"},
      {"half of the pictures", rowOf(1920, 1080, 59.94, true, outProres, 10, speedHalf),
       "ProRes 1920x1080p 29.97, PCM 2x48000"},
      {"a whole rate", rowOf(1920, 1080, 30, true, outProres, 10),
       "ProRes 1920x1080p 30, PCM 2x48000"},
      {"standard definition becomes small", rowOf(720, 576, 25, true, outAic, 4),
       "Apple Intermediate Codec 960x540p 25, PCM 2x48000"},
      {"not allowed", rowOf(1920, 1080, 50, false, outQuickTime, 12), "none"},
  };
  for (const auto& item : cases)
    EXPECT_EQ(summary(item.row), item.expected) << item.why;
  EXPECT_EQ(summary(rowOf(1920, 1080, 25, true, outProres, 10), "ap4h"),
            "ProRes 4444 1920x1080p 25, PCM 2x48000");
  EXPECT_EQ(summary(rowOf(1920, 1080, 50, false, outProres, 12), "ap4h"),
            "ProRes 1920x1080i 50, PCM 2x48000")
      << "not of fields";
}

TEST_F(Forecasts, TellWhatIsLeftOut) {
  EXPECT_THAT(kindsLeftOut(rowOf(1920, 1080, 25, true, outProres, 10)), IsEmpty());
  EXPECT_THAT(kindsLeftOut(rowOf(1280, 720, 50, true, outProres, 5, speedHalf)),
              ElementsAre("pictures"));
  EXPECT_THAT(kindsLeftOut(rowOf(1280, 720, 50, true, outProres, 5, speedSlow)), IsEmpty());
  EXPECT_THAT(kindsLeftOut(rowOf(1920, 1080, 50, false, outProres, 10, speedHalf)),
              ElementsAre("fields"));
  EXPECT_THAT(kindsLeftOut(rowOf(1920, 1080, 50, false, outProres, 11)), IsEmpty());
  EXPECT_THAT(kindsLeftOut(rowOf(720, 576, 25, true, outAic, 4)), ElementsAre("details"));

  Row row = rowOf(1920, 1080, 25, true, outProres, 10);
  row.source.sound.channels = 6;
  const Source more = test::sourceOf({{"a1_id", 2},
                                      {"a1_codec", "ac3"},
                                      {"a1_lang", "fra"},
                                      {"s0_id", 3},
                                      {"s0_codec", "hdmv_pgs_subtitle"},
                                      {"v1_id", 4},
                                      {"v1_codec", "mjpeg"}});
  row.source.otherPictures = more.otherPictures;
  row.source.otherSounds = more.otherSounds;
  row.source.subtitles = more.subtitles;
  EXPECT_THAT(kindsLeftOut(row), ElementsAre("video", "channels", "subtitles"));
  row.source.soundChoice = "first";
  EXPECT_THAT(kindsLeftOut(row), ElementsAre("video", "sound", "channels", "subtitles"));
  EXPECT_THAT(notesOf(*forecastOf(row, "apcn")),
              ElementsAre("left out: video stream 4 (mjpeg); sound stream 2 (ac3, fra); sound "
                          "channels (6 are mixed into 2); subtitle stream 3 (hdmv_pgs_subtitle)"));
  row.source.soundChoice = "3";
  EXPECT_EQ(forecastOf(row, "apcn"), std::nullopt) << "there are two";
  row.source = rowOf(1920, 1080, 25, true, outProres, 10).source;
  row.source.sound.id = 1;
  row.source.pictures.begin = 1.54;
  EXPECT_THAT(notesOf(*forecastOf(row, "apcn")),
              ElementsAre("left out: sound before the first picture (1.5 s)"));
  row.source.sound.channels = 6;
  row.source.keepsSurround = true;
  EXPECT_EQ(summary(row), "ProRes 1920x1080p 25, PCM 6x48000");
}

}  // namespace
}  // namespace tessarin
