#include "jobs/movieExpectation.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/soundChoice.h"
#include "analysis/usedStreams.h"
#include "classShared/TextAdditions.h"
#include "encoding/BatchEntry.h"
#include "encoding/outputPreset.h"
#include "jobs/exportCommands.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

// Seconds: durations are printed with two decimals and rounded, and sound ends between pictures.
constexpr double analysisSlack = 0.12;
constexpr double soundSlack = 0.3;

// Rates of television are a thousandth below the whole numbers that stand for them.
constexpr double rateSlack = 0.998;

std::optional<std::string> valueOf(const Arguments& arguments, std::string_view option) {
  // Behind the input: what stands before it is said of the source.
  const auto input = std::find(arguments.begin(), arguments.end(), "-i");
  const auto found = std::find(input, arguments.end(), option);
  if (arguments.end() - found < 2)
    return std::nullopt;
  return *(found + 1);
}

// How many times as long as the source the movie is.
double stretchOf(const JobPlan& plan) {
  const Arguments& command = plan.command.arguments;
  const std::string filters = valueOf(command, "-vf").value_or("");
  const bool isSlow = plan.needsSlowing || contains(filters, "setpts=2.0*PTS") ||
                      std::find(command.begin(), command.end(), "--slow") != command.end();
  return isSlow ? 2 : 1;
}

double soundStretchOf(const JobPlan& plan) {
  return plan.slowsSound ? 2 : 1;
}

// Pictures a second of the movie; 0: not known before.
double rateOf(const JobPlan& plan) {
  const double source = plan.row.source.pictures.rate.value_or(0);
  if (plan.isCopy)
    return source / stretchOf(plan);
  if (plan.needsExport || plan.isExport) {
    // "prHd1280x720p25Letterbox"
    const std::string& preset = plan.settings;
    const std::size_t scan = preset.find_first_of("pi", preset.rfind('x') + 1);
    if (scan == std::string::npos)
      return 0;
    return static_cast<double>(leadingInteger(std::string_view(preset).substr(scan + 1)));
  }
  const auto rate = valueOf(plan.command.arguments, "-r");
  if (!rate)
    return 0;
  const double divisor = leadingNumber(textAfter(*rate, "/").value_or("1"));
  return divisor > 0 ? leadingNumber(*rate) / divisor : 0;
}

std::uint64_t leastPictures(double seconds, double rate) {
  return static_cast<std::uint64_t>(std::max(0.0, std::floor(seconds * rate * rateSlack) - 2));
}

// Whole pictures a second of the source; 0: not known.
double pictureRateOf(const Source& source) {
  const double shown = source.pictures.rate.value_or(0);
  return isSourceProgressive(source) ? shown : shown / 2;
}

// Seconds of the source before the movie begins.
double beginOf(const JobPlan& plan) {
  return plan.isCopy ? 0 : plan.row.source.pictures.begin.value_or(0);
}

// Of what the movie has of the source, exact to a hundredth.
std::optional<double> durationOf(const JobPlan& plan) {
  const double exact = plan.row.source.seconds.value_or(0) - beginOf(plan);
  return exact > 0 ? std::optional(exact) : std::nullopt;
}

// A text with both lengths, with as many digits as tell them apart.
std::string withSeconds(const char* key, const MovieVerdict& verdict) {
  int digits = 1;
  const auto seconds = [&digits](double number) { return fmt::format("{:.{}f}", number, digits); };
  while (digits < 3 && seconds(verdict.is) == seconds(verdict.should))
    ++digits;
  return localisationString(key, "", seconds(verdict.is), seconds(verdict.should));
}

// Whether the container itself says how long the source is.
bool tellsLength(const Source& source) {
  constexpr std::array<std::string_view, 6> telling{"avi", "flv", "asf", "mxf", "matroska", "dv"};
  return source.seconds &&
         std::find(telling.begin(), telling.end(), firstContainer(source)) != telling.end();
}

// Seconds: cameras begin groups of pictures at least this often.
constexpr double longestCutGroup = 1.1;

std::string count(double number) {
  return fmt::format("{:.0f}", number);
}

}  // namespace

bool isStreamed(const Source& source) {
  return startsWith(source.container, "mpeg");
}

std::optional<ExpectedMovie> expectedByAnalysis(const JobPlan& plan) {
  const auto duration = durationOf(plan);
  if (!duration)
    return std::nullopt;
  const double stretch = stretchOf(plan);
  ExpectedMovie expected;
  expected.seconds = stretch * (*duration - analysisSlack);
  expected.mostSeconds = stretch * (*duration + analysisSlack);
  expected.pictures = leastPictures(expected.seconds, rateOf(plan));
  const double longer = soundStretchOf(plan);
  expected.sounds.assign(usedSounds(plan.row.source).size(),
                         {std::max(0.01, longer * (*duration - soundSlack)),
                          longer * (*duration + beginOf(plan) + soundSlack)});
  return expected;
}

ExpectedMovie expectedByMeasure(const JobPlan& plan, const SourceMeasure& measure,
                                std::size_t damagedPictures, std::size_t damagedSound) {
  ExpectedMovie expected;
  const double stretch = stretchOf(plan);
  if (const auto& pictures = measure.pictures; pictures && pictures->packets > 0) {
    const auto packets = static_cast<double>(pictures->packets);
    // Encoded movies have no pictures beyond the source's length (timeBound).
    const double beyond = !plan.isCopy && isLongerThanTold(plan, measure) ? pictures->gaps : 0;
    const double span =
        std::max(0.0, pictures->end - beyond - std::max(pictures->first, beginOf(plan)));
    const double step = std::clamp(span / packets, 0.0, 1.0);
    const double missing = static_cast<double>(damagedPictures) * step;
    // Decoders keep a picture or two, and edits are rounded.
    expected.seconds = std::max(0.0, stretch * (span - missing - 3 * std::max(step, 0.02)));
    expected.mostSeconds = stretch * std::max(pictures->end, span) * 1.1 + 5;
    if (!plan.isCopy)
      expected.pictures = leastPictures(expected.seconds, rateOf(plan));
    else
      expected.pictures = pictures->packets - pictures->leading;
  }
  if (usedSounds(plan.row.source).empty())
    return expected;
  for (const MeasuredStream& sound : measure.sounds) {
    const auto packets = static_cast<double>(sound.packets);
    // An export leaves out sound from before the first picture.
    const double start =
        std::max({sound.first, measure.pictures ? measure.pictures->first : 0, beginOf(plan)});
    const double span = std::max(0.0, sound.end - start);
    const double missing = static_cast<double>(damagedSound) * (sound.end - sound.first) / packets;
    expected.sounds.push_back(
        {std::max(0.0, soundStretchOf(plan) * (span - missing - soundSlack))});
  }
  return expected;
}

std::size_t lostPictures(const JobPlan& plan, const SourceMeasure& measure,
                         const MovieIndex& movie) {
  const Source& source = plan.row.source;
  const MovieTrack* made = movie.pictures();
  const auto& read = measure.pictures;
  const double rate = pictureRateOf(source);
  if (plan.isCopy || made == nullptr || made->seconds <= 0 || !read || rate <= 0)
    return 0;
  // Packets that are fields, or pictures that come irregularly, cannot be counted so.
  constexpr double unsteadiness = 0.05;
  const double span = read->end - read->first;
  if (span <= 0 || std::abs(static_cast<double>(read->packets) / span / rate - 1) > unsteadiness)
    return 0;
  const double own = static_cast<double>(made->shown) / made->seconds * stretchOf(plan);
  const int times = wholeTimes(own, rate);
  const int parts = wholeTimes(rate, own);
  if (times == 0 && parts == 0)
    return 0;
  // Those before the first key frame are in no movie.
  const double before = static_cast<double>(read->leading) + std::ceil(beginOf(plan) * rate);
  const double due = (static_cast<double>(read->packets) - std::max(0.0, before)) *
                     (times > 0 ? times : 1.0 / parts);
  return static_cast<std::size_t>(
      std::max(0.0, std::floor(due) - static_cast<double>(made->shown)));
}

std::size_t missingPictures(const JobPlan& plan, const SourceMeasure& measure, bool isCut) {
  const Source& source = plan.row.source;
  const std::size_t least = isCut ? 1 : 0;
  if (!tellsLength(source) || !measure.pictures || !source.subtitles.empty() ||
      !source.otherPictures.empty() || !unusedSounds(source).empty())
    return least;
  double end = measure.pictures->end;
  for (const MeasuredStream& sound : measure.sounds)
    end = std::max(end, sound.end);
  const double missing = *source.seconds - end;
  constexpr double slack = 0.3;  // seconds; sound and pictures need not end together
  if (missing < slack && !isCut)
    return 0;
  return static_cast<std::size_t>(std::max(1.0, std::round(missing * pictureRateOf(source))));
}

std::size_t skippedPictures(const JobPlan& plan, const SourceMeasure& measure) {
  const auto& read = measure.pictures;
  if (!read)
    return 0;
  const double skipped = (plan.isCopy ? read->first : beginOf(plan)) - read->earliest;
  if (skipped <= longestCutGroup)
    return 0;
  // Packets may be fields, and the times of damaged ones anything.
  return std::min<std::size_t>(read->keyless, picturesIn(skipped, plan.row.source));
}

bool mayBeginLate(const JobPlan& plan) {
  return beginOf(plan) > longestCutGroup;
}

std::size_t picturesIn(double seconds, const Source& source) {
  return static_cast<std::size_t>(std::round(seconds * pictureRateOf(source)));
}

std::size_t heldPictures(const JobPlan& plan, const SourceMeasure& measure, bool countsShort) {
  const auto& read = measure.pictures;
  if (!read || read->displaced > 0)
    return 0;
  return picturesIn(countsShort ? std::max(read->gaps, read->holes) : read->gaps, plan.row.source);
}

bool isLongerThanTold(const JobPlan& plan, const SourceMeasure& measure) {
  constexpr double slack = 1;  // second
  if (!tellsLength(plan.row.source) || !measure.pictures)
    return false;
  const double most = *plan.row.source.seconds + slack;
  return measure.pictures->end > most && measure.pictures->end - measure.pictures->gaps <= most;
}

bool isShorterThan(double seconds, const JobPlan& plan, const MovieIndex& movie) {
  const MovieTrack* pictures = movie.pictures();
  return pictures == nullptr || pictures->seconds < stretchOf(plan) * (seconds - analysisSlack);
}

bool isShortOfPromise(const JobPlan& plan, const MovieIndex& movie) {
  const auto duration = durationOf(plan);
  return !duration || isShorterThan(*duration, plan, movie);
}

Arguments measuringCommandOf(const JobPlan& plan) {
  const Arguments& command = plan.command.arguments;
  if (!plan.isExport)
    return measuringCommand(command);
  // What the export is told of the source, in ffmpeg's words.
  Arguments same = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "error"};
  const Arguments options = inputOptions(plan.row.source);
  same.insert(same.end(), options.begin(), options.end());
  same.insert(same.end(), {"-fflags", "+genpts", "-i", plan.row.path()});
  for (std::size_t place = 1; place < command.size(); ++place)
    if ((command[place - 1] == "--pictures" || command[place - 1] == "--sound") &&
        leadingInteger(command[place]) >= 0)
      same.insert(same.end(), {"-map", "0:" + command[place]});
  same.emplace_back("output");
  return measuringCommand(same);
}

std::string reasonOf(const MovieVerdict& verdict) {
  using Fault = MovieVerdict::Fault;
  switch (verdict.fault) {
    case Fault::none:
      return {};
    case Fault::noPictures:
      return localisationString("why_tinyOutput");
    case Fault::incomplete:
      return localisationString("why_movieIncomplete");
    case Fault::tooShort:
    case Fault::tooLong:
      return withSeconds("why_movieSeconds", verdict);
    case Fault::tooFewPictures:
      return localisationString("why_moviePictures", "", count(verdict.is), count(verdict.should));
    case Fault::noSound:
      return localisationString("why_movieNoSound");
    case Fault::soundTooShort:
    case Fault::soundTooLong:
      return withSeconds("why_movieSound", verdict);
  }
  return {};
}

}  // namespace tessarin
