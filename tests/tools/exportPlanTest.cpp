// The decisions of an export, and what is read from settings and from ffmpeg's reports.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportText.h"
#include "tools/movtool/exportPlan.h"

namespace tessarin::movtool {
namespace {

using quicktime::FieldOrder;
using quicktime::Fraction;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Dico goodSettings() {
  return {{"version", 1},  {"codec", "icod"},    {"quantiser", 2},
          {"width", 1920}, {"height", 1080},     {"scan", "i"},
          {"rate", "25"},  {"letterbox", false}, {"comment", "ignored"}};
}

TEST(ExportSettings, NameTheKeyThatIsWrong) {
  const std::pair<const char*, std::vector<Value>> wrong[] = {
      {"version", {"one", 0, 2}},   {"codec", {"h264", 7}},   {"quantiser", {0, 256, "x"}},
      {"width", {0, 1921, 99999}},  {"height", {"1080", -2}}, {"scan", {"interlaced"}},
      {"rate", {"26", 25, "25.0"}}, {"letterbox", {"no", 1}},
  };
  for (const auto& [key, values] : wrong) {
    Dico settings = goodSettings();
    settings.remove(key);
    EXPECT_FALSE(exportSettings(settings).ok()) << key;
    for (const Value& value : values) {
      settings.set(key, value);
      const auto refused = exportSettings(settings);
      ASSERT_FALSE(refused.ok()) << key << " " << value.description();
      EXPECT_THAT(refused.reason(), HasSubstr(key));
    }
  }
  EXPECT_FALSE(exportSettings(Value("text")).ok());
}

TEST(SourceFacts, ComeFromFfmpegsReport) {
  yuv4mpeg::Header picture;
  picture.width = 720;
  picture.height = 576;
  picture.fieldOrder = FieldOrder::bottomFirst;
  const std::string report =
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
      "Output #1, null, to 'pipe:':\n"
      "  Stream #1:1: Audio: pcm_s16le\n"
      "Output #0, yuv4mpegpipe, to 'pipe:1':\n"
      "  Duration: 00:00:01.00\n"
      "  Stream #0:1: Audio: pcm_s16le\n"
      "[Parsed_showinfo_0 @ 0x5] n:   0 pts:  -7200 pts_time:-0.08   pos:  1 fmt:yuv420p\n";
  // Up to 4.4 the lines of streams begin with four blanks.
  for (const std::string& each : {report, replaceAll(report, "  Stream", "    Stream")}) {
    const SourceFacts facts = sourceFacts(picture, each);
    EXPECT_EQ(facts.sounds.size(), 2U);
    EXPECT_EQ(facts.duration, 62.5);
    EXPECT_EQ(facts.colours, (PictureColours{"bt470bg", "bt709", "smpte170m"}));
    EXPECT_EQ(facts.firstPicture, (Fraction{-7200, 90000}));
    EXPECT_TRUE(facts.flagged);
  }

  // Of the input, and not what stands elsewhere or in another's words.
  const std::string tape =
      "  Metadata:\n    title           : timecode : 1\n"
      "    timecode        : 10:00:00;02\n  Duration: 00:01:02.50\n";
  EXPECT_EQ(timeCodeOf("Input #0, dv, from 'a':\n" + tape + "Output #0, null, to 'pipe:':\n"),
            "10:00:00;02");
  EXPECT_EQ(timeCodeOf("Input #0, dv, from 'a':\nOutput #0, null, to 'pipe:':\n" + tape), "");

  // A title is no statement of a filter's, and no stream begins a year before its time line.
  const std::string title =
      "    title           : config in time_base: 1/1, ] n:   0 pts: -100000000 pts_time:\n";
  const std::string base =
      "[Parsed_showinfo_0 @ 0x5] config in time_base: 1/90000, frame_rate: 1\n";
  const std::string first = "[Parsed_showinfo_0 @ 0x5] n:   0 pts: ";
  EXPECT_EQ(sourceFacts(picture, title).firstPicture, (Fraction{0, 1}));
  EXPECT_EQ(sourceFacts(picture, title + base + first + "  1800 pts_time:0.02\n").firstPicture,
            (Fraction{1800, 90000}));
  for (const char* ticks : {"-9000000000000000 pts", "99999999999999999999 pts", "NOPTS pts"})
    EXPECT_EQ(sourceFacts(picture, base + first + ticks).firstPicture, (Fraction{0, 1})) << ticks;
  EXPECT_EQ(sourceFacts(picture, "  Duration: 99999999:00:00.00, start: 0\n").duration,
            std::nullopt);

  picture.fieldOrder = FieldOrder::progressive;
  const SourceFacts bare =
      sourceFacts(picture,
                  "  Duration: N/A, start: 0.000000\n"
                  "  Stream #0:0: Video: h264, yuv420p(progressive), 720x576\n");
  EXPECT_EQ(bare.duration, std::nullopt);
  EXPECT_EQ(bare.colours, PictureColours());
  EXPECT_FALSE(bare.flagged);
}

TEST(ExportPlan, HighDynamicRangeIsKeptOrMappedAndNeverOnlyRelabelled) {
  yuv4mpeg::Header picture;
  picture.width = 1920;
  picture.height = 1080;
  const SourceFacts source = sourceFacts(
      picture,
      "  Stream #0:0: Video: hevc, yuv420p10le(tv, bt2020nc/bt2020/arib-std-b67), 1920x1080\n");
  ExportSettings settings;
  settings.width = 1920;
  settings.height = 1080;
  settings.codec = ExportSettings::Codec::prores;
  const ExportPlan kept = exportPlan(source, settings);
  EXPECT_THAT(kept.filters, AllOf(HasSubstr("color_primaries=bt2020:color_trc=arib-std-b67:"
                                            "colorspace=bt2020nc"),
                                  Not(HasSubstr("lutrgb")), Not(HasSubstr("out_color_matrix"))));
  settings.codec = ExportSettings::Codec::aic;
  const ExportPlan mapped = exportPlan(source, settings);
  EXPECT_THAT(mapped.filters,
              AllOf(HasSubstr("in_color_matrix=bt2020"), HasSubstr("lutrgb"),
                    HasSubstr("out_color_matrix=bt709"), HasSubstr("color_trc=bt709")));
  EXPECT_EQ(mapped.colours, (PictureColours{"bt709", "bt709", "bt709"}));
  // Pictures with more colours and no more tones than usual.
  SourceFacts wide = source;
  wide.colours.transfer = "bt2020-10";
  EXPECT_TRUE(needsMapping(wide, settings));
  settings.codec = ExportSettings::Codec::prores;
  EXPECT_EQ(exportPlan(wide, settings).colours, (PictureColours{"bt2020", "bt709", "bt2020nc"}));
}

TEST(SourceFacts, FieldOrderIsWhatMostPicturesShow) {
  const auto order = [](const std::string& counts) {
    return detectedFieldOrder(
        "[Parsed_idet_0 @ 0x1] Single frame detection: TFF: 9 BFF: 9 Progressive: 9 Undetermined: "
        "9\n"
        "[Parsed_idet_0 @ 0x1] Multi frame detection: " +
        counts + " Undetermined:     1\n");
  };
  EXPECT_EQ(order("TFF:    90 BFF:     3 Progressive:     7"), FieldOrder::topFirst);
  EXPECT_EQ(order("TFF:     3 BFF:    90 Progressive:     7"), FieldOrder::bottomFirst);
  EXPECT_EQ(order("TFF:     3 BFF:     1 Progressive:    97"), FieldOrder::progressive);
  EXPECT_EQ(detectedFieldOrder("nothing"), std::nullopt);
}

TEST(ExportRate, IsTheFamilysExactOneOnlyBesideASourceThatHasIt) {
  const Fraction pal{25, 1};
  const Fraction ntsc{30000, 1001};
  const struct {
    std::optional<int> family;
    Fraction source, expected;
  } cases[] = {
      {std::nullopt, ntsc, ntsc}, {25, ntsc, pal},         {50, pal, {50, 1}},
      {30, ntsc, ntsc},           {30, pal, ntsc},         {60, ntsc, {60000, 1001}},
      {24, pal, {24000, 1001}},   {30, {30, 1}, {30, 1}},  {30, {60, 1}, {30, 1}},
      {60, {30, 1}, {60, 1}},     {30, {10, 1}, {30, 1}},  {24, {24, 1}, {24, 1}},
      {30, {240, 1}, {30, 1}},    {60, {120, 1}, {60, 1}}, {30, {240000, 1001}, ntsc},
  };
  for (const auto& [family, source, expected] : cases)
    EXPECT_EQ(exportRate(family, source), expected)
        << family.value_or(0) << " " << source.numerator;
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

const std::string keptColours = ":in_color_matrix=bt709:out_color_matrix=bt709";
constexpr Fraction square{1, 1};
constexpr Fraction palNarrow{16, 15};

TEST(Placement, KeepsTheShapeByBarsOrByPixels) {
  const struct {
    const char* name;
    SourceFacts source;
    ExportSettings settings;
    const char* expected;  // the picture's size, its left upper corner and the shape of its pixels
  } cases[] = {
      {"wide in wide", source(1920, 1080, square), settings(1280, 720, false, true),
       "1280x720+0+0 1:1"},
      {"wide in narrow pixels", source(1920, 1080, square), settings(1440, 1080, true),
       "1440x1080+0+0 4:3"},
      {"wide DV by two standards", source(720, 576, Fraction{16, 11}), settings(1280, 720, false),
       "1280x720+0+0 1:1"},
      {"4:3 with bars", source(720, 576, palNarrow), settings(1280, 720, false, true),
       "960x720+160+0 1:1"},
      {"4:3 with bars in narrow pixels", source(720, 576, palNarrow),
       settings(1440, 1080, true, true), "1080x1080+180+0 4:3"},
      {"4:3 without", source(720, 576, palNarrow), settings(1280, 720, false), "1280x720+0+0 3:4"},
      {"cinema with bars of whole lines of both fields' chroma", source(1920, 802, square),
       settings(1920, 1080, true, true), "1920x804+0+136 1:1"},
      {"upright without", source(720, 1280, square), settings(1280, 720, false),
       "406x720+436+0 1:1"},
      {"upright with bars", source(608, 1080, square), settings(960, 540, false, true),
       "304x540+328+0 1:1"},
  };
  for (const auto& item : cases) {
    const Placement place = placement(item.source, item.settings);
    EXPECT_EQ(fmt::format("{}x{}+{}+{} {}:{}", place.width, place.height, place.left, place.top,
                          place.pixelAspect.numerator, place.pixelAspect.denominator),
              item.expected)
        << item.name;
  }
}

std::string filters(const SourceFacts& facts, const ExportSettings& wanted) {
  return exportPlan(facts, wanted).filters;
}

TEST(ExportPlan, LeavesTheFieldsOfAnInterlacedSourceInTheirLines) {
  const SourceFacts hd = source(1440, 1080, {4, 3}, FieldOrder::topFirst);
  EXPECT_THAT(
      filters(hd, settings(1920, 1080, true)),
      AllOf(HasSubstr("scale=1920:1080:interl=-1" + keptColours + ",format=yuv420p,setfield=tff"),
            Not(HasSubstr("yadif")), Not(HasSubstr("fieldorder"))));
}

TEST(ExportPlan, BringsBottomFirstToTopFirstWithWholeChroma) {
  const SourceFacts facts = source(1920, 1080, square, FieldOrder::bottomFirst);
  ExportSettings wanted = settings(1920, 1080, true);
  EXPECT_THAT(filters(facts, wanted),
              HasSubstr("interl=-1" + keptColours +
                        ",format=yuv422p,fieldorder=tff,scale=interl=-1,format=yuv420p,"
                        "setfield=tff"));
  wanted.codec = ExportSettings::Codec::prores;
  EXPECT_THAT(filters(facts, wanted), HasSubstr("interl=-1" + keptColours +
                                                ",format=yuv420p|yuv422p|yuv420p10le|yuv422p10le,"
                                                "setfield=bff,"));
}

TEST(ExportPlan, GivesProresTheSamplesAsTheyAreOnlyWhereLinesAndColoursStay) {
  const std::string asIs = ",format=yuv420p|";
  const SourceFacts facts = source(1920, 1080, square, FieldOrder::topFirst);
  const auto prores = [](ExportSettings wanted, int profile = 2) {
    wanted.codec = ExportSettings::Codec::prores;
    wanted.proresProfile = profile;
    return wanted;
  };
  EXPECT_THAT(filters(facts, prores(settings(1920, 1080, true))), HasSubstr(asIs));
  EXPECT_THAT(filters(facts, prores(settings(1920, 1080, false))), HasSubstr(asIs));
  EXPECT_THAT(filters(facts, prores(settings(1920, 1080, false), 4)), HasSubstr("=yuv444p10le,"));
  EXPECT_THAT(filters(facts, prores(settings(1280, 720, false))), HasSubstr("=yuv422p10le,"));
  SourceFacts full = facts;
  full.fullRange = true;
  EXPECT_THAT(filters(full, prores(settings(1920, 1080, false))), HasSubstr("=yuv422p10le,"));
  // Fields that are woven need chroma of all lines before.
  SourceFacts fast = source(1920, 1080, square);
  fast.frameRate = {50, 1};
  EXPECT_THAT(filters(fast, prores(settings(1920, 1080, true))), HasSubstr("=yuv422p10le,tinter"));
}

TEST(ExportPlan, TellsFiltersTheOrderOfUnflaggedPictures) {
  SourceFacts facts = source(1920, 1080, square, FieldOrder::bottomFirst);
  EXPECT_THAT(filters(facts, settings(1920, 1080, true)), Not(HasSubstr("setfield=bff")));
  facts.flagged = false;
  EXPECT_THAT(filters(facts, settings(1920, 1080, true)), HasSubstr("setfield=bff,fps="));
}

TEST(ExportPlan, BelievesWhatItIsToldOfFieldsAndRate) {
  const auto told = [](const char* fields, double rate, const ExportSettings& wanted) {
    ExportInput input;
    input.fields = fields;
    input.rate = rate;
    const SourceFacts facts = source(1920, 1080, square, FieldOrder::topFirst);
    return exportPlan(asExported(facts, input), wanted, input).filters;
  };
  EXPECT_THAT(told("bff", 25, settings(1920, 1080, true)),
              AllOf(HasSubstr("setfield=bff,fps=25/1"), HasSubstr("fieldorder=tff")));
  EXPECT_THAT(told("prog", 25, settings(1920, 1080, false)),
              AllOf(HasSubstr("setfield=prog,fps="), Not(HasSubstr("yadif"))));
  // ffmpeg guesses the rate of the fields for that of the pictures, or another one altogether.
  const auto rate = [](double told, const Fraction& guess) {
    ExportInput input;
    input.rate = told;
    SourceFacts facts = source(1920, 1080, square);
    facts.frameRate = guess;
    return asExported(facts, input).frameRate;
  };
  EXPECT_EQ(rate(25, {50, 1}), (Fraction{25, 1}));
  EXPECT_EQ(rate(29.97, {60000, 1001}), (Fraction{30000, 1001}));
  EXPECT_EQ(rate(29.97, {30, 1}), (Fraction{30, 1}));
  EXPECT_EQ(rate(12.345, {25, 1}), (Fraction{2469, 200}));
}

TEST(ExportPlan, MakesPicturesOfFieldsWhereLinesAreScaledOrTheRateChanges) {
  const std::string woven = "tinterlace=interleave_top,setfield=tff";
  const SourceFacts sd = source(720, 576, palNarrow, FieldOrder::bottomFirst);
  EXPECT_THAT(filters(sd, settings(1440, 1080, true)),
              AllOf(HasSubstr("yadif=1,fps=50/1:start_time=0,scale=1440:1080"), HasSubstr(woven)));

  ExportSettings otherRate = settings(1920, 1080, true);
  otherRate.rateFamily = 30;
  const SourceFacts hd = source(1920, 1080, square, FieldOrder::topFirst);
  EXPECT_THAT(filters(hd, otherRate), HasSubstr("yadif=1,fps=60000/1001"));

  SourceFacts fast = source(1280, 720, square);
  fast.frameRate = {50, 1};
  EXPECT_THAT(filters(fast, settings(1920, 1080, true)),
              AllOf(HasSubstr("fps=50/1"), HasSubstr(woven), Not(HasSubstr("yadif"))));
  // Slow progressive pictures stay whole in frames that are called interlaced.
  EXPECT_THAT(filters(source(1280, 720, square), settings(1920, 1080, true)),
              Not(HasSubstr("tinterlace")));
}

TEST(ExportPlan, TakesFieldsApartForProgressiveMovies) {
  const SourceFacts facts = source(1920, 1080, square, FieldOrder::topFirst);
  ExportSettings wanted = settings(1280, 720, false);
  EXPECT_THAT(filters(facts, wanted), HasSubstr("yadif=0:-1:1,fps=25/1"));
  wanted.rateFamily = 50;
  EXPECT_THAT(filters(facts, wanted), HasSubstr("yadif=1:-1:1,fps=50/1"));
  EXPECT_THAT(filters(source(1920, 1080, square), wanted), Not(HasSubstr("yadif")));
}

TEST(ExportPlan, ConvertsColoursBetweenStandardAndHigh) {
  const std::string up = "in_color_matrix=bt601:out_color_matrix=bt709";
  EXPECT_THAT(filters(source(720, 576, palNarrow), settings(1280, 720, false)), HasSubstr(up));
  SourceFacts tagged = source(720, 576, palNarrow);
  tagged.colours.matrix = "bt709";
  const std::string same = "in_color_matrix=bt709:out_color_matrix=bt709";
  EXPECT_THAT(filters(tagged, settings(1280, 720, false)), HasSubstr(same));
  EXPECT_THAT(filters(source(1280, 720, square), settings(960, 540, false)), HasSubstr(same));
  EXPECT_THAT(filters(source(1280, 720, square), settings(720, 576, false)),
              HasSubstr("in_color_matrix=bt709:out_color_matrix=bt601"));
  EXPECT_EQ(exportPlan(source(1280, 720, square), settings(960, 540, false)).colours,
            (PictureColours{"bt709", "bt709", "bt709"}));
}

}  // namespace
}  // namespace tessarin::movtool
