#include "analysis/probeParser.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/probes.h"
#include "analysis/streamLine.h"
#include "analysis/timing.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/files.h"
#include "utils/numbers.h"
#include "utils/times.h"

namespace tessarin {

namespace {

bool startsWithDigit(std::string_view text) {
  return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

// The streams of one kind share their ways of being written down.
class StreamWriter {
 public:
  StreamWriter(SourceInfo& record, StreamKind kind, int index)
      : record_(record), kind_(kind), index_(index) {}

  std::string key(std::string_view field) const { return streamKey(kind_, index_, field); }
  bool has(std::string_view field) const { return record_.contains(key(field)); }
  void set(std::string_view field, Value value) const { record_.set(key(field), std::move(value)); }
  void setText(std::string_view field, std::string_view text) const {
    if (!text.empty())
      set(field, text);
  }
  void setNumber(std::string_view field, std::string_view text, NumberRange range) const {
    if (const auto number = wholeNumber(text, range))
      set(field, *number);
  }
  void setRatio(std::string_view field, std::string_view text) const {
    if (const auto ratio = ratioText(text))
      set(field, *ratio);
  }

  // What every stream has.
  void setCommon(const StreamLine& line) const {
    if (line.id)
      set(StreamField::id, *line.id);
    setText(StreamField::lang, line.lang);
    setText(StreamField::codec, line.codec);
  }

 private:
  SourceInfo& record_;
  StreamKind kind_;
  int index_;
};

// ---- The container

void readDuration(std::string_view line, SourceInfo& record) {
  for (const std::string_view part : split(line, ", ")) {
    debugFormat("wrapper linePartStr : {}", part);
    if (contains(part, "Duration: ")) {
      const std::string_view timeCode = *textAfter(part, ": ");
      debugFormat("tc (str)            : {}", timeCode);
      const double seconds = timeStr2Seconds(timeCode);
      if (seconds > 0 && isWithin(seconds, ReportRange::duration))
        record.set(SourceKey::wSeconds, seconds);
      // Less than a second would be a duration of 0, which no record holds.
      if (seconds >= 1 && isWithin(seconds, ReportRange::duration))
        record.set(SourceKey::wDuration, static_cast<std::int64_t>(seconds));
    } else if (const auto start = textAfter(part, "start: ")) {
      if (const auto seconds = decimalNumber(*start, ReportRange::time))
        record.set(SourceKey::wOffset, static_cast<float>(*seconds));
    } else if (const auto bitrate = textAfter(part, "bitrate: ")) {
      if (const auto number = wholeNumber(*bitrate, ReportRange::bitRate))
        record.set(SourceKey::wBitrate, *number);
    }
  }
}

// ---- Audio

// 1, 2 or the sum of an "a.b" layout; nothing for every other form.
std::optional<std::int64_t> channelsOfLayout(std::string_view layout) {
  const std::string name = lowerCase(trimmed(textUpTo(layout, " (")));
  if (name == "mono")
    return 1;
  if (name == "2 channels" || name == "stereo")
    return 2;
  const auto behindPoint = textAfter(name, ".");
  debugFormat("rangeOfString:@'.' tmpStr : {}", behindPoint.value_or("nil"));
  if (!behindPoint)
    return std::nullopt;
  const auto around = wholeNumber(name, ReportRange::channels);
  const auto low = wholeNumber(*behindPoint, {0, ReportRange::channels.most});
  return around && low ? std::optional(*around + *low) : std::nullopt;
}

void readAudio(const StreamLine& line, const StreamWriter& stream) {
  stream.setCommon(line);
  for (std::size_t place = 0; place < line.parts.size(); ++place) {
    const std::string_view part = line.parts[place];
    debugFormat("audio linePart (j={}): {}", place, part);
    if (contains(part, " Hz")) {
      stream.setNumber(StreamField::rate, part, ReportRange::soundRate);
    } else if (contains(part, " kb/s")) {
      stream.setNumber(StreamField::bitrate, part, ReportRange::bitRate);
    } else if (!stream.has(StreamField::channels)) {
      const auto channelsInt = channelsOfLayout(part);
      debugFormat("channelsInt         : {}", channelsInt.value_or(-1));
      if (channelsInt)
        stream.set(StreamField::channels, *channelsInt);
      debugFormat("a…_channels         ? {}", stream.has(StreamField::channels) ? part : "nil");
    }
  }
}

// ---- Video

// The rate to work with. "tbr" is ffmpeg's best guess of frames per second, or of fields where the
// material is coded in fields. 59.94 with a declared 24 is film with pulldown: 29.97 frames.
std::optional<float> frameRate(std::string_view tbrPart, std::string_view description) {
  const std::string_view tbrText = trimmed(textUpTo(tbrPart, " tbr"));
  float tbr = str2Float(tbrText);
  if (std::abs(59.94F - tbr) < 0.01F) {
    debugFormat("fps => tbrF={:f} …?(NTSC fieldRate || NF with pulldown)", tbr);
    if (verboseLevel(2))
      logFormat("ffmpeg>ffinfos : {}", std::string(tbrText) + " tbr?");
  }
  debugFormat("fps => …parse fps str…");
  std::optional<float> fps;
  if (const std::size_t end = description.find(" fps, "); end != std::string_view::npos) {
    const std::string_view before = description.substr(0, end);
    const std::size_t comma = before.rfind(',');
    const std::string_view number = comma == before.npos ? before : before.substr(comma + 1);
    fps = str2Float(number) * (number.ends_with('k') ? 1000.0F : 1.0F);
  }
  if (std::abs(59.94F - tbr) < 0.01F && fps && std::abs(24.0F - *fps) < 0.1F)
    tbr /= 2;
  // "1k tbr" is the clock of a source with variable rate and no rate of pictures; "25 fps, 375 tbr"
  // the step between two parts of a stream that do not follow each other.
  const bool isClock = fps && tbr > 120 && tbr > 3 * *fps;
  if ((tbrText.ends_with('k') || isClock) && fps && *fps > 0)
    tbr = *fps;
  debugFormat("fps => fpsF={:f}, tbrF={:f}", fps.value_or(0), tbr);
  return isWithin(tbr, ReportRange::pictureRate) ? std::optional(tbr) : std::nullopt;
}

// "1920x1080", perhaps with "(1920x1088) [SAR 1:1 DAR 16:9]" behind it. Only digits on both sides
// make a size: tags ("0x31637661") and formats ("xyz12le") hold an "x" as well.
bool readSize(std::string_view part, const StreamWriter& stream) {
  const auto height = textAfter(part, "x");
  const std::string_view width = textUpTo(part, "x");
  if (!height || !startsWithDigit(*height) || !startsWithDigit(width) ||
      width.find_first_not_of("0123456789") != std::string_view::npos)
    return false;
  stream.setNumber(StreamField::width, width, ReportRange::pictureSide);
  stream.setNumber(StreamField::height, *height, ReportRange::pictureSide);

  auto pixel = textAfter(part, "PAR ");
  if (!pixel)
    pixel = textAfter(part, "SAR ");
  if (pixel)
    stream.setRatio(StreamField::par, *pixel);
  if (const auto picture = textAfter(part, "DAR "))
    stream.setRatio(StreamField::dar, *picture);
  return true;
}

// "SAR 59:54 DAR 295:216" on its own: what the container says. The coded shape, when it is there,
// comes first and keeps its place.
void readAspect(std::string_view part, const StreamWriter& stream, const StreamWriter& container) {
  const std::string_view pixel = *textAfter(part, "SAR ");
  const std::string_view picture = *textAfter(part, "DAR ");
  (stream.has(StreamField::par) ? container : stream).setRatio(StreamField::par, pixel);
  (stream.has(StreamField::dar) ? container : stream).setRatio(StreamField::dar, picture);
}

// The first single word that is neither a number nor a ratio names the pixel format; its brackets
// tell the colours and the fields.
void readPixelFormat(std::string_view part, const StreamWriter& stream) {
  const std::string_view name = trimmed(textUpTo(part, "("));
  const bool isNumber =
      !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
  if (!stream.has(StreamField::chroma) && !isNumber && name.find_first_of(" /") == name.npos)
    stream.setText(StreamField::chroma, name);
}

void readVideo(const StreamLine& line, const StreamWriter& stream, const StreamWriter& container) {
  stream.setCommon(line);
  for (std::size_t place = 0; place < line.parts.size(); ++place) {
    const std::string_view part = line.parts[place];
    debugFormat("video[linePartsMA#{}]: {}", place, part);
    if (contains(part, " kb/s")) {
      stream.setNumber(StreamField::bitrate, part, ReportRange::bitRate);
    } else if (contains(part, " tbr")) {
      if (const auto rate = frameRate(part, line.description))
        stream.set(StreamField::fps, static_cast<double>(*rate));
    } else if (contains(part, " tbc")) {
      const std::string_view base = textUpTo(textUpTo(part, " tbc"), "k");
      if (const auto number = wholeNumber(base, ReportRange::codecClock))
        stream.set(StreamField::tbc, static_cast<double>(*number));
    } else if (readSize(part, stream)) {
      continue;
    } else if (contains(part, "SAR ") && contains(part, "DAR ")) {
      readAspect(part, stream, container);
    } else if (!contains(part, "fps") && !contains(part, "tbn")) {
      readPixelFormat(part, stream);
    }
  }
}

// "displaymatrix: rotation of -90.00 degrees" among the side data below the stream.
void readRotation(std::string_view line, const StreamWriter& stream) {
  if (!lineDeclares(line, "displaymatrix: "))
    return;
  const auto degrees =
      decimalNumber(textAfter(line, "rotation of ").value_or(""), ReportRange::rotation);
  if (const auto whole = std::lround(degrees.value_or(0)); whole != 0)
    stream.set(StreamField::rotation, whole);
}

// ---- Subtitles

// The title stands in the two lines that follow the stream's.
void readSubtitleTitle(ReportLines lines, const StreamWriter& stream) {
  for (int count = 0; count < 2; ++count) {
    const auto line = lines.next();
    if (!line)
      return;
    if (const auto title = textAfter(*line, "title           : ")) {
      stream.setText(StreamField::title, *title);
      debugFormat("key:'{}' - value:'{}'", stream.key(StreamField::title), *title);
      return;
    }
  }
}

// ---- The report

// ffmpeg takes the PCM sound of Blu-ray discs for AAC of twice the sample rate.
void correctBluRaySound(SourceInfo& record) {
  if (record.textOrEmpty(SourceKey::a0Codec) != "aac" ||
      record.integer(SourceKey::a0Rate) != std::int64_t{96000})
    return;
  record.set(SourceKey::a0Codec, "pcm_bluray");
  record.set(SourceKey::a0Rate, 48000);
  record.set(SourceKey::a0Channels, 2);
  record.set(SourceKey::a0Bitrate, 1536);
  record.set(SourceKey::a0Force, 1);
}

SourceInfo recordOfReport(std::string_view report) {
  const std::string_view block = inputBlock(report);
  if (debugMode())
    logFormat("lines count         = {}", splitLines(block).size());
  debugFormat("linesFullMArray   : {}", block);
  SourceInfo record;
  int videoCount = 0;
  int audioCount = 0;
  int subtitleCount = 0;
  std::vector<std::pair<StreamKind, int>> known;
  std::optional<StreamWriter> turned;  // the stream whose side data follow
  DescriptionLines lines(block);
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Input #")) {
      const auto fields = split(*line, ", ");
      if (fields.size() > 1 && !fields[1].empty())
        record.set(SourceKey::wrapper, fields[1]);
      continue;
    }
    if (lineDeclares(*line, "Duration: ")) {
      readDuration(*line, record);
      continue;
    }
    const auto stream = parseStreamLine(*line);
    if (!stream) {
      if (turned)
        readRotation(*line, *turned);
      continue;
    }
    turned.reset();
    // A stream of two programmes is described in both.
    const std::pair identity{stream->kind, stream->id.value_or(-1)};
    if (stream->id && std::find(known.begin(), known.end(), identity) != known.end())
      continue;
    known.push_back(identity);
    debugFormat("\n\ncurrentLineStr : {}", *line);
    debugFormat("linePartsMArray     : {}", fmt::join(stream->parts, " | "));
    switch (stream->kind) {
      case StreamKind::audio:
        readAudio(*stream, StreamWriter(record, StreamKind::audio, audioCount++));
        break;
      case StreamKind::video:
        if (stream->attachedPicture)
          break;
        readVideo(*stream, StreamWriter(record, StreamKind::video, videoCount),
                  StreamWriter(record, StreamKind::container, videoCount));
        turned.emplace(record, StreamKind::video, videoCount);
        if (debugMode())
          logFormat("infosDico v #{}      : {}", videoCount, record.description());
        ++videoCount;
        break;
      case StreamKind::subtitle: {
        const StreamWriter writer(record, StreamKind::subtitle, subtitleCount++);
        writer.setCommon(*stream);
        readSubtitleTitle(lines.behind(), writer);
        break;
      }
      case StreamKind::container:
        break;
    }
  }
  if (debugMode())
    logFormat("infosDico           : {}", record.description());
  correctBluRaySound(record);
  return record;
}

}  // namespace

std::optional<SourceInfo> ffInfos(std::optional<std::string_view> report,
                                  std::optional<std::string> sourcePath) {
  constexpr std::string_view mark = "Input #";
  debugFormat("ffInfos             - begin");
  std::optional<std::string> ownReport;
  if (!report || findText(*report, mark) == std::string_view::npos) {
    if (!sourcePath || sourcePath->empty() || !pathExists(*sourcePath)) {
      logLine("ffInfos             :-( no src & no verbose");
      debugFormat("ffmpeg > ffInfos: :-(\n!src && !verbose");
      return std::nullopt;
    }
    ownReport = taskArray1PipeMax(
        {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info", "-i", *sourcePath}, true);
    logFormat("new… srcPathStr     : {}", *sourcePath);
    logFormat("verboseStr shell    : {}", ownReport.value_or("nil"));
    if (!ownReport)
      return std::nullopt;
    report = *ownReport;
  }
  if (findText(*report, mark) == std::string_view::npos) {
    logLine("ffInfos             :-( no input found");
    debugFormat("ffInfos > !Input #\n:-(((");
    return std::nullopt;
  }
  const SourceInfo record = recordOfReport(*report);
  if (debugMode())
    logFormat("ffInfos             : {}", record.description());
  return record;
}

bool needsKeyFrameRun(std::string_view report, const SourceInfo& record) {
  return record.contains(SourceKey::v0Codec) && !firstKeyFrameShown(report);
}

void addFirstKeyFrame(double seconds, SourceInfo& record) {
  if (seconds > 0)
    record.set(SourceKey::intraOffset, static_cast<double>(static_cast<float>(seconds)));
}

std::optional<SourceInfo> analysisFf(std::optional<std::string_view> report,
                                     std::optional<Fields> interlacing,
                                     const std::string& sourcePath) {
  logLine("analysisFf          - begin");
  debugFormat("verboseFFmpegStr    : {}", report.value_or("nil"));
  debugFormat("interlacingStr      : {}",
              interlacing ? fieldsText(fieldsKey(*interlacing)) : "nil");
  if (!report)
    return std::nullopt;
  std::optional<SourceInfo> record = ffInfos(report, std::nullopt);
  if (!record) {
    logLine("analysisFf          - end");
    return std::nullopt;
  }

  const std::optional<double> rate = record->number(SourceKey::v0Fps);
  if (!interlacing && rate)
    return std::nullopt;
  if (interlacing && *interlacing != Fields::progressive && rate && *rate <= 30.0)
    record->set(SourceKey::v0Fps, 2 * *rate);
  if (debugMode())
    logFormat("mDico : {}", record->description());

  if (const auto offsets = ptsDtsOffsetMs(*report))
    record->merge(*offsets);
  if (!needsKeyFrameRun(*report, *record))
    addFirstKeyFrame(firstKeyFrameShown(*report).value_or(0), *record);
  else if (!sourcePath.empty())
    addFirstKeyFrame(intraOffset(sourcePath), *record);
  if (debugMode())
    logFormat("mDico : {}", record->description());

  if (const auto starts = ffChapters(report))
    record->set(SourceKey::chapters, List(starts->begin(), starts->end()));
  logLine("analysisFf          - end");
  return record;
}

}  // namespace tessarin
