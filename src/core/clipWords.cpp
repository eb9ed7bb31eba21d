#include "core/clipWords.h"

#include <fmt/format.h>

#include <cmath>

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "jobs/BatchProgress.h"
#include "jobs/remarks.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

// Two places at the most, and none that say nothing: "25", "29.97".
std::string numberText(double value) {
  return fmt::format("{:g}", std::round(value * 100) / 100);
}

// `rate` of pictures, each of two fields where they are interlaced.
std::string pictureWords(std::int64_t width, std::int64_t height, double rate, bool isInterlaced) {
  std::vector<std::string> words;
  if (width > 0 && height > 0)
    words.push_back(fmt::format("{}×{}", width, height));
  if (rate > 0)
    words.push_back(
        localisationString(isInterlaced ? "clip_interlaced" : "clip_rate", "", numberText(rate)));
  return joinTexts(words, ", ");
}

std::string streamWords(const Source::Stream& stream, const std::vector<std::string>& more) {
  std::vector<std::string> words = {stream.codec};
  if (!stream.language.empty() && stream.language != "und")
    words.push_back(stream.language);
  for (const std::string& word : more)
    if (!word.empty())
      words.push_back(word);
  if (stream.bitRate && *stream.bitRate > 0)
    words.push_back(fmt::format("{} kb/s", *stream.bitRate));
  return joinTexts(words, ", ");
}

std::string channelWords(std::int64_t channels) {
  if (channels == 1)
    return localisationString("clip_mono");
  if (channels == 2)
    return localisationString("clip_stereo");
  return localisationString("clip_channels", "", fmt::format("{}", channels));
}

std::string soundWords(const Source::Sound& sound) {
  return streamWords(
      sound,
      {sound.title, sound.channels ? channelWords(*sound.channels) : "",
       sound.rate ? fmt::format("{} kHz", numberText(static_cast<double>(*sound.rate) / 1000))
                  : ""});
}

}  // namespace

std::vector<std::string> soundsInWords(const Source& source) {
  const std::vector<Source::Sound> sounds = soundsOf(source);
  std::vector<std::string> words;
  words.reserve(sounds.size());
  for (const Source::Sound& sound : sounds)
    words.push_back(sounds.size() > 1 ? fmt::format("{}: {}", words.size() + 1, soundWords(sound))
                                      : soundWords(sound));
  return words;
}

std::string partWords(const Source& source) {
  const std::vector<std::string> files = filesOf(source);
  if (files.size() < 2)
    return {};
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const std::string& file : files)
    names.push_back(fileName(file));
  return localisationString("clip_parts", "", joinTexts(names, ", "));
}

std::vector<std::string> clipWords(const Source& source) {
  const Source::Pictures& pictures = source.pictures;
  const bool isInterlaced = !isSourceProgressive(source);
  std::vector<std::string> words;
  if (std::string shown =
          pictureWords(pictures.width.value_or(0), pictures.height.value_or(0),
                       pictures.rate.value_or(0) / (isInterlaced ? 2 : 1), isInterlaced);
      !shown.empty())
    words.push_back(std::move(shown));
  if (const double seconds = lengthOf(source); seconds > 0)
    words.push_back(clockText(seconds));
  return words;
}

std::string movieWords(const Forecast& movie) {
  std::vector<std::string> words = {
      codecTitle(movie), pictureWords(movie.width, movie.height, movie.rate, movie.isInterlaced)};
  if (movie.sounds.size() == 1)
    words.push_back(channelWords(movie.sounds.front().channels));
  else if (!movie.sounds.empty())
    words.push_back(localisationString("clip_tracks", "", fmt::format("{}", movie.sounds.size())));
  return joinTexts(words, ", ");
}

std::vector<std::string> clipDetails(const Row& row, const std::optional<Forecast>& movie) {
  const Source& source = row.source;
  std::vector<std::string> lines;
  if (std::string parts = partWords(source); !parts.empty())
    lines.push_back(std::move(parts));
  if (!source.recorded.empty())
    lines.push_back(localisationString(
        source.recordedBy == RecordedBy::file ? "clip_fileDate" : "clip_recorded", "",
        source.recorded));
  lines.push_back(localisationString(
      "clip_pictures", "",
      streamWords(source.pictures, {source.pictures.format, source.pictures.shape})));
  for (const std::string& words : soundsInWords(source))
    lines.push_back(localisationString("clip_sound", "", words));
  for (const Source::Subtitle& subtitle : source.subtitles)
    lines.push_back(
        localisationString("clip_subtitles", "", streamWords(subtitle, {subtitle.title})));
  if (movie)
    lines.push_back(localisationString("clip_movie", "", movieWords(*movie)));
  const std::vector<std::string> notes = movie ? notesOf(*movie) : remarkTexts(source);
  lines.insert(lines.end(), notes.begin(), notes.end());
  return lines;
}

}  // namespace tessarin
