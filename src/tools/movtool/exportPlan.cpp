#include "tools/movtool/exportPlan.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "classShared/TextAdditions.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/proresCommand.h"
#include "ffmpeg/steadySize.h"
#include "ffmpeg/timeBound.h"
#include "utils/numbers.h"

namespace tessarin::movtool {

namespace {

using quicktime::FieldOrder;
using quicktime::Fraction;

double value(const Fraction& fraction) {
  return static_cast<double>(fraction.numerator) / static_cast<double>(fraction.denominator);
}

Fraction reduced(std::int64_t numerator, std::int64_t denominator) {
  const std::int64_t divisor = std::gcd(numerator, denominator);
  return {numerator / divisor, denominator / divisor};
}

bool isNear(double a, double b, double tolerance) {
  return std::abs(a / b - 1) < tolerance;
}

// Pixels that are more than twice as wide as high, or the other way round, as an upright picture of
// a phone would need in a wide frame. Many players show those as squares.
bool isExtreme(const Fraction& pixelAspect) {
  return value(pixelAspect) > 2 || value(pixelAspect) < 0.5;
}

std::string text(const Fraction& fraction) {
  return fmt::format("{}/{}", fraction.numerator, fraction.denominator);
}

int roundedTo(double number, int step) {
  return static_cast<int>(std::lround(number / step)) * step;
}

// Twice or more the frames: fields of the one become frames of the other, or the other way round.
bool isFieldRate(const Fraction& rate, const Fraction& frameRate) {
  return value(rate) > 1.5 * value(frameRate);
}

PictureColours ownColours(const SourceFacts& source) {
  return completeColours(source.colours, source.width, source.height, value(source.frameRate));
}

// The name that ffmpeg's scaler has for a matrix.
const char* scalerMatrix(const PictureColours& colours) {
  if (startsWith(colours.matrix, "bt2020"))
    return "bt2020";
  for (const char* standard : {"smpte170m", "bt470bg", "fcc"})
    if (colours.matrix == standard)
      return "bt601";
  return colours.matrix == "smpte240m" ? "smpte240m" : "bt709";
}

PictureColours exportColours(const SourceFacts& source, const ExportSettings& settings) {
  const PictureColours own = ownColours(source);
  const PictureColours usual =
      usualColours(settings.width, settings.height, value(source.frameRate));
  const bool stays =
      isWide(own) ? settings.codec == ExportSettings::Codec::prores
                  : std::string_view(scalerMatrix(own)) == std::string_view(scalerMatrix(usual));
  return coloursInProres(stays ? own : usual);
}

// Light, 1 being that of a white sheet (203 candela per square metre: 75 % of HLG's signal, 58 %
// of PQ's), as an expression of the signal "ld(0)", and the most that it can be.
struct Light {
  const char* expression;
  double most;
};

Light lightOf(const std::string& transfer) {
  if (transfer == "arib-std-b67")  // on a screen of 1000 candela, which bends it by 1.2
    return {
        "4.92611*pow(if(lte(ld(0),0.5),ld(0)*ld(0)/3,"
        "(exp((ld(0)-0.55991073)/0.17883277)+0.28466892)/12),1.2)",
        4.92611};
  if (transfer == "smpte2084")
    return {
        "st(0,pow(ld(0),1/78.84375));49.26108*"
        "pow(max(ld(0)-0.8359375,0)/(18.8515625-18.6875*ld(0)),1/0.1593017578125)",
        49.26108};
  return {"if(lt(ld(0),0.081),ld(0)/4.5,pow((ld(0)+0.099)/1.099,1/0.45))", 1};
}

// Brings pictures of BT.2020 to BT.709, by filters that every ffmpeg has. Of a high range the
// highlights are bent down, from 0.3 of a white sheet on and by a hyperbola that ends at 1: the
// sheet comes to 83 % of white (HLG) and 81 % (PQ). What BT.709 has no colour for is cut off.
std::string mapping(const SourceFacts& source) {
  const PictureColours own = ownColours(source);
  const Light light = lightOf(own.transfer);
  std::string tone = "ld(1)";
  if (light.most > 1) {
    constexpr double knee = 0.3;
    const double divisor = knee * knee - 2 * knee + light.most;
    const double a = -knee * knee * (light.most - 1) / divisor;
    const double b = (knee * knee - 2 * knee * light.most + light.most) / (light.most - 1);
    const double factor = (b * b + 2 * b * knee + knee * knee) / (b - a);
    tone = fmt::format("if(lte(ld(1),{0}),ld(1),{1:.6f}*(ld(1)+({2:.6f}))/(ld(1)+({3:.6f})))", knee,
                       factor, a, b);
  }
  const auto onAll = [](const std::string& expression) {
    return fmt::format("lutrgb=r='{0}':g='{0}':b='{0}'", expression);
  };
  return fmt::format("scale=interl=-1:in_color_matrix={}{},format=gbrp16le,", scalerMatrix(own),
                     source.fullRange ? ":in_range=pc" : "") +
         onAll(fmt::format("st(0,val/maxval);st(1,{});maxval*{}", light.expression, tone)) +
         ",colorchannelmixer=1.660491:-0.587641:-0.072850:0:-0.124550:1.132900:-0.008349:0:"
         "-0.018151:-0.100579:1.118730," +
         onAll("st(0,val/maxval);maxval*if(lt(ld(0),0.018),4.5*ld(0),1.099*pow(ld(0),0.45)-0.099)");
}

// Samples in which a picture can be scaled, or its fields woven, without a loss that shows.
const char* fullSamples(const ExportSettings& settings) {
  if (settings.codec != ExportSettings::Codec::prores)
    return "yuv420p";
  return settings.proresProfile == 4 ? "yuv444p10le" : "yuv422p10le";
}

// Samples for pictures that keep their lines: our encoder of ProRes takes what there is, which
// spares the pipe more than half.
const char* keptSamples(const SourceFacts& source, const ExportSettings& settings,
                        const Placement& place) {
  const bool isKept = place.width == source.width && place.height == source.height &&
                      !source.fullRange &&
                      std::string_view(scalerMatrix(ownColours(source))) ==
                          std::string_view(scalerMatrix(exportColours(source, settings)));
  const bool takesHalf =
      settings.codec == ExportSettings::Codec::prores && settings.proresProfile != 4;
  return isKept && takesHalf ? "yuv420p|yuv422p|yuv420p10le|yuv422p10le" : fullSamples(settings);
}

// The chain, filter by filter.
class Chain {
 public:
  void add(std::string filter) { filters_.push_back(std::move(filter)); }
  std::string joined() const { return fmt::format("{}", fmt::join(filters_, ",")); }

 private:
  std::vector<std::string> filters_;
};

// Brings the picture to its size, colours and pixel format, each of which is one scaler's work.
// Pictures that carry fields go by their flags ("interl=-1").
void addScaling(Chain& chain, const SourceFacts& source, const ExportSettings& settings,
                const Placement& place, const char* format) {
  std::string scale = fmt::format("scale={}:{}:interl=-1", place.width, place.height);
  const PictureColours colours = exportColours(source, settings);
  if (needsMapping(source, settings)) {
    chain.add(mapping(source));
    scale += fmt::format(":out_range=tv:out_color_matrix={}", scalerMatrix(colours));
  } else {
    // Versions differ in whether they go by the range that pictures are tagged with.
    if (source.fullRange)
      scale += ":in_range=pc:out_range=tv";
    // Said in any case: pictures that are red, green and blue would get the matrix of small ones.
    if (!isWide(colours))
      scale += fmt::format(":in_color_matrix={}:out_color_matrix={}",
                           scalerMatrix(ownColours(source)), scalerMatrix(colours));
  }
  chain.add(scale);
  chain.add(fmt::format("format={}", format));
  if (place.width != settings.width || place.height != settings.height)
    chain.add(
        fmt::format("pad={}:{}:{}:{}", settings.width, settings.height, place.left, place.top));
}

// Fields stay as they are, line by line. The order of bottom-first material changes by moving the
// picture a line up, which chroma of half the lines cannot follow: it has all lines meanwhile. For
// ProRes the encoder does that.
void addKeptFields(Chain& chain, const SourceFacts& source, const ExportSettings& settings,
                   const Placement& place) {
  const bool reorder = source.fieldOrder == FieldOrder::bottomFirst;
  if (settings.codec == ExportSettings::Codec::prores) {
    addScaling(chain, source, settings, place, keptSamples(source, settings, place));
    chain.add(reorder ? "setfield=bff" : "setfield=tff");
    return;
  }
  addScaling(chain, source, settings, place, reorder ? "yuv422p" : fullSamples(settings));
  if (reorder) {
    chain.add("fieldorder=tff");
    chain.add("scale=interl=-1");
    chain.add("format=yuv420p");
  }
  chain.add("setfield=tff");
}

Fraction multiple(int count, const Fraction& rate) {
  return {count * rate.numerator, rate.denominator};
}

Fraction twice(const Fraction& rate) {
  return multiple(2, rate);
}

// Brings pictures of one rate, constant or varying, to another, and to a movie that begins with the
// first of them; `own` is the rate of slowed pictures where they are to be slowed. Where one
// picture of so many is taken, the filter for rates would take one that lies up to half a step
// beside the moment, and before 4.0 it miscounts at the end where it halves or doubles: others do
// that therefore.
//
// Some old versions do not move the end of the stream with its pictures, and fill the rate up to
// there. So pictures are moved no further than to the next moment of the rate, and to the beginning
// only when they have it.
void addRate(Chain& chain, const Fraction& own, const Fraction& rate, bool slow,
             const Fraction& begin) {
  const int step = std::max(1, wholeTimes(value(own), value(rate)));
  const bool doubled = wholeTimes(value(rate), value(own)) == 2;
  const Fraction steady = doubled ? Fraction{rate.numerator, 2 * rate.denominator} : rate;
  const double moments = value(doubled ? steady : multiple(slow ? 2 : 1, rate));
  const double start = std::round(value(begin) * moments) / moments;
  if (const double beside = value(begin) - start; std::abs(beside) > 1e-6)
    chain.add("setpts=" + earlierBy(fmt::format("({:.6f})", beside)));
  chain.add("fps=" + text(multiple(slow ? 2 * step : step, steady)) +
            ":start_time=" + (start > 0 ? fmt::format("{:.6f}", start) : "0"));
  if (step > 1)
    chain.add(fmt::format("framestep={}", step));
  if (doubled)
    chain.add("telecine=pattern=4");  // four fields of each, which are two pictures
  if (slow)
    chain.add("setpts=2*PTS");
  if (slow || step > 1 || doubled)
    chain.add("fps=" + text(rate));
  if (start > 0)
    chain.add("setpts=PTS-STARTPTS");
}

void addInterlaced(Chain& chain, const SourceFacts& source, const ExportSettings& settings,
                   const Placement& place, const Fraction& rate, bool slow, const Fraction& begin) {
  const bool fields = source.fieldOrder != FieldOrder::progressive;
  if (fields && place.height == source.height &&
      isNear(value(source.frameRate), value(rate), 1e-4)) {
    addRate(chain, source.frameRate, rate, slow, begin);
    addKeptFields(chain, source, settings, place);
  } else if (fields || isFieldRate(source.frameRate, rate)) {
    // Scaled lines of a field would no longer lie between those of the other. So every field
    // becomes a picture, and pictures become fields again (0.8 dB better than scaled fields).
    if (fields)
      chain.add("yadif=1");
    addRate(chain, fields ? twice(source.frameRate) : source.frameRate, twice(rate), slow, begin);
    addScaling(chain, source, settings, place, fullSamples(settings));
    chain.add("tinterlace=interleave_top");
    chain.add("setfield=tff");
  } else {
    addRate(chain, source.frameRate, rate, slow, begin);
    addScaling(chain, source, settings, place, fullSamples(settings));
    chain.add("setfield=tff");
  }
}

void addProgressive(Chain& chain, const SourceFacts& source, const ExportSettings& settings,
                    const Placement& place, const Fraction& rate, bool slow,
                    const Fraction& begin) {
  const bool fields = source.fieldOrder != FieldOrder::progressive;
  const bool allFields = fields && isFieldRate(rate, source.frameRate);
  // Only pictures that are flagged are taken apart.
  if (fields)
    chain.add(allFields ? "yadif=1:-1:1" : "yadif=0:-1:1");
  addRate(chain, allFields ? twice(source.frameRate) : source.frameRate, rate, slow, begin);
  addScaling(chain, source, settings, place, keptSamples(source, settings, place));
  chain.add("setfield=prog");
}

void append(std::vector<std::string>& arguments, std::initializer_list<std::string> more) {
  arguments.insert(arguments.end(), more);
}

// The source with what ffmpeg has to be told of it, behind what comes before.
void appendInput(std::vector<std::string>& arguments, const ExportInput& input) {
  for (std::size_t sound = 0; sound < input.soundDecoders.size(); ++sound)
    if (const std::string& decoder = input.soundDecoders[sound]; decoder != "auto")
      append(arguments, {sound < input.soundStreams.size() && input.soundStreams.size() > 1
                             ? fmt::format("-c:{}", input.soundStreams[sound])
                             : std::string("-c:a"),
                         decoder});
  if (!input.probeSize.empty())
    append(arguments, {"-probesize", input.probeSize});
  if (!input.analyzeDuration.empty())
    append(arguments, {"-analyzeduration", input.analyzeDuration});
  if (!input.format.empty())
    append(arguments, {"-f", input.format});
  if (input.joined)
    arguments.insert(arguments.end(), readingJoined.begin(), readingJoined.end());
  if (input.mayChangeSize)
    arguments.insert(arguments.end(), keepingFilters.begin(), keepingFilters.end());
  for (const std::string& part : input.parts)
    append(arguments, {joinedPart, part});
  for (const std::string& sound : input.soundFiles)
    append(arguments, {soundBeside, sound});
  // Of pictures that are stored out of order ffmpeg's guess is wrong for some, and they would trade
  // places or be lost; by their decoders' order they come one by one.
  if (!input.isAvi)
    append(arguments, {"-fflags", "+genpts"});
  append(arguments, {"-i", input.path});
}

// With the source's time counted from the movie's beginning where that lies before what ffmpeg
// takes for the source's. Where it lies behind, filters count: to ffmpeg, packets far below zero
// would be the clock's leaps, and it would move them.
std::vector<std::string> argumentsTelling(const char* level, const ExportInput& input,
                                          const ExportPlan& plan) {
  std::vector<std::string> arguments = {"-nostdin", "-v", level};
  if (plan.start.numerator < 0)
    append(arguments, {"-itsoffset", fmt::format("{:.6f}", -value(plan.start))});
  appendInput(arguments, input);
  return arguments;
}

// For what becomes the movie: that one was damaged is a warning of ffmpeg's, no error; and that its
// decoder had to make up a part of a picture is but a message.
std::vector<std::string> makingPictures(const ExportInput& input, const ExportPlan& plan) {
  std::vector<std::string> arguments = argumentsTelling("info", input, plan);
  arguments.insert(arguments.begin(), {"-hide_banner", "-nostats"});
  return arguments;
}

std::vector<std::string> makingSound(const ExportInput& input, const ExportPlan& plan) {
  return argumentsTelling("warning", input, plan);
}

void appendPictures(std::vector<std::string>& arguments, const ExportInput& input) {
  append(arguments, {"-map", input.pictureStream ? fmt::format("0:{}", *input.pictureStream)
                                                 : std::string("0:V:0")});
}

void appendAllSound(std::vector<std::string>& arguments, const ExportInput& input) {
  if (input.soundStreams.empty())
    append(arguments, {"-map", "0:a?"});
  for (const int stream : input.soundStreams)
    if (stream >= 0)
      append(arguments, {"-map", fmt::format("0:{}", stream)});
}

// ffmpeg counts time from the beginning of the streams that a run uses, which for some formats is
// not that of all. With this further output, which costs nothing, every run uses the same ones.
void appendSameStreams(std::vector<std::string>& arguments, const ExportInput& input) {
  appendPictures(arguments, input);
  appendAllSound(arguments, input);
  append(arguments, {"-c", "copy", "-f", "null", "-"});
}

FieldOrder orderCalled(const std::string& word) {
  if (word == "prog")
    return FieldOrder::progressive;
  return word == "bff" ? FieldOrder::bottomFirst : FieldOrder::topFirst;
}

// ffmpeg's guess, which is exact, unless it is another rate than what was told.
Fraction rateTold(double told, const Fraction& guess) {
  if (isNear(told, value(guess), 0.005))
    return guess;
  for (const Fraction& television : {Fraction{1, 1}, Fraction{1000, 1001}}) {
    const auto whole = std::llround(told / value(television));
    if (whole > 0 && isNear(told, static_cast<double>(whole) * value(television), 1e-4))
      return {whole * television.numerator, television.denominator};
  }
  return reduced(std::max(1LL, std::llround(told * 1000)), 1000);
}

// Gaps are filled and overlaps cut, from the movie's beginning on, so that the count of samples is
// the time. Not by a filter of ours: ffmpeg makes its filters anew where the sound changes its
// channels or rate, and a new one would count from the beginning once more.
constexpr std::array steadySound = {"-async", "1"};

}  // namespace

Fraction exportRate(std::optional<int> family, const Fraction& source) {
  if (!family)
    return source;
  const bool hasTelevisionRate = *family == 24 || *family == 30 || *family == 60;
  if (!hasTelevisionRate)
    return {*family, 1};
  if (wholeTimes(value(source), *family) > 0 || wholeTimes(*family, value(source)) > 0)
    return {*family, 1};
  return {std::int64_t{*family} * 1000, 1001};
}

bool needsMapping(const SourceFacts& source, const ExportSettings& settings) {
  return settings.codec != ExportSettings::Codec::prores && isWide(ownColours(source));
}

Placement placement(const SourceFacts& source, const ExportSettings& settings) {
  Placement place;
  place.width = settings.width;
  place.height = settings.height;
  // Frames of 1440x1080 are shown as wide as those of 1920x1080; all others have square pixels.
  const Fraction usualAspect =
      settings.width == 1440 && settings.height == 1080 ? Fraction{4, 3} : Fraction{1, 1};
  place.pixelAspect = usualAspect;
  const double shown =
      value(source.pixelAspect) * source.width / static_cast<double>(source.height);
  const double frame = value(usualAspect) * settings.width / static_cast<double>(settings.height);
  // Sources of nearly the frame's shape fill it.
  if (isNear(shown, frame, 0.03))
    return place;
  const Fraction filling = reduced(source.pixelAspect.numerator * source.width * settings.height,
                                   source.pixelAspect.denominator * source.height * settings.width);
  if (!settings.letterbox && !isExtreme(filling)) {
    place.pixelAspect = filling;
    return place;
  }
  // Bars begin where both fields have whole lines of chroma.
  const int lineStep = settings.interlaced ? 4 : 2;
  if (shown < frame)
    place.width = std::max(2, roundedTo(settings.width * shown / frame, 2));
  else
    place.height = std::clamp(roundedTo(settings.height * frame / shown, lineStep),
                              std::min(lineStep, settings.height), settings.height);
  place.left = (settings.width - place.width) / 4 * 2;
  place.top = (settings.height - place.height) / 2 / lineStep * lineStep;
  return place;
}

SourceFacts asExported(SourceFacts source, const ExportInput& input) {
  if (!input.fields.empty()) {
    source.fieldOrder = orderCalled(input.fields);
    source.flagged = false;
  }
  if (input.rate)
    source.frameRate = rateTold(*input.rate, source.frameRate);
  if (!input.soundStreams.empty()) {
    std::vector<SourceSound> sounds;
    for (const int stream : input.soundStreams)
      if (stream >= 0)
        sounds.push_back(soundOf(source.sounds, stream));
    source.sounds = std::move(sounds);
  }
  if (input.joined || input.seconds)
    source.duration = input.joined ? input.joined : input.seconds;
  if (!input.slow)
    return source;
  source.frameRate.denominator *= 2;
  if (source.duration)
    *source.duration *= 2;
  return source;
}

ExportPlan exportPlan(const SourceFacts& source, const ExportSettings& settings,
                      const ExportInput& input) {
  ExportPlan plan;
  plan.frameRate = exportRate(settings.rateFamily, source.frameRate);
  const Placement place = placement(source, settings);
  plan.pixelAspect = place.pixelAspect;
  plan.fieldOrder = settings.interlaced ? FieldOrder::topFirst : FieldOrder::progressive;
  plan.colours = exportColours(source, settings);
  plan.start = source.firstPicture;

  Chain chain;
  // Before it is slowed.
  auto seconds = source.duration;
  if (seconds && input.slow)
    *seconds /= 2;
  chain.add(timeBound(seconds));
  if (input.mayChangeSize)
    chain.add(steadySizeFilter(source.width, source.height));
  if (source.fieldOrder != FieldOrder::progressive && !source.flagged)
    chain.add(source.fieldOrder == FieldOrder::topFirst ? "setfield=tff" : "setfield=bff");
  if (input.fields == "prog")
    chain.add("setfield=prog");
  const Fraction begin = plan.start.numerator > 0 ? plan.start : Fraction{0, 1};
  if (settings.interlaced)
    addInterlaced(chain, source, settings, place, plan.frameRate, input.slow, begin);
  else
    addProgressive(chain, source, settings, place, plan.frameRate, input.slow, begin);
  chain.add(fmt::format("setsar={}:max=65535", text(plan.pixelAspect)));
  // What the source's pictures are tagged with stays with them through a scaler.
  chain.add(colourFilter(plan.colours));
  plan.filters = chain.joined();
  return plan;
}

std::vector<std::string> probeArguments(const ExportInput& input) {
  std::vector<std::string> arguments = {"-nostdin", "-hide_banner", "-v", "info"};
  appendInput(arguments, input);
  appendPictures(arguments, input);
  append(arguments, {"-vf", "showinfo,scale=out_range=tv", "-frames:v", "1"});
  append(arguments, {"-pix_fmt", "yuv420p", "-f", "yuv4mpegpipe", "pipe:1", "-t", "0.1"});
  appendSameStreams(arguments, input);
  return arguments;
}

std::vector<std::string> fieldProbeArguments(const ExportInput& input) {
  std::vector<std::string> arguments = {"-nostdin", "-hide_banner", "-v", "info"};
  appendInput(arguments, input);
  appendPictures(arguments, input);
  append(arguments, {"-vf", "idet", "-frames:v", "200", "-f", "null", "-"});
  return arguments;
}

std::vector<std::string> trialArguments(const ExportInput& input, const ExportPlan& plan) {
  std::vector<std::string> arguments = argumentsTelling("error", input, plan);
  appendPictures(arguments, input);
  append(arguments, {"-vf", plan.filters, "-frames:v", "1", "-f", "null", "-"});
  return arguments;
}

std::vector<std::string> pictureArguments(const ExportInput& input, const ExportPlan& plan) {
  std::vector<std::string> arguments = makingPictures(input, plan);
  appendPictures(arguments, input);
  // The rate, which the filters have brought about, is said once more: newer versions take pictures
  // whose time stamps were moved for ones of no known rate.
  append(arguments, {"-vf", plan.filters, "-r", text(plan.frameRate), "-f", "yuv4mpegpipe"});
  // Samples of 10 bits are no part of what the format once was.
  append(arguments, {"-strict", "-1", "pipe:1"});
  appendSameStreams(arguments, input);
  return arguments;
}

std::vector<std::string> soundArguments(const ExportInput& input, std::size_t track,
                                        const ExportPlan& plan) {
  std::vector<std::string> arguments = makingSound(input, plan);
  append(arguments,
         {"-map", track < input.soundStreams.size() ? fmt::format("0:{}", input.soundStreams[track])
                                                    : fmt::format("0:a:{}", track)});
  arguments.insert(arguments.end(), steadySound.begin(), steadySound.end());
  append(arguments, {"-af",
                     (input.slowSound ? std::string(slowedSoundFilter) + "," : std::string()) +
                         movieSoundFilter,
                     "-c:a", "pcm_s16le"});
  const int channels =
      input.channels.empty() ? 0 : input.channels[std::min(track, input.channels.size() - 1)];
  if (channels > 0)
    append(arguments, {"-ac", std::to_string(channels)});
  // Behind the filters, of which one may have slowed it.
  if (plan.start.numerator > 0)
    append(arguments,
           {"-ss", fmt::format("{:.6f}", (input.slowSound ? 2 : 1) * value(plan.start))});
  append(arguments, {"-f", "wav", "pipe:1"});
  appendSameStreams(arguments, input);
  return arguments;
}

}  // namespace tessarin::movtool
