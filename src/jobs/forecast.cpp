#include "jobs/forecast.h"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "encoding/outputPreset.h"
#include "encoding/targets.h"
#include "ffmpeg/proresFlavours.h"
#include "jobs/exportCommands.h"
#include "jobs/jobPlan.h"
#include "jobs/remarks.h"
#include "prefs/utilsAlert.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

// What stands behind the last such option of the command; "" when it has none.
std::string optionOf(const Arguments& command, std::string_view option) {
  for (std::size_t index = command.size(); index > 1; --index)
    if (command[index - 2] == option)
      return command[index - 1];
  return {};
}

double quotient(std::string_view fraction) {
  const auto numerator = static_cast<double>(leadingInteger(textUpTo(fraction, "/")));
  const auto denominator =
      static_cast<double>(leadingInteger(textAfter(fraction, "/").value_or("1")));
  return denominator > 0 ? numerator / denominator : 0;
}

// The size that the command's filters bring the pictures to; that of the source without any.
FrameSize frameOf(const Arguments& command, const Source& source) {
  FrameSize size{static_cast<int>(source.pictures.width.value_or(0)),
                 static_cast<int>(source.pictures.height.value_or(0))};
  const std::string filters = optionOf(command, "-vf");
  for (const std::string_view filter : split(filters, ",")) {
    if (!startsWith(filter, "scale="))
      continue;
    const std::string_view scale = filter.substr(std::string_view("scale=").size());
    const auto width = static_cast<int>(leadingInteger(textUpTo(scale, ":")));
    const auto height = static_cast<int>(leadingInteger(textAfter(scale, ":").value_or("")));
    if (width > 0 && height > 0)
      size = {width, height};
  }
  return size;
}

// The rate of an export: 24, 30 and 60 are those of television unless the source has exactly that
// number, a whole part of it, or so many times as many, as phones take them.
double exportedRate(std::string_view settings, double sourceRate) {
  const std::size_t scan = settings.find_last_of("pi", settings.find("Letter"));
  const auto whole = static_cast<double>(
      scan == std::string_view::npos ? 0 : leadingInteger(settings.substr(scan + 1)));
  if (whole <= 0)
    return sourceRate;
  const bool isTelevision = whole == 24 || whole == 30 || whole == 60;
  const bool isExact = wholeTimes(sourceRate, whole) > 0 || wholeTimes(whole, sourceRate) > 0;
  return !isTelevision || isExact ? whole : whole * 1000 / 1001;
}

void describePictures(const JobPlan& plan, std::string_view prefProres, Forecast& movie) {
  const Source& source = plan.row.source;
  const Choice& choice = plan.row.choice;
  const SizeRow* chosen = sizeRow(choice.sizeOut);
  const bool hasFields = !isSourceProgressive(source);
  const double sourceRate = source.pictures.rate.value_or(0) / (hasFields ? 2 : 1);
  if (plan.isCopy) {
    movie.isCopy = true;
    movie.codec = source.pictures.codec;
    movie.rate = plan.needsSlowing ? sourceRate / 2 : sourceRate;
    const FrameSize size = frameOf({}, source);
    movie.width = size.width;
    movie.height = size.height;
    return;
  }
  const TargetRow* target = targetRow(choice.target);
  const bool isProres = target && target->hasFlavours;
  // What cannot be a copy goes by the intermediate.
  movie.codec = (target && !target->codec.empty() ? *target : targetTable[outAic]).codec;
  movie.isInterlaced = isOf(chosen, RateFamily::i50);
  const std::string rate = optionOf(plan.command.arguments, "-r");
  if (plan.command.writesProres) {
    const int profile = proresFlavourOrStandard(prefProres).quickProfile;
    for (const ProresFlavour& each : proresFlavours)
      if (each.profile == profile)
        movie.flavour = each.word;
    const FrameSize size = frameOf(plan.command.arguments, source);
    movie.width = size.width;
    movie.height = size.height;
    movie.rate = quotient(rate);
    return;
  }
  if (isProres)
    movie.flavour = proresFlavourOrStandard(prefProres).word;
  const FrameSize size = chosen ? chosen->frame : FrameSize();
  movie.width = size.width;
  movie.height = size.height;
  // What the export reads has the rate of the command, or is slowed before.
  const double slowed = choice.speed == speedSlow ? sourceRate / 2 : sourceRate;
  movie.rate = exportedRate(plan.settings, rate.empty() ? slowed : quotient(rate));
}

// "2x48000", or "4 × 1x48000" where several that follow each other are the same.
std::vector<std::string> soundTexts(const Forecast& movie) {
  std::vector<std::string> texts;
  std::size_t same = 1;
  for (std::size_t place = 0; place < movie.sounds.size(); place += same) {
    const ForecastSound& sound = movie.sounds[place];
    const auto first = movie.sounds.begin() + static_cast<std::ptrdiff_t>(place);
    same = static_cast<std::size_t>(std::find_if(first, movie.sounds.end(),
                                                 [&](const ForecastSound& each) {
                                                   return each.channels != sound.channels ||
                                                          each.rate != sound.rate;
                                                 }) -
                                    first);
    const std::string text = fmt::format("{}x{}", sound.channels, sound.rate);
    texts.push_back(same > 1 ? fmt::format("{} × {}", same, text) : text);
  }
  return texts;
}

std::string number(double value) {
  return fmt::format("{:.4g}", value);
}

void leaveOutStreams(const auto& streams, const char* name, const char* key, Forecast& movie) {
  for (const Source::Stream& stream : streams) {
    if (!stream.id)
      break;
    std::vector<std::string> words = {stream.codec};
    if (!stream.language.empty())
      words.push_back(stream.language);
    movie.leftOut.push_back(
        {name, localisationString(key, "", fmt::format("{}", *stream.id), joinTexts(words, ", "))});
  }
}

void tellLeftOut(const Row& row, Forecast& movie) {
  const Source& source = row.source;
  const bool hasFields = !isSourceProgressive(source);
  const bool isSlow = row.choice.speed == speedSlow;
  const double rate = source.pictures.rate.value_or(0);
  const double shown = movie.isInterlaced ? 2 * movie.rate : movie.rate;
  if (!isSlow && shown > 0 && rate > 1.5 * shown)
    movie.leftOut.push_back({hasFields ? "fields" : "pictures",
                             localisationString(hasFields ? "out_fields" : "out_pictures", "",
                                                number(shown), number(rate))});
  const auto width = source.pictures.width.value_or(0);
  const auto height = source.pictures.height.value_or(0);
  if (movie.width < width || movie.height < height)
    movie.leftOut.push_back(
        {"details", localisationString("out_details", "", fmt::format("{}x{}", width, height),
                                       fmt::format("{}x{}", movie.width, movie.height))});
  if (const PictureColours colours = sourceColours(source);
      movie.codec == "icod" && isWide(colours))
    movie.leftOut.push_back(
        {"colours", localisationString("out_colours", "",
                                       colours.transfer == "arib-std-b67" ? "HLG"
                                       : hasHighRange(colours)            ? "PQ"
                                                                          : "BT.2020")});
  // An export begins with the first picture; a copy says how long to wait for it.
  constexpr double leastBegin = 0.2;
  if (const double begin = source.pictures.begin.value_or(0);
      !movie.isCopy && !movie.sounds.empty() && begin >= leastBegin)
    movie.leftOut.push_back(
        {"beginning", localisationString("out_beginning", "", fmt::format("{:.1f}", begin))});
  leaveOutStreams(source.otherPictures, "video", "out_video", movie);
  const bool isSilent = movie.sounds.empty();
  leaveOutStreams(isSilent ? soundsOf(source) : unusedSounds(source), "sound", "out_sound", movie);
  for (const Source::Sound& sound : isSilent ? std::vector<Source::Sound>() : usedSounds(source))
    if (const auto channels = sound.channels.value_or(0); channels > channelsInMovie(source, sound))
      movie.leftOut.push_back(
          {"channels", localisationString("out_channels", "", fmt::format("{}", channels),
                                          fmt::format("{}", channelsInMovie(source, sound)))});
  leaveOutStreams(source.subtitles, "subtitles", "out_subtitles", movie);
}

}  // namespace

std::optional<Forecast> forecastOf(const Row& row, std::string_view prefProres) {
  if (refusalOf(row, true))
    return std::nullopt;
  const auto plan = planJob(row, "movie.mov", prefProres);
  if (!plan)
    return std::nullopt;
  const Source& source = row.source;
  Forecast movie;
  describePictures(*plan, prefProres, movie);
  for (const Source::Sound& sound : usedSounds(plan->row.source))
    movie.sounds.push_back({static_cast<int>(channelsInMovie(source, sound)),
                            static_cast<int>(sound.rate.value_or(0)), sound.language});
  tellLeftOut(row, movie);
  movie.remarks = remarkTexts(source);
  if (!movie.sounds.empty() && row.choice.speed == speedSlow && !plan->slowsSound)
    movie.remarks.push_back(localisationString("out_slowSound"));
  return movie;
}

std::string codecTitle(const Forecast& movie) {
  if (movie.isCopy)
    return localisationString("out_copy", "", movie.codec);
  if (const auto* flavour = proresFlavourOfWord(movie.flavour))
    return std::string(flavour->title);
  return movie.codec == "icod" ? "Apple Intermediate Codec" : movie.codec;
}

std::string summaryOf(const Forecast& movie) {
  std::string text = fmt::format("{} {}x{}{} {}", codecTitle(movie), movie.width, movie.height,
                                 movie.isInterlaced ? "i" : "p",
                                 number(movie.isInterlaced ? 2 * movie.rate : movie.rate));
  if (!movie.sounds.empty())
    text += ", PCM " + joinTexts(soundTexts(movie), " + ");
  return text;
}

std::vector<std::string> notesOf(const Forecast& movie) {
  std::vector<std::string> notes;
  std::vector<std::string> texts;
  for (const LeftOut& each : movie.leftOut)
    texts.push_back(each.text);
  if (!texts.empty())
    notes.push_back(localisationString("out_left", "", joinTexts(texts, "; ")));
  notes.insert(notes.end(), movie.remarks.begin(), movie.remarks.end());
  return notes;
}

}  // namespace tessarin
