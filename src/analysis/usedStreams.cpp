#include "analysis/usedStreams.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "analysis/soundChoice.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"

namespace tessarin {

namespace {

bool holds(const std::vector<int>& numbers, int number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

// The described streams that pictures and sound can be taken from, in the order of the report.
struct Described {
  std::vector<int> videos;
  std::vector<int> sounds;
  std::vector<int> mute;                   // of the sounds: those that cannot be decoded
  std::vector<std::vector<int>> programs;  // the streams of each
};

// A sound of known rate and channels is decoded, even when ffmpeg misses its frames' size.
bool canBeDecoded(const StreamLine& sound) {
  const auto has = [&sound](std::string_view word) {
    return std::any_of(sound.parts.begin(), sound.parts.end(),
                       [word](std::string_view part) { return part.find(word) != part.npos; });
  };
  const bool hasNoChannels =
      std::find(sound.parts.begin(), sound.parts.end(), "0 channels") != sound.parts.end();
  return sound.codec != "none" && has(" Hz") && !hasNoChannels;
}

Described describedStreams(std::string_view report) {
  Described result;
  bool inProgram = false;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Program ")) {
      result.programs.emplace_back();
      inProgram = true;
    } else if (lineDeclares(*line, "No Program")) {
      inProgram = false;
    }
    const auto stream = parseStreamLine(*line);
    if (!stream || !stream->id || stream->attachedPicture)
      continue;
    if (inProgram)
      result.programs.back().push_back(*stream->id);
    if (stream->kind == StreamKind::video && !holds(result.videos, *stream->id))
      result.videos.push_back(*stream->id);
    if (stream->kind != StreamKind::audio || holds(result.sounds, *stream->id))
      continue;
    result.sounds.push_back(*stream->id);
    if (!canBeDecoded(*stream))
      result.mute.push_back(*stream->id);
  }
  return result;
}

// The sounds that belong to these pictures: those of their programme, where there are programmes.
std::vector<int> soundsBeside(const Described& streams, std::optional<int> video) {
  if (!video)
    return streams.sounds;
  std::vector<int> beside;
  bool isInProgram = false;
  for (const std::vector<int>& program : streams.programs) {
    if (!holds(program, *video))
      continue;
    isInProgram = true;
    beside.insert(beside.end(), program.begin(), program.end());
  }
  if (!isInProgram)
    return streams.sounds;
  std::vector<int> sounds = streams.sounds;
  std::erase_if(sounds, [&](int sound) { return !holds(beside, sound); });
  return sounds;
}

// The streams that ffmpeg says it misses parameters of.
std::vector<int> incompleteStreams(std::string_view report, bool picturesOnly) {
  constexpr std::string_view mark = "Could not find codec parameters for stream ";
  std::vector<int> numbers;
  ReportLines lines(report);
  while (const auto line = lines.next()) {
    const std::size_t found = line->find(mark);
    if (found == std::string_view::npos || line->front() != '[')
      continue;
    const std::string_view stream = line->substr(found + mark.size());
    const auto number = wholeNumber(stream, ReportRange::streamNumber);
    if (number && (!picturesOnly || contains(stream, "(Video: ")))
      numbers.push_back(static_cast<int>(*number));
  }
  return numbers;
}

// Leaves the streams of these numbers, in this order.
template <class Stream>
void orderStreams(Stream& first, std::vector<Stream>& others, const std::vector<int>& numbers) {
  std::vector<Stream> streams = std::exchange(others, {});
  streams.insert(streams.begin(), std::exchange(first, {}));
  bool isFirst = true;
  for (const int number : numbers) {
    const auto stream = std::find_if(streams.begin(), streams.end(),
                                     [number](const Stream& each) { return each.id == number; });
    if (stream != streams.end())
      (std::exchange(isFirst, false) ? first : others.emplace_back()) = *stream;
  }
}

std::string mapOf(const std::optional<std::int64_t>& id) {
  return fmt::format("0:{}", id.value_or(0));
}

}  // namespace

std::optional<int> mappedVideo(std::string_view report) {
  bool behindHeading = false;
  ReportLines lines(report);
  while (const auto line = lines.next()) {
    if (behindHeading) {
      const auto number = wholeNumber(textBetween(*line, "  Stream #0:", " -> ").value_or(""),
                                      ReportRange::streamNumber);
      return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
    }
    behindHeading = *line == "Stream mapping:";
  }
  return std::nullopt;
}

bool missesParameters(std::string_view report) {
  const Described streams = describedStreams(report);
  const auto video = mappedVideo(report);
  bool missesPictures = false;
  for (const int number : incompleteStreams(report, false))
    missesPictures = missesPictures || (video && number == *video) || streams.videos.empty();
  if (!video && !incompleteStreams(report, true).empty())
    missesPictures = true;
  const std::vector<int> sounds = soundsBeside(streams, video);
  return missesPictures || (!sounds.empty() && holds(streams.mute, sounds.front()));
}

std::optional<int> doubtfulSound(std::string_view report) {
  const Described streams = describedStreams(report);
  for (const int sound : soundsBeside(streams, mappedVideo(report)))
    if (!holds(streams.mute, sound))
      return holds(incompleteStreams(report, false), sound) ? std::optional(sound) : std::nullopt;
  return std::nullopt;
}

bool heardNothing(std::string_view report) {
  bool isSilent = false;
  ReportLines lines(report);
  while (const auto line = lines.next())
    if (const auto kilobytes = textAfter(*line, " audio:"); kilobytes && contains(*line, "video:0"))
      isSilent = wholeNumber(*kilobytes, {0, 0}).has_value();
  return isSilent;
}

void chooseStreams(Source& source, std::string_view report, std::optional<int> mute) {
  Described streams = describedStreams(report);
  if (mute)
    streams.mute.push_back(*mute);
  const auto video = mappedVideo(report);
  std::vector<int> videos = streams.videos;
  if (const auto used = std::find(videos.begin(), videos.end(), video.value_or(-1));
      used != videos.end())
    std::rotate(videos.begin(), used, used + 1);
  const std::vector<int> beside = soundsBeside(streams, video);
  std::vector<int> sounds;
  for (const int sound : beside) {
    if (holds(streams.mute, sound))
      source.remarks.push_back({Source::Remark::Kind::soundUnreadable, sound});
    else
      sounds.push_back(sound);
  }
  if (streams.programs.size() > 1)
    source.remarks.push_back(
        {Source::Remark::Kind::programs, static_cast<std::int64_t>(streams.programs.size())});
  orderStreams(source.pictures, source.otherPictures, videos);
  orderStreams(source.sound, source.otherSounds, sounds);
  if (streams.videos.size() > 1 || streams.sounds.size() > 1 || !streams.mute.empty())
    source.isMapped = true;
}

Arguments inputOptions(const Source& source) {
  Arguments options;
  const auto add = [&options](const char* option, const std::string& value) {
    options.insert(options.end(), {option, value});
  };
  if (source.probeSize)
    add("-probesize", fmt::format("{}", *source.probeSize));
  if (source.analyzeDuration)
    add("-analyzeduration", fmt::format("{}", *source.analyzeDuration));
  if (!source.toldFormat.empty())
    add("-f", source.toldFormat);
  if (isReadJoined(source))
    options.insert(options.end(), readingJoined.begin(), readingJoined.end());
  for (const Source::Part& part : source.furtherParts)
    add(joinedPart, part.path);
  for (const Source::SoundFile& sound : source.soundFiles)
    add(soundBeside, sound.path);
  return options;
}

Arguments mapOfVideo(const Source& source) {
  if (!source.isMapped || !source.pictures.id)
    return {};
  return {"-map", mapOf(source.pictures.id)};
}

Arguments mapOfStreams(const Source& source) {
  Arguments map = mapOfVideo(source);
  if (map.empty())
    return map;
  for (const Source::Sound& sound : usedSounds(source))
    map.insert(map.end(), {"-map", mapOf(sound.id)});
  return map;
}

}  // namespace tessarin
