#include "analysis/usedStreams.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "analysis/streamLine.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"

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

constexpr std::array streamFields = {
    StreamField::id,       StreamField::lang,  StreamField::codec,   StreamField::bitrate,
    StreamField::fps,      StreamField::tbc,   StreamField::width,   StreamField::height,
    StreamField::par,      StreamField::dar,   StreamField::chroma,  StreamField::rate,
    StreamField::channels, StreamField::force, StreamField::rotation};

// Leaves the streams of these numbers in the record, in this order.
void orderStreams(SourceInfo& record, StreamKind kind, const std::vector<int>& numbers) {
  std::vector<SourceInfo> streams;
  for (int index = 0; record.contains(streamKey(kind, index, StreamField::id)); ++index) {
    SourceInfo& stream = streams.emplace_back();
    for (const std::string_view field : streamFields) {
      const std::string key = streamKey(kind, index, field);
      if (const Value* value = record.find(key))
        stream.set(field, *value);
      record.remove(key);
    }
  }
  int place = 0;
  for (const int number : numbers) {
    const auto stream = std::find_if(streams.begin(), streams.end(), [number](const SourceInfo& s) {
      return s.integer(StreamField::id) == number;
    });
    if (stream == streams.end())
      continue;
    for (const auto& [field, value] : *stream)
      record.set(streamKey(kind, place, field), value);
    ++place;
  }
}

void addRemark(List& remarks, std::string_view key, int number) {
  remarks.emplace_back(fmt::format("{} {}", key, number));
}

std::string mapOf(const Dico& source, std::string_view idKey) {
  return fmt::format("0:{}", source.integer(idKey).value_or(0));
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

void chooseStreams(SourceInfo& record, std::string_view report, std::optional<int> mute) {
  Described streams = describedStreams(report);
  if (mute)
    streams.mute.push_back(*mute);
  const auto video = mappedVideo(report);
  std::vector<int> videos = streams.videos;
  if (const auto used = std::find(videos.begin(), videos.end(), video.value_or(-1));
      used != videos.end())
    std::rotate(videos.begin(), used, used + 1);
  const std::vector<int> beside = soundsBeside(streams, video);
  List remarks;
  std::vector<int> sounds;
  for (const int sound : beside) {
    if (holds(streams.mute, sound))
      addRemark(remarks, Remark::soundUnreadable, sound);
    else
      sounds.push_back(sound);
  }
  if (streams.programs.size() > 1)
    addRemark(remarks, Remark::programs, static_cast<int>(streams.programs.size()));
  orderStreams(record, StreamKind::video, videos);
  orderStreams(record, StreamKind::audio, sounds);
  if (streams.videos.size() > 1 || streams.sounds.size() > 1 || !streams.mute.empty())
    record.set(SourceKey::wMap, 1);
  if (!remarks.empty())
    record.set(SourceKey::remarks, remarks);
}

Arguments inputOptions(const Dico& source) {
  Arguments options;
  for (const auto& [key, option] : {std::pair{SourceKey::wProbeSize, "-probesize"},
                                    std::pair{SourceKey::wAnalyzeDuration, "-analyzeduration"}})
    if (const auto number = source.integer(key))
      options.insert(options.end(), {option, fmt::format("{}", *number)});
  if (const auto format = source.text(SourceKey::wForce))
    options.insert(options.end(), {"-f", *format});
  return options;
}

Arguments mapOfVideo(const Dico& source) {
  if (!source.flag(SourceKey::wMap) || !source.contains(SourceKey::v0Id))
    return {};
  return {"-map", mapOf(source, SourceKey::v0Id)};
}

Arguments mapOfStreams(const Dico& source) {
  Arguments map = mapOfVideo(source);
  if (!map.empty() && source.contains(SourceKey::a0Id))
    map.insert(map.end(), {"-map", mapOf(source, SourceKey::a0Id)});
  return map;
}

}  // namespace tessarin
