// The decisions of an export, and what is read from settings and from ffmpeg's reports.
#include <gmock/gmock.h>

#include "tools/movtool/exportPlan.h"

namespace tessarin::movtool {
namespace {

using quicktime::Colours;
using quicktime::FieldOrder;
using quicktime::Fraction;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

Dico goodSettings() {
  return {{"version", 1},  {"codec", "icod"},    {"quantiser", 2},
          {"width", 1920}, {"height", 1080},     {"scan", "i"},
          {"rate", "25"},  {"letterbox", false}, {"comment", "ignored"}};
}

TEST(ExportSettings, AreReadFromAPropertyList) {
  const auto aic = exportSettings(goodSettings());
  ASSERT_TRUE(aic.ok());
  EXPECT_EQ(aic.value().codec, ExportSettings::Codec::aic);
  EXPECT_EQ(aic.value().width, 1920);
  EXPECT_TRUE(aic.value().interlaced);
  EXPECT_EQ(aic.value().rateFamily, 25);
  EXPECT_FALSE(aic.value().letterbox);

  Dico prores = goodSettings();
  prores.set("codec", "prores");
  prores.set("profile", "4444");
  prores.set("rate", "source");
  prores.set("letterbox", true);
  const auto settings = exportSettings(prores);
  ASSERT_TRUE(settings.ok());
  EXPECT_EQ(settings.value().proresProfile, 4);
  EXPECT_EQ(settings.value().rateFamily, std::nullopt);
  EXPECT_TRUE(settings.value().letterbox);
}

TEST(ExportSettings, NameTheKeyThatIsWrong) {
  const struct {
    const char* key;
    Value value;
  } cases[] = {
      {"version", "one"},     {"version", 0},     {"codec", "h264"},  {"codec", 7},
      {"quantiser", 0},       {"quantiser", 256}, {"quantiser", "x"}, {"width", 0},
      {"width", 1921},        {"width", 99999},   {"height", "1080"}, {"height", -2},
      {"scan", "interlaced"}, {"rate", "26"},     {"rate", 25},       {"rate", "25.0"},
      {"letterbox", "no"},    {"letterbox", 1},
  };
  for (const auto& item : cases) {
    Dico settings = goodSettings();
    settings.set(item.key, item.value);
    const auto wrong = exportSettings(settings);
    ASSERT_FALSE(wrong.ok()) << item.key << " " << item.value.description();
    EXPECT_THAT(wrong.reason(), HasSubstr(item.key));
  }
  for (const char* key :
       {"version", "codec", "quantiser", "width", "height", "scan", "rate", "letterbox"}) {
    Dico settings = goodSettings();
    settings.remove(key);
    EXPECT_FALSE(exportSettings(settings).ok()) << key;
  }
  Dico newer = goodSettings();
  newer.set("version", 2);
  EXPECT_THAT(exportSettings(newer).reason(), HasSubstr("version 2"));
  EXPECT_FALSE(exportSettings(Value("text")).ok());
}

TEST(SourceFacts, ComeFromFfmpegsReport) {
  yuv4mpeg::Header picture;
  picture.width = 720;
  picture.height = 576;
  picture.fieldOrder = FieldOrder::bottomFirst;
  const SourceFacts facts = sourceFacts(
      picture,
      "Input #0, mov,mp4, from 'Stream #0: Audio: .mov':\n"
      "  Duration: 00:01:02.50, start: 1.000000, bitrate: 30 kb/s\n"
      "  Stream #0:0[0x1](und): Video: mjpeg, yuvj420p(pc, bt470bg/unknown/unknown), 9x9 (attached "
      "pic)\n"
      "  Stream #0:1[0x2](und): Video: dvvideo, yuv420p(smpte170m/bt470bg/bt709, bottom first), "
      "720x576, 25 fps\n"
      "  Stream #0:2[0x3](eng): Audio: pcm_s16le (sowt / 0x74776F73), 48000 Hz, stereo, s16\n"
      "  Stream #0:3[0x4](eng): Audio: none (abcd / 0x12345678), 48000 Hz\n"
      "  Stream #0:4: Audio: ac3, 48000 Hz, 5.1(side), fltp, 384 kb/s\n"
      "[Parsed_showinfo_0 @ 0x5] config in time_base: 1/90000, frame_rate: 25/1\n"
      "Stream mapping:\n"
      "  Stream #0:1 -> #0:0 (dvvideo (native) -> rawvideo (native))\n"
      "Output #0, yuv4mpegpipe, to 'pipe:1':\n"
      "  Duration: 00:00:01.00\n"
      "  Stream #0:1: Audio: pcm_s16le\n"
      "[Parsed_showinfo_0 @ 0x5] n:   0 pts:  -7200 pts_time:-0.08   pos:  1 fmt:yuv420p\n");
  EXPECT_EQ(facts.soundTracks, 2);
  EXPECT_EQ(facts.duration, 62.5);
  EXPECT_EQ(facts.colours, Colours::standardPal);
  EXPECT_EQ(facts.firstPicture, (Fraction{-7200, 90000}));
  EXPECT_TRUE(facts.flagged);

  picture.fieldOrder = FieldOrder::progressive;
  const SourceFacts bare =
      sourceFacts(picture,
                  "  Duration: N/A, start: 0.000000\n"
                  "  Stream #0:0: Video: h264, yuv420p(progressive), 720x576\n");
  EXPECT_EQ(bare.duration, std::nullopt);
  EXPECT_EQ(bare.colours, Colours::unknown);
  EXPECT_FALSE(bare.flagged);
}

TEST(SourceFacts, FieldOrderIsWhatMostPicturesShow) {
  const auto order = [](const std::string& counts) {
    return detectedFieldOrder(
        "[Parsed_idet_0 @ 0x1] Single frame detection: TFF: 9 BFF: 9 "
        "Progressive: 9 Undetermined: 9\n[Parsed_idet_0 @ 0x1] Multi frame "
        "detection: " +
        counts + "\n");
  };
  EXPECT_EQ(order("TFF:    90 BFF:     3 Progressive:     7 Undetermined:     1"),
            FieldOrder::topFirst);
  EXPECT_EQ(order("TFF:     3 BFF:    90 Progressive:     7 Undetermined:     1"),
            FieldOrder::bottomFirst);
  EXPECT_EQ(order("TFF:     3 BFF:     1 Progressive:    97 Undetermined:     0"),
            FieldOrder::progressive);
  EXPECT_EQ(detectedFieldOrder("nothing"), std::nullopt);
}

TEST(ExportRate, IsTheFamilysExactOneOnlyBesideASourceThatHasIt) {
  const Fraction pal{25, 1};
  const Fraction ntsc{30000, 1001};
  EXPECT_EQ(exportRate(std::nullopt, ntsc), ntsc);
  EXPECT_EQ(exportRate(25, ntsc), pal);
  EXPECT_EQ(exportRate(50, pal), (Fraction{50, 1}));
  EXPECT_EQ(exportRate(30, ntsc), ntsc);
  EXPECT_EQ(exportRate(30, pal), ntsc);
  EXPECT_EQ(exportRate(60, ntsc), (Fraction{60000, 1001}));
  EXPECT_EQ(exportRate(24, pal), (Fraction{24000, 1001}));
  EXPECT_EQ(exportRate(30, {30, 1}), (Fraction{30, 1}));
  EXPECT_EQ(exportRate(30, {60, 1}), (Fraction{30, 1}));
  EXPECT_EQ(exportRate(60, {30, 1}), (Fraction{60, 1}));
  EXPECT_EQ(exportRate(24, {24, 1}), (Fraction{24, 1}));
}

SourceFacts source(int width, int height, Fraction aspect,
                   FieldOrder order = FieldOrder::progressive) {
  SourceFacts facts;
  facts.width = width;
  facts.height = height;
  facts.pixelAspect = aspect;
  facts.fieldOrder = order;
  facts.flagged = order != FieldOrder::progressive;
  return facts;
}

ExportSettings settings(int width, int height, bool interlaced, bool letterbox = false) {
  ExportSettings result;
  result.width = width;
  result.height = height;
  result.interlaced = interlaced;
  result.letterbox = letterbox;
  result.rateFamily = 25;
  return result;
}

TEST(Placement, KeepsTheShapeByBarsOrByPixels) {
  const struct {
    const char* name;
    SourceFacts source;
    ExportSettings settings;
    int width, height, left, top;
    Fraction aspect;
  } cases[] = {
      {"wide in wide",
       source(1920, 1080, {1, 1}),
       settings(1280, 720, false, true),
       1280,
       720,
       0,
       0,
       {1, 1}},
      {"wide in narrow pixels",
       source(1920, 1080, {1, 1}),
       settings(1440, 1080, true),
       1440,
       1080,
       0,
       0,
       {4, 3}},
      {"wide DV by two standards",
       source(720, 576, {16, 11}),
       settings(1280, 720, false),
       1280,
       720,
       0,
       0,
       {1, 1}},
      {"4:3 with bars",
       source(720, 576, {16, 15}),
       settings(1280, 720, false, true),
       960,
       720,
       160,
       0,
       {1, 1}},
      {"4:3 with bars in narrow pixels",
       source(720, 576, {16, 15}),
       settings(1440, 1080, true, true),
       1080,
       1080,
       180,
       0,
       {4, 3}},
      {"4:3 without",
       source(720, 576, {16, 15}),
       settings(1280, 720, false),
       1280,
       720,
       0,
       0,
       {3, 4}},
      {"cinema with bars",
       source(1920, 800, {1, 1}),
       settings(1920, 1080, true, true),
       1920,
       800,
       0,
       140,
       {1, 1}},
      {"upright without",
       source(720, 1280, {1, 1}),
       settings(1280, 720, false),
       406,
       720,
       436,
       0,
       {1, 1}},
      {"upright with bars",
       source(608, 1080, {1, 1}),
       settings(960, 540, false, true),
       304,
       540,
       328,
       0,
       {1, 1}},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.name);
    const Placement place = placement(item.source, item.settings);
    EXPECT_THAT((std::vector{place.width, place.height, place.left, place.top}),
                ElementsAre(item.width, item.height, item.left, item.top));
    EXPECT_EQ(place.pixelAspect, item.aspect);
  }
}

std::string filters(const SourceFacts& facts, const ExportSettings& wanted) {
  return exportPlan(facts, wanted).filters;
}

TEST(ExportPlan, LeavesTheFieldsOfAnInterlacedSourceInTheirLines) {
  const SourceFacts hd = source(1440, 1080, {4, 3}, FieldOrder::topFirst);
  const std::string kept = filters(hd, settings(1920, 1080, true));
  EXPECT_THAT(kept, HasSubstr("scale=1920:1080:interl=-1,format=yuv420p,setfield=tff"));
  EXPECT_THAT(kept, Not(HasSubstr("yadif")));
  EXPECT_THAT(kept, Not(HasSubstr("fieldorder")));
}

TEST(ExportPlan, BringsBottomFirstToTopFirstWithWholeChroma) {
  const SourceFacts facts = source(1920, 1080, {1, 1}, FieldOrder::bottomFirst);
  ExportSettings wanted = settings(1920, 1080, true);
  EXPECT_THAT(filters(facts, wanted),
              HasSubstr("interl=-1,format=yuv422p,fieldorder=tff,scale=interl=-1,format=yuv420p,"
                        "setfield=tff"));
  wanted.codec = ExportSettings::Codec::prores;
  EXPECT_THAT(filters(facts, wanted),
              HasSubstr("interl=-1,format=yuv422p10le,fieldorder=tff,setfield=tff"));
}

TEST(ExportPlan, TellsFiltersTheOrderOfUnflaggedPictures) {
  SourceFacts facts = source(1920, 1080, {1, 1}, FieldOrder::bottomFirst);
  EXPECT_THAT(filters(facts, settings(1920, 1080, true)), Not(HasSubstr("setfield=bff")));
  facts.flagged = false;
  EXPECT_THAT(filters(facts, settings(1920, 1080, true)), HasSubstr("TB,setfield=bff,fps="));
}

TEST(ExportPlan, MakesPicturesOfFieldsWhereLinesAreScaledOrTheRateChanges) {
  const std::string woven = "tinterlace=interleave_top,setfield=tff";
  const SourceFacts sd = source(720, 576, {16, 15}, FieldOrder::bottomFirst);
  EXPECT_THAT(filters(sd, settings(1440, 1080, true)),
              HasSubstr("yadif=1,fps=50/1:start_time=0,scale=1440:1080"));
  EXPECT_THAT(filters(sd, settings(1440, 1080, true)), HasSubstr(woven));

  ExportSettings otherRate = settings(1920, 1080, true);
  otherRate.rateFamily = 30;
  const SourceFacts hd = source(1920, 1080, {1, 1}, FieldOrder::topFirst);
  EXPECT_THAT(filters(hd, otherRate), HasSubstr("yadif=1,fps=60000/1001"));

  SourceFacts fast = source(1280, 720, {1, 1});
  fast.frameRate = {50, 1};
  EXPECT_THAT(filters(fast, settings(1920, 1080, true)), HasSubstr("fps=50/1"));
  EXPECT_THAT(filters(fast, settings(1920, 1080, true)), HasSubstr(woven));
  EXPECT_THAT(filters(fast, settings(1920, 1080, true)), Not(HasSubstr("yadif")));
  // Slow progressive pictures stay whole in frames that are called interlaced.
  EXPECT_THAT(filters(source(1280, 720, {1, 1}), settings(1920, 1080, true)),
              Not(HasSubstr("tinterlace")));
}

TEST(ExportPlan, TakesFieldsApartForProgressiveMovies) {
  const SourceFacts facts = source(1920, 1080, {1, 1}, FieldOrder::topFirst);
  ExportSettings wanted = settings(1280, 720, false);
  EXPECT_THAT(filters(facts, wanted), HasSubstr("yadif=0:-1:1,fps=25/1"));
  wanted.rateFamily = 50;
  EXPECT_THAT(filters(facts, wanted), HasSubstr("yadif=1:-1:1,fps=50/1"));
  EXPECT_THAT(filters(source(1920, 1080, {1, 1}), wanted), Not(HasSubstr("yadif")));
}

TEST(ExportPlan, ConvertsColoursBetweenStandardAndHigh) {
  const std::string up = "in_color_matrix=bt601:out_color_matrix=bt709";
  EXPECT_THAT(filters(source(720, 576, {16, 15}), settings(1280, 720, false)), HasSubstr(up));
  SourceFacts tagged = source(720, 576, {16, 15});
  tagged.colours = Colours::high;
  EXPECT_THAT(filters(tagged, settings(1280, 720, false)), Not(HasSubstr("matrix")));
  EXPECT_THAT(filters(source(1280, 720, {1, 1}), settings(960, 540, false)),
              Not(HasSubstr("matrix")));
  EXPECT_THAT(filters(source(1280, 720, {1, 1}), settings(720, 576, false)),
              HasSubstr("in_color_matrix=bt709:out_color_matrix=bt601"));
  EXPECT_EQ(exportPlan(source(1280, 720, {1, 1}), settings(960, 540, false)).colours,
            Colours::high);
}

}  // namespace
}  // namespace tessarin::movtool
