// Every kind of source into every target at every speed, by the finished program, and what comes
// out of it.
#include <fmt/format.h>

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Journey.h"
#include "measured.h"
#include "support/places.h"
#include "utils/files.h"

namespace tessarin {
namespace {

using nlohmann::json;
using test::Comparison;
using test::Measured;

enum class Scan { progressive, topFirst, bottomFirst };

// A clip with a moving picture and sound, with a white flash and a beep at the same moment.
//
// The last three are the movies that come out at full speed, half and slow with "--size same", for
// each target: picture size, scan and pictures a second; "/2" for every second picture of the
// source, "*2" for slow motion. "-" is refused. Where another source of the same kind shows what
// the speeds do, full speed is enough.
struct Kind {
  const char* name;
  const char* file;
  const char* size;
  Scan scan;
  const char* rate;  // of pictures or fields, as ffmpeg takes it
  int count;         // of pictures or fields; even
  const char* chroma;
  const char* shape;
  const char* encoding;
  const char* codec;
  const char* quickTime;
  const char* proRes;
  const char* aic;
};

void PrintTo(const Kind& source, std::ostream* stream) {
  *stream << source.name;
}

constexpr const char* noTarget =
    "this format is not possible for this source with this size and speed";
constexpr const char* notSlow =
    "slow motion is not possible for this source with this size; the movie plays at the speed of "
    "the recording";

constexpr const char* avchdFields =
    "-c:v libx264 -preset superfast -bf 2 -crf 15 -flags +ildct+ilme -top 1 -c:a ac3 -ac 2 "
    "-f mpegts";
constexpr const char* avchd =
    "-c:v libx264 -preset superfast -bf 2 -crf 15 -c:a ac3 -ac 2 -f mpegts";
constexpr const char* hdv =
    "-c:v mpeg2video -g 12 -bf 2 -q:v 2 -flags +ildct+ilme -top 1 -c:a mp2 -ac 2 -f mpegts";
constexpr const char* programStream =
    "-c:v mpeg2video -g 12 -bf 2 -q:v 2 -flags +ildct+ilme -top 1 -c:a mp2 -ac 2 -f vob";
constexpr const char* dv = "-c:v dvvideo -top 0 -c:a pcm_s16le -ac 2 -f dv";
constexpr const char* phone = "-c:v libx264 -preset superfast -bf 2 -crf 15 -c:a aac -ac 2 -f mov";
constexpr const char* photoCamera = "-c:v mjpeg -q:v 2 -c:a pcm_u8 -ar 48000 -ac 1 -f avi";

// Pictures that are none to spare take the speed that is possible; a copy cannot leave out any.
// Fields stay in their lines where ffmpeg writes ProRes itself.
const Kind sources[] = {
    {"Avchd1080i50", "00001.MTS", "1920x1080", Scan::topFirst, "50", 30, "yuv420p", "16:9",
     avchdFields, "h264", "- - -", "1920x1080i25 1920x1080p25 1920x1080p25*2",
     "1920x1080i25 1920x1080p25 1920x1080p25*2"},
    {"Avchd1080i5994", "00002.MTS", "1920x1080", Scan::topFirst, "60000/1001", 36, "yuv420p",
     "16:9", avchdFields, "h264", "-", "1920x1080i29.97", "1920x1080i29.97"},
    {"Avchd1080p25", "00003.MTS", "1920x1080", Scan::progressive, "25", 16, "yuv420p", "16:9",
     avchd, "h264", "1920x1080p25 1920x1080p25 1920x1080p25",
     "1920x1080p25 1920x1080p25 1920x1080p25", "1920x1080p25 1920x1080p25 1920x1080p25"},
    {"Avchd1080p50", "00004.MTS", "1920x1080", Scan::progressive, "50", 30, "yuv420p", "16:9",
     avchd, "h264", "1920x1080p50", "1920x1080p50", "1920x1080p50"},
    {"Avchd720p50", "00005.MTS", "1280x720", Scan::progressive, "50", 32, "yuv420p", "16:9", avchd,
     "h264", "1280x720p50 - 1280x720p25*2", "1280x720p50 1280x720p25/2 1280x720p25*2",
     "1280x720p50 1280x720p25/2 1280x720p25*2"},
    {"Avchd720p5994", "00006.MTS", "1280x720", Scan::progressive, "60000/1001", 36, "yuv420p",
     "16:9", avchd, "h264", "1280x720p59.94 - 1280x720p29.97*2",
     "1280x720p59.94 1280x720p29.97/2 1280x720p29.97*2",
     "1280x720p59.94 1280x720p29.97/2 1280x720p29.97*2"},
    {"Hdv1080i50", "hdv.m2t", "1440x1080", Scan::topFirst, "50", 30, "yuv420p", "16:9", hdv,
     "mpeg2video", "- - -", "1440x1080i25 1440x1080p25 1440x1080p25*2",
     "1440x1080i25 1440x1080p25 1440x1080p25*2"},
    {"DvPal", "pal.dv", "720x576", Scan::bottomFirst, "50", 30, "yuv420p", "4:3", dv, "dvvideo",
     "- - -", "720x576i25 1440x1080p25 1440x1080p25*2", "1440x1080i25 1440x1080p25 1440x1080p25*2"},
    {"DvNtsc", "ntsc.dv", "720x480", Scan::bottomFirst, "60000/1001", 36, "yuv411p", "4:3", dv,
     "dvvideo", "- - -", "720x480i29.97 1440x1080p29.97 1440x1080p29.97*2",
     "1440x1080i29.97 1440x1080p29.97 1440x1080p29.97*2"},
    {"ProgramStream", "clip.mpg", "720x576", Scan::topFirst, "50", 30, "yuv420p", "4:3",
     programStream, "mpeg2video", "- - -", "720x576i25 1440x1080p25 1440x1080p25*2",
     "1440x1080i25 1440x1080p25 1440x1080p25*2"},
    {"QuickTimeH264", "phone.mov", "1280x720", Scan::progressive, "30000/1001", 36, "yuv420p",
     "16:9", phone, "h264", "1280x720p29.97", "1280x720p29.97", "1280x720p29.97"},
    {"OldAvi", "old.avi", "640x480", Scan::progressive, "30", 36, "yuvj420p", "4:3", photoCamera,
     "mjpeg", "-", "1280x720p30", "960x540p30"},
    {"Avi", "camera.avi", "1280x720", Scan::progressive, "30", 36, "yuvj420p", "16:9", photoCamera,
     "mjpeg", "1280x720p30", "1280x720p30", "1280x720p30"},
};

// What is larger than standard definition is coded with other colours.
bool hasColoursOfLargeOnes(const std::string& size) {
  return std::stoi(size) > 768 || std::stoi(size.substr(size.find('x') + 1)) > 576;
}

double numberOfRate(const std::string& rate) {
  const auto slash = rate.find('/');
  return std::stod(rate) / (slash == std::string::npos ? 1 : std::stod(rate.substr(slash + 1)));
}

// The expected movie in numbers.
struct Movie {
  std::string size;
  bool isInterlaced = false;
  std::string rate;  // as ffprobe tells it
  double period = 0;
  bool isHalved = false;
  bool isSlow = false;
};

Movie movieOf(std::string_view text) {
  static const std::map<std::string_view, const char*> rates = {{"25", "25/1"},
                                                                {"29.97", "30000/1001"},
                                                                {"30", "30/1"},
                                                                {"50", "50/1"},
                                                                {"59.94", "60000/1001"}};
  Movie movie;
  const auto scan = text.find_first_of("ip");
  const auto end = std::min(text.find_first_of("/*"), text.size());
  movie.size = text.substr(0, scan);
  movie.isInterlaced = text[scan] == 'i';
  movie.rate = rates.at(text.substr(scan + 1, end - scan - 1));
  movie.period = 1 / numberOfRate(movie.rate);
  movie.isHalved = endsWith(text, "/2");
  movie.isSlow = endsWith(text, "*2");
  return movie;
}

class Targets : public test::Journey, public testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    const Kind& source = GetParam();
    const double rate = numberOfRate(source.rate);
    const bool isHigh = rate > 31;
    const int flash = isHigh ? 10 : 5;
    moment_ = flash / rate;
    const std::string weave =
        source.scan == Scan::topFirst      ? ",tinterlace=interleave_top,setfield=tff"
        : source.scan == Scan::bottomFirst ? ",tinterlace=interleave_bottom,setfield=bff"
                                           : "";
    const double seconds = source.count / rate;
    clip_ = folder.file(source.file);
    ASSERT_TRUE(test::makeClip(
        fmt::format("-f lavfi -i \"testsrc2=s={}:r={}:d={},drawbox=color=white:thickness=fill:"
                    "enable='between(n,{},{})',setdar={},format={}{}\" -f lavfi -i "
                    "\"sine=1000:r=48000:d={},asetnsamples=48,"
                    "volume='between(t,{},{})':eval=frame\" {}",
                    source.size, source.rate, seconds, flash, flash + (isHigh ? 3 : 1),
                    replaceAll(source.shape, ":", "/"), source.chroma, weave, seconds, moment_,
                    moment_ + 0.08, source.encoding),
        clip_));
  }

  // The clip as the movie is to show it, and the movie in the clip's size.
  Comparison comparison(const Movie& movie, bool isCopy, bool hasBars) const {
    const Kind& source = GetParam();
    const bool isBottomFirst = source.scan == Scan::bottomFirst;
    const bool isLarge = hasColoursOfLargeOnes(movie.size);
    const bool isSmallClip = !hasColoursOfLargeOnes(source.size);
    Comparison how;
    how.movieFilters =
        fmt::format("{}scale={}{}{}", hasBars ? "crop=iw*3/4:ih," : "",
                    replaceAll(source.size, "x", ":"), movie.isInterlaced ? ":interl=1" : "",
                    isLarge && isSmallClip ? ":in_color_matrix=bt709:out_color_matrix=bt601" : "");
    if (source.scan == Scan::progressive && movie.isInterlaced) {
      how.originalFilters = "tinterlace=interleave_top,scale=interl=1";
    } else if (source.scan == Scan::progressive) {
      how.originalFilters = movie.isHalved ? "select='not(mod(n,2))'" : "null";
      // Photo cameras code like JPEG files.
      if (!isCopy && startsWith(source.chroma, "yuvj"))
        how.originalFilters += isLarge && !isSmallClip
                                   ? ",scale=out_range=tv:out_color_matrix=bt709"
                                   : ",scale=out_range=tv";
    } else if (movie.isInterlaced && isBottomFirst && movie.size != source.size) {
      // New lines are made for both fields.
      how.originalFilters = "scale=interl=1,format=yuv422p,bwdif=1,tinterlace=interleave_top";
    } else if (movie.isInterlaced) {
      how.originalFilters =
          std::string("scale=interl=1") + (isBottomFirst ? ",format=yuv422p,fieldorder=tff" : "");
    } else if (movie.isSlow) {
      how.movieFilters += isBottomFirst ? ",tinterlace=interleave_bottom,scale=interl=1"
                                        : ",tinterlace=interleave_top,scale=interl=1";
      how.originalFilters = "scale=interl=1";
    } else {
      // The field that a picture was made from.
      const char* field = isBottomFirst ? "field=bottom" : "field=top";
      how.movieFilters += std::string(",") + field;
      how.originalFilters = field;
    }
    return how;
  }

  // Whether this build has the tool that writes Apple Intermediate Codec, and ProRes of copies.
  static bool hasExport() { return pathExists(test::builtFile("resources/tools/movtool")); }

  // One conversion; the movie's path, or the reason why there is none.
  struct Converted {
    std::string movie;
    std::string reason;
  };
  Converted convert(const std::string& target, const std::string& speed,
                    const std::string& size = "same") {
    const std::string place = target + "-" + speed;
    const Result result = tessarin({"--json", "--size", size, "--format", target, "--speed", speed,
                                    "-d", folder.file(place), clip_});
    Converted converted;
    for (const std::string& line : result.lines()) {
      const json event = json::parse(line, nullptr, false);
      if (event.contains("reason"))
        converted.reason = event["reason"];
      if (event.value("event", "") == "converted")
        converted.movie = event["output"];
    }
    EXPECT_EQ(result.status, converted.movie.empty() ? 1 : 0) << result.out;
    EXPECT_EQ(result.err, "");
    const auto names = namesIn(folder.file(place + "/Tessarin"));
    EXPECT_EQ(names.size(), converted.movie.empty() ? 0u : 2u)
        << "a movie and its text: " << testing::PrintToString(names);
    return converted;
  }

  void convertAndCheck(const std::string& target, const std::string& speed, const std::string& size,
                       const std::string& expected) {
    SCOPED_TRACE(fmt::format("{} {} {}: {}", target, speed, size, expected));
    const bool isRefused = expected == "-";
    const bool isWritten =
        target == "prores" && (GetParam().scan != Scan::progressive || contains(expected, "i"));
    if (!hasExport() && !isRefused && target != "quicktime" && !isWritten)
      return;
    const Converted converted = convert(target, speed, size);
    const bool isNotSlow = !isRefused && speed == "slow" && !movieOf(expected).isSlow;
    EXPECT_EQ(textUpTo(converted.reason, ": "), isRefused ? noTarget : isNotSlow ? notSlow : "");
    EXPECT_EQ(converted.movie.empty(), isRefused);
    if (!isRefused && !converted.movie.empty())
      check(target, movieOf(expected), converted.movie);
  }

  void check(const std::string& target, const Movie& expected, const std::string& path) {
    const Kind& source = GetParam();
    const bool isCopy = target == "quicktime";
    // A narrow picture stands between bars where the format has wide frames only.
    const bool isExported = target == "aic" || source.scan == Scan::progressive;
    const bool hasBars = !isCopy && isExported && std::string(source.shape) == "4:3";
    const Measured movie = test::measured(path, clip_, comparison(expected, isCopy, hasBars));
    const bool isWoven = source.scan != Scan::progressive;
    // Two fields make a picture, but in slow motion each makes one.
    const bool isHalf = isWoven ? !expected.isSlow : expected.isHalved || expected.isInterlaced;
    const int frames = isHalf ? source.count / 2 : source.count;

    EXPECT_EQ(movie.codec, isCopy ? source.codec : target);
    EXPECT_EQ(movie.size, expected.size);
    EXPECT_EQ(movie.rate, expected.rate);
    EXPECT_EQ(movie.shape, hasBars ? "16:9" : source.shape);
    EXPECT_EQ(movie.frames, frames);
    EXPECT_NEAR(movie.duration, frames * expected.period, expected.period * 0.9);
    EXPECT_NEAR(movie.longestStep, expected.period, 0.002);
    EXPECT_NEAR(movie.shortestStep, expected.period, 0.002);
    if (hasBars) {
      EXPECT_LE(movie.sideLuma, 20);
    } else {
      EXPECT_GE(movie.sideLuma, 60);
    }
    if (expected.isInterlaced) {
      // Told in the manner of each codec; both mean that the top line is of the earlier field.
      EXPECT_EQ(movie.fields, "tb");
      EXPECT_GE(movie.topFirst, frames * 3 / 4);
      EXPECT_EQ(movie.bottomFirst, 0);
    } else {
      EXPECT_THAT(movie.fields, testing::AnyOf("progressive", "unknown", ""));
      // The test picture has lines that look like fields unless they were interpolated.
      if (isWoven) {
        EXPECT_LE(movie.topFirst + movie.bottomFirst, frames / 4);
      }
    }
    EXPECT_EQ(movie.soundCodec, "pcm_s16le");
    EXPECT_EQ(movie.channels, 2);
    EXPECT_EQ(movie.samplingRate, 48000);
    const double flash = moment_ * (expected.isSlow ? 2 : 1);
    EXPECT_NEAR(movie.flash, flash, expected.period);
    EXPECT_NEAR(movie.beep - movie.flash, moment_ - flash, expected.period);
    EXPECT_GE(movie.luma, 36);
    EXPECT_GE(movie.chroma, 30);
    const std::string name = path.substr(folder.path().size() + 1);
    RecordProperty("luma " + name, fmt::format("{:.1f}", movie.luma));
    RecordProperty("chroma " + name, fmt::format("{:.1f}", movie.chroma));
    RecordProperty("offset " + name,
                   fmt::format("{:.4f}", movie.beep - movie.flash - moment_ + flash));
  }

 private:
  std::string clip_;
  double moment_ = 0;  // of the flash and of the beep, in seconds
};

TEST_P(Targets, AreRefusedOrRight) {
  const Kind& source = GetParam();
  const std::pair<const char*, const char*> targets[] = {
      {"quicktime", source.quickTime}, {"prores", source.proRes}, {"aic", source.aic}};
  for (const auto& [target, movies] : targets) {
    const char* const speeds[] = {"full", "half", "slow"};
    std::size_t speed = 0;
    for (const std::string_view movie : split(movies, " "))
      convertAndCheck(target, speeds[speed++], "same", std::string(movie));
  }
}

// Sources of 50 pictures a second, which can become 50 fields.
class WovenTargets : public Targets {};

TEST_P(WovenTargets, PicturesBecomeFields) {
  convertAndCheck("quicktime", "full", "1080i50", "-");
  convertAndCheck("prores", "full", "1080i50", "1920x1080i25");
  convertAndCheck("aic", "full", "1080i50", "1920x1080i25");
}

class SoundOffset : public test::Journey {
 protected:
  // A clip with a flash and a beep at 0.4 s whose sound begins earlier or later than its pictures.
  std::string clip(const std::string& name, double offset, bool isWoven) const {
    const std::string weave = isWoven ? ",tinterlace=interleave_top,setfield=tff" : "";
    const int flash = isWoven ? 20 : 10;
    EXPECT_TRUE(test::makeClip(
        fmt::format(
            "-f lavfi -i \"testsrc2=s={}:r={}:d=1,drawbox=color=white:thickness=fill:"
            "enable='between(n,{},{})',setdar=16/9,format=yuv420p{}\" -itsoffset {} -f lavfi "
            "-i \"sine=1000:r=48000:d=1,asetnsamples=48,"
            "volume='between(t,{},{})':eval=frame\" {} -c:a ac3 -ac 2 -f mpegts",
            isWoven ? "720x576" : "1280x720", isWoven ? 50 : 25, flash, flash + (isWoven ? 3 : 1),
            weave, offset, 0.4 - offset, 0.48 - offset,
            isWoven ? "-c:v mpeg2video -q:v 2 -flags +ildct+ilme -top 1"
                    : "-c:v libx264 -preset superfast -bf 2"),
        folder.file(name)));
    return folder.file(name);
  }
};

TEST_F(SoundOffset, StaysInStepInEveryTarget) {
  const std::vector<std::string> clips = {
      clip("early.mts", -0.2, false), clip("late.mts", 0.2, false),
      clip("earlyFields.mts", -0.2, true), clip("lateFields.mts", 0.2, true)};
  for (const std::string target : {"quicktime", "prores", "aic"}) {
    for (const std::string& clip : clips) {
      SCOPED_TRACE(target + " " + fileName(clip));
      const bool isRefused = target == "quicktime" && contains(clip, "Fields");
      const std::string place = folder.file(target + fileName(clip));
      const Result result = tessarin({"--size", "same", "--format", target, "-d", place, clip});
      EXPECT_EQ(result.status, isRefused ? 1 : 0) << result.err;
      for (const std::string& path : filesBelow(place)) {
        if (!endsWith(path, ".mov"))
          continue;
        const Measured movie = test::measured(path, clip, {"scale=720:576", "scale=720:576"});
        EXPECT_GE(movie.flash, 0.36);
        EXPECT_NEAR(movie.beep, movie.flash, 0.04);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Journey, Targets, testing::ValuesIn(sources),
                         [](const auto& each) { return each.param.name; });
INSTANTIATE_TEST_SUITE_P(Journey, WovenTargets,
                         testing::ValuesIn(std::begin(sources) + 3, std::begin(sources) + 5),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace tessarin
