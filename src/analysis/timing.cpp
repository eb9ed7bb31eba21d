#include "analysis/timing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

#include "analysis/usedStreams.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"

namespace tessarin {

namespace {

// Offsets up to this are within what players and cameras do anyway.
constexpr double toleranceMs = 30;
// Pictures are stored out of order by at most the reference frames of H.264.
constexpr int packetsPerStream = 16;
// ffmpeg counts from 9223090561878065151 while it does not know the start of a stream.
constexpr std::int64_t largestTime = std::int64_t{1} << 53;

constexpr std::int64_t keyFlag = 1;
constexpr std::int64_t discardFlag = 4;  // priming samples of audio, never heard

// ---- Packet lines
// [mpegts @ 0x5577079ae980] read_frame_internal stream=0, pts=100800, dts=NOPTS, size=184451, …

struct Packet {
  std::int64_t stream = -1;
  std::optional<std::int64_t> pts;  // in ticks of the stream
  std::optional<std::int64_t> dts;
  std::int64_t flags = 0;
};

std::optional<std::int64_t> timeBehind(std::string_view line, std::string_view label) {
  const std::string_view text = textAfter(line, label).value_or("");
  std::int64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec != std::errc() || value > largestTime || value < -largestTime)
    return std::nullopt;
  return value;
}

// The packets in the order of the report: frames as the parser divides them, or the raw packets of
// the container in reports that show nothing else.
class PacketLines {
 public:
  explicit PacketLines(std::string_view report) : report_(report) {
    constexpr std::array<std::string_view, 2> marks = {"read_frame_internal stream=",
                                                       "read_packet stream="};
    for (const std::string_view mark : marks) {
      mark_ = mark;
      position_ = findStatement(0);
      if (position_ != std::string_view::npos)
        return;
    }
  }

  std::optional<Packet> next() {
    if (position_ == std::string_view::npos)
      return std::nullopt;
    const std::size_t start = position_ + mark_.size();
    const std::size_t end = lineEnd(report_, start);
    position_ = findStatement(end);
    const std::string_view line = report_.substr(start, end - start);
    return Packet{leadingInteger(line), timeBehind(line, " pts="), timeBehind(line, " dts="),
                  timeBehind(line, " flags=").value_or(0)};
  }

 private:
  // Where the mark stands in a line that begins with "[mpegts @ …]", as one with a text of the
  // source never does.
  std::size_t findStatement(std::size_t from) const {
    std::size_t found = findText(report_, mark_, from);
    while (found != std::string_view::npos) {
      if (report_[lineStart(report_, found)] == '[')
        return found;
      found = findText(report_, mark_, found + mark_.size());
    }
    return found;
  }

  std::string_view report_;
  std::string_view mark_;
  std::size_t position_ = 0;
};

// ---- Streams

struct StreamStart {
  StreamKind kind = StreamKind::video;
  int id = 0;
  double timeBase = 0;  // seconds per tick
  int packets = 0;
  std::optional<double> pts;  // the earliest, in seconds
  std::optional<double> dts;
};

struct DeclaredInput {
  std::vector<StreamStart> streams;
  std::optional<double> start;  // of the container, in seconds
};

DeclaredInput declaredInput(std::string_view report) {
  DeclaredInput input;
  double fallbackBase = 0;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Input ") &&
        (contains(*line, ", mpegts, ") || contains(*line, ", mpeg, ")))
      fallbackBase = 1.0 / 90000;  // the clock of MPEG systems
    if (lineDeclares(*line, "Duration: ")) {
      if (const auto start = textAfter(*line, ", start: "))
        input.start = decimalNumber(*start, ReportRange::time);
      continue;
    }
    const auto stream = parseStreamLine(*line);
    if (!stream || !stream->id || stream->attachedPicture)
      continue;
    StreamStart entry;
    entry.kind = stream->kind;
    entry.id = *stream->id;
    entry.timeBase = stream->timeBase.value_or(fallbackBase);
    input.streams.push_back(entry);
  }
  return input;
}

// Reports give times in decimals: what is left below a millisecond is their rounding.
double sinceStart(double seconds, const DeclaredInput& input) {
  return std::round((seconds - input.start.value_or(0)) * 1000) / 1000;
}

void takeEarliest(std::optional<double>& earliest, std::optional<std::int64_t> ticks, double base) {
  if (!ticks)
    return;
  const double seconds = static_cast<double>(*ticks) * base;
  if (isWithin(seconds, ReportRange::time))
    earliest = std::min(earliest.value_or(seconds), seconds);
}

void readStarts(std::string_view report, std::vector<StreamStart>& streams) {
  std::size_t open = streams.size();
  PacketLines packets(report);
  while (open > 0) {
    const auto packet = packets.next();
    if (!packet)
      return;
    const auto stream = std::find_if(streams.begin(), streams.end(),
                                     [&](const StreamStart& s) { return s.id == packet->stream; });
    if (stream == streams.end() || stream->packets == packetsPerStream ||
        (packet->flags & discardFlag) != 0)
      continue;
    takeEarliest(stream->pts, packet->pts, stream->timeBase);
    takeEarliest(stream->dts, packet->dts, stream->timeBase);
    if (++stream->packets == packetsPerStream)
      --open;
  }
}

// Whole milliseconds against the reference, when they are worth to be told.
std::optional<std::int64_t> offsetMs(std::optional<double> seconds, double reference) {
  if (!seconds)
    return std::nullopt;
  const double milliseconds = std::round((*seconds - reference) * 1000);
  if (std::abs(milliseconds) <= toleranceMs ||
      std::abs(milliseconds) > std::numeric_limits<std::int32_t>::max())
    return std::nullopt;
  return static_cast<std::int64_t>(milliseconds);
}

}  // namespace

void addOffsets(std::string_view report, Source& source) {
  DeclaredInput input = declaredInput(report);
  std::erase_if(input.streams, [](const StreamStart& s) { return s.timeBase <= 0; });
  readStarts(report, input.streams);

  std::optional<double> reference = input.start;
  if (!reference) {
    for (const StreamStart& stream : input.streams)
      if (stream.pts)
        reference = std::min(reference.value_or(*stream.pts), *stream.pts);
  }
  if (!reference)
    return;

  std::optional<std::int64_t> smallestVideo;
  for (const StreamStart& stream : input.streams) {
    const Source::Offset offset{offsetMs(stream.pts, *reference), offsetMs(stream.dts, *reference)};
    if (offset.shown || offset.decoded)
      source.offsets[{stream.kind, stream.id}] = offset;
    if (stream.kind == StreamKind::video && offset.shown)
      smallestVideo = std::min(smallestVideo.value_or(*offset.shown), *offset.shown);
  }
  if (smallestVideo)
    source.pictureLead = -*smallestVideo;
}

std::optional<double> firstKeyFrameShown(std::string_view report) {
  const DeclaredInput input = declaredInput(report);
  const auto video = std::find_if(input.streams.begin(), input.streams.end(),
                                  [](const StreamStart& s) { return s.kind == StreamKind::video; });
  if (video == input.streams.end() || video->timeBase <= 0)
    return std::nullopt;
  PacketLines packets(report);
  while (const auto packet = packets.next()) {
    if (packet->stream != video->id || (packet->flags & keyFlag) == 0)
      continue;
    if (!packet->pts)
      return std::nullopt;
    const double seconds = static_cast<double>(*packet->pts) * video->timeBase;
    return sinceStart(seconds, input);
  }
  return std::nullopt;
}

std::optional<bool> beginsWithKeyFrame(std::string_view report) {
  const DeclaredInput input = declaredInput(report);
  const auto isVideo = [](const StreamStart& stream) { return stream.kind == StreamKind::video; };
  if (std::count_if(input.streams.begin(), input.streams.end(), isVideo) != 1)
    return std::nullopt;
  const auto video = std::find_if(input.streams.begin(), input.streams.end(), isVideo);
  std::optional<std::int64_t> first;
  PacketLines packets(report);
  for (int count = 0; count < packetsPerStream;) {
    const auto packet = packets.next();
    if (!packet)
      break;
    if (packet->stream != video->id)
      continue;
    if (++count == 1 && (!packet->pts || (packet->flags & keyFlag) == 0))
      return false;
    if (!first)
      first = packet->pts;
    if (packet->pts && *packet->pts < *first)
      return false;
  }
  return first ? std::optional(true) : std::nullopt;
}

std::optional<double> firstKeyFrameOfShowinfo(std::string_view report) {
  ReportLines lines(report);
  while (const auto line = lines.next()) {
    if (!startsWith(*line, "[") || !contains(*line, "showinfo"))
      continue;
    const auto time = decimalNumber(textAfter(*line, " pts_time:").value_or(""), ReportRange::time);
    if (time && (contains(*line, " iskey:1") || contains(*line, " type:I")))
      return sinceStart(*time, declaredInput(report));
  }
  return std::nullopt;
}

Arguments firstKeyFrameCommand(const std::string& path, const Source& source) {
  Arguments command = {Bundle::main().toolPath("ffmpeg"),
                       "-loglevel",
                       "info",
                       "-copyts",
                       "-skip_frame",
                       "nokey",
                       "-t",
                       "12"};
  const auto append = [&command](const Arguments& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  append(inputOptions(source));
  append({"-i", path});
  append(mapOfVideo(source));
  append({"-an", "-sn", "-vf", "showinfo", "-frames:v", "1", "-f", "null", "-y", "/dev/null"});
  return command;
}

double intraOffset(const std::string& path) {
  const auto report = taskArray1PipeMax(firstKeyFrameCommand(path, {}), true);
  const double seconds = firstKeyFrameOfShowinfo(report.value_or("")).value_or(0);
  debugFormat("intraOffset         : {:.3f}", seconds);
  return seconds;
}

}  // namespace tessarin
