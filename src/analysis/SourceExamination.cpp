#include "analysis/SourceExamination.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "analysis/probeParser.h"
#include "analysis/timing.h"
#include "analysis/usedStreams.h"
#include "ffmpeg/pictureColours.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/runTroubles.h"
#include "ffmpeg/showinfoReport.h"
#include "ffmpeg/streamLine.h"
#include "platform/Bundle.h"

namespace tessarin {

namespace {

// How much of the source ffmpeg reads to know its streams: first what it does by itself, which is 5
// MB. The largest holds a minute of the fastest cameras; ffmpeg keeps it in memory.
struct Reading {
  std::int64_t bytes;
  std::int64_t microseconds;
};
constexpr std::array readings = {Reading{5'000'000, 0}, Reading{50'000'000, 60'000'000},
                                 Reading{250'000'000, 300'000'000}};

void tellReading(Source& source, int reading) {
  if (reading == 0)
    return;
  const Reading& told = readings[static_cast<std::size_t>(reading)];
  source.probeSize = told.bytes;
  source.analyzeDuration = told.microseconds;
}

// What the stream that is converted says of its colours.
void tellColours(Source& source, std::string_view report) {
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    const auto stream = parseStreamLine(*line);
    if (!stream || stream->kind != StreamKind::video || !stream->id ||
        source.pictures.id != *stream->id)
      continue;
    source.pictures.colours = coloursOfReport(stream->description);
    return;
  }
}

// Seconds: half of what a picture of 60 a second is shown. What is less moves no picture.
constexpr double leastLateness = 0.008;

// Whether the first packet of the pictures is no key frame, or comes behind that of the sound; or
// whether pictures are shown before the moment that the container calls its start.
bool mayBeginElsewhere(std::string_view report, const Source& source) {
  if (firstKeyFrameShown(report).value_or(0) > leastLateness)
    return true;
  if (!source.pictures.id)
    return false;
  Source timed;
  addOffsets(report, timed);
  const auto offset =
      timed.offsets.find({StreamKind::video, static_cast<int>(*source.pictures.id)});
  return offset != timed.offsets.end() &&
         static_cast<double>(std::abs(offset->second.shown.value_or(0))) > 1000 * leastLateness;
}

// A transport stream tells the time ten times a second, in a packet of 188 bytes each, and has its
// sound, whose rate may have been taken at a loud place. A longer length is that of a clock that
// jumped: a day for a clip whose clock jumps back a little. Room for it would be asked for.
void forgetImpossibleLength(double bytes, Source& source) {
  constexpr double halfOfKilobits = 1000.0 / 8 / 2;
  const double sound = static_cast<double>(source.sound.bitRate.value_or(0)) * halfOfKilobits;
  const double leastByteRate = std::max(1000.0, sound);
  if (!startsWith(source.container, "mpegts") ||
      source.seconds.value_or(0) < 60 + bytes / leastByteRate)
    return;
  source.seconds.reset();
  source.duration.reset();
}

// The containers of still pictures and of text.
bool isWrapperOfStills(std::string_view wrapper) {
  constexpr std::array<std::string_view, 7> known = {"image2", "ico", "tty", "bin",
                                                     "xbin",   "adf", "idf"};
  return wrapper.ends_with("_pipe") ||
         std::find(known.begin(), known.end(), wrapper) != known.end();
}

}  // namespace

SourceExamination::SourceExamination(std::string source, std::int64_t sourceSize,
                                     std::string pictures)
    : source_(std::move(source)), sourceSize_(sourceSize), pictures_(std::move(pictures)) {}

void SourceExamination::setFormat(std::string format) {
  format_ = std::move(format);
  best_ = Description();
  reading_ = 0;
  isDescribed_ = false;
}

std::optional<PicturePlace> SourceExamination::place() const {
  if (!isSource() || !needsMorePictures(clues_))
    return std::nullopt;
  return picturePlace(places_, described_.duration.value_or(0));
}

std::optional<Arguments> SourceExamination::nextCommand() const {
  if (!readError_.empty())
    return std::nullopt;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel"};
  const auto append = [&command](const Arguments& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  if (!isDescribed_) {
    Source told;
    tellReading(told, reading_);
    told.toldFormat = format_;
    append({"debug", "-fdebug", "ts"});
    append(inputOptions(told));
    append({"-i", source_, "-vframes", "10", "-pix_fmt", "yuv420p", "-an", "-f", "yuv4mpegpipe",
            "-y", pictures_});
    return command;
  }
  const auto next = place();
  if (!next)
    return asksBegin_ ? beginCommand() : soundCommand();
  append({"info", "-ss", fmt::format("{:.2f}", next->seconds)});
  append(inputOptions(described_));
  append({"-i", source_});
  append(mapOfVideo(described_));
  // Every picture as it is decoded, without copies that fill gaps.
  append({"-vsync", "0", "-vframes", fmt::format("{}", next->pictures), "-pix_fmt", "yuv420p",
          "-an", "-sn", "-f", "yuv4mpegpipe", "-y", pictures_});
  return command;
}

// Of the streams that a conversion takes, as it counts time from the earliest of these.
std::optional<Arguments> SourceExamination::beginCommand() const {
  if (!isSource())
    return std::nullopt;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"};
  for (const Arguments& more :
       {inputOptions(described_), Arguments{"-fflags", "+genpts", "-i", source_},
        mapOfStreams(described_),
        Arguments{"-vf", "showinfo", "-frames:v", "1", "-c:a", "copy", "-sn", "-shortest", "-f",
                  "null", "-y", "/dev/null"}})
    command.insert(command.end(), more.begin(), more.end());
  return command;
}

std::optional<Arguments> SourceExamination::soundCommand() const {
  if (!isSource() || !doubtfulSound_)
    return std::nullopt;
  Arguments command = {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"};
  for (const Arguments& more :
       {inputOptions(described_),
        Arguments{"-i", source_, "-map", fmt::format("0:{}", *doubtfulSound_), "-t", "10", "-f",
                  "null", "-y", "/dev/null"}})
    command.insert(command.end(), more.begin(), more.end());
  return command;
}

void SourceExamination::take(std::string report, std::optional<FramePictures> pictures) {
  readError_ = readErrorOf(report);
  if (!isDescribed_) {
    takeDescription({std::move(report), pictures, reading_});
    return;
  }
  if (!place()) {
    if (std::exchange(asksBegin_, false)) {
      if (const auto first = firstShown(report))
        begin_ = first->seconds();
    } else if (const auto sound = std::exchange(doubtfulSound_, std::nullopt);
               sound && heardNothing(report)) {
      mute_ = sound;
    }
    return;
  }
  ++places_;
  if (!pictures || pictures->whole == 0)
    return;
  clues_.elsewhere.push_back(pictures->order);
  clues_.motion += pictures->motion;
}

void SourceExamination::takeDescription(Description description) {
  const auto source = describesInput(description.report)
                          ? ffInfos(description.report, std::nullopt).value_or(Source())
                          : Source();
  description.isStillOrText = isWrapperOfStills(source.container);
  const bool isMovie = source.pictures.width && !description.isStillOrText;
  const bool isSource = isMovie && description.pictures && description.pictures->whole > 0;
  description.hasOnlySound = source.pictures.codec.empty() && !source.sound.codec.empty();
  const bool misses = missesParameters(description.report);
  description.score = !isSource ? 0 : misses ? 1 : 2;
  // What was read does not matter where more of it told no more.
  if (description.score > best_.score)
    best_ = std::move(description);

  const auto next = static_cast<std::size_t>(reading_) + 1;
  if (misses && next < readings.size() &&
      sourceSize_ > readings[static_cast<std::size_t>(reading_)].bytes) {
    ++reading_;
    return;
  }
  isDescribed_ = true;
  if (!best_.pictures || !this->isSource())
    return;
  described_ = ffInfos(best_.report, std::nullopt).value_or(Source());
  chooseStreams(described_, best_.report);
  tellReading(described_, best_.reading);
  described_.toldFormat = format_;
  asksBegin_ = mayBeginElsewhere(best_.report, described_);
  doubtfulSound_ = doubtfulSound(best_.report);
  clues_ = fieldCluesOfReport(best_.report, mappedVideo(best_.report));
  clues_.firstPicture = best_.pictures->order;
  clues_.motion = best_.pictures->motion;
}

std::optional<FieldOrder> SourceExamination::fields() const {
  if (!isSource())
    return std::nullopt;
  return weighFieldOrder(clues_);
}

void SourceExamination::complete(Source& source) const {
  chooseStreams(source, best_.report, mute_);
  tellColours(source, best_.report);
  tellReading(source, best_.reading);
  source.toldFormat = format_;
  if (sourceSize_ > 0) {
    source.bytes = std::to_string(sourceSize_);
    forgetImpossibleLength(static_cast<double>(sourceSize_), source);
  }
  if (const auto order = fields())
    source.pictures.claim = order->claim;
  if (begin_ && std::abs(*begin_) > leastLateness)
    source.pictures.begin = begin_;
}

}  // namespace tessarin
