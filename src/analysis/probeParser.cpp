#include "analysis/probeParser.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "analysis/probes.h"
#include "analysis/sourceRecord.h"
#include "analysis/timing.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"
#include "movie/timeCode.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/files.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

bool startsWithDigit(std::string_view text) {
  return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

void setText(std::string& text, std::string_view said) {
  if (!said.empty())
    text = said;
}

void setNumber(std::optional<std::int64_t>& number, std::string_view text, NumberRange range) {
  if (const auto said = wholeNumber(text, range))
    number = said;
}

void setRatio(std::string& ratio, std::string_view text) {
  setText(ratio, ratioText(text).value_or(""));
}

// What every stream has.
void setCommon(Source::Stream& stream, const StreamLine& line) {
  stream.id = line.id;
  stream.language = line.lang;
  stream.codec = line.codec;
}

// ---- The container

void readDuration(std::string_view line, Source& source) {
  for (const std::string_view part : split(line, ", ")) {
    debugFormat("wrapper linePartStr : {}", part);
    if (contains(part, "Duration: ")) {
      const std::string_view timeCode = *textAfter(part, ": ");
      debugFormat("tc (str)            : {}", timeCode);
      const auto seconds = durationText(timeCode);
      if (seconds)
        source.seconds = seconds;
      // Less than a second would be a duration of 0, which no record holds.
      if (seconds >= 1.0)
        source.duration = std::trunc(*seconds);
    } else if (const auto start = textAfter(part, "start: ")) {
      if (const auto seconds = decimalNumber(*start, ReportRange::time))
        source.start = static_cast<float>(*seconds);
    } else if (const auto bitrate = textAfter(part, "bitrate: ")) {
      setNumber(source.bitRate, *bitrate, ReportRange::bitRate);
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

void readAudio(const StreamLine& line, Source::Sound& sound) {
  setCommon(sound, line);
  for (std::size_t place = 0; place < line.parts.size(); ++place) {
    const std::string_view part = line.parts[place];
    debugFormat("audio linePart (j={}): {}", place, part);
    if (contains(part, " Hz")) {
      setNumber(sound.rate, part, ReportRange::soundRate);
    } else if (contains(part, " kb/s")) {
      setNumber(sound.bitRate, part, ReportRange::bitRate);
    } else if (!sound.channels) {
      sound.channels = channelsOfLayout(part);
      debugFormat("channelsInt         : {}", sound.channels.value_or(-1));
      debugFormat("a…_channels         ? {}", sound.channels ? part : "nil");
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
bool readSize(std::string_view part, Source::Pictures& pictures) {
  const auto height = textAfter(part, "x");
  const std::string_view width = textUpTo(part, "x");
  if (!height || !startsWithDigit(*height) || !startsWithDigit(width) ||
      width.find_first_not_of("0123456789") != std::string_view::npos)
    return false;
  setNumber(pictures.width, width, ReportRange::pictureSide);
  setNumber(pictures.height, *height, ReportRange::pictureSide);

  auto pixel = textAfter(part, "PAR ");
  if (!pixel)
    pixel = textAfter(part, "SAR ");
  if (pixel)
    setRatio(pictures.pixelShape, *pixel);
  if (const auto picture = textAfter(part, "DAR "))
    setRatio(pictures.shape, *picture);
  return true;
}

// "SAR 59:54 DAR 295:216" on its own: what the container says. The coded shape, when it is there,
// comes first and keeps its place.
void readAspect(std::string_view part, Source::Pictures& pictures) {
  const std::string_view pixel = *textAfter(part, "SAR ");
  const std::string_view picture = *textAfter(part, "DAR ");
  setRatio(pictures.pixelShape.empty() ? pictures.pixelShape : pictures.containerPixelShape, pixel);
  setRatio(pictures.shape.empty() ? pictures.shape : pictures.containerShape, picture);
}

// The first single word that is neither a number nor a ratio names the pixel format; its brackets
// tell the colours and the fields.
void readPixelFormat(std::string_view part, Source::Pictures& pictures) {
  const std::string_view name = trimmed(textUpTo(part, "("));
  const bool isNumber =
      !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
  if (pictures.format.empty() && !isNumber && name.find_first_of(" /") == name.npos)
    pictures.format = name;
}

void readVideo(const StreamLine& line, Source::Pictures& pictures) {
  setCommon(pictures, line);
  for (std::size_t place = 0; place < line.parts.size(); ++place) {
    const std::string_view part = line.parts[place];
    debugFormat("video[linePartsMA#{}]: {}", place, part);
    if (contains(part, " kb/s")) {
      setNumber(pictures.bitRate, part, ReportRange::bitRate);
    } else if (contains(part, " tbr")) {
      if (const auto rate = frameRate(part, line.description))
        pictures.rate = *rate;
    } else if (contains(part, " tbc")) {
      const std::string_view base = textUpTo(textUpTo(part, " tbc"), "k");
      if (const auto number = wholeNumber(base, ReportRange::codecClock))
        pictures.codecClock = static_cast<double>(*number);
    } else if (readSize(part, pictures)) {
      continue;
    } else if (contains(part, "SAR ") && contains(part, "DAR ")) {
      readAspect(part, pictures);
    } else if (!contains(part, "fps") && !contains(part, "tbn")) {
      readPixelFormat(part, pictures);
    }
  }
}

// "displaymatrix: rotation of -90.00 degrees" among the side data below the stream.
void readRotation(std::string_view line, Source::Pictures& pictures) {
  if (!lineDeclares(line, "displaymatrix: "))
    return;
  const auto degrees =
      decimalNumber(textAfter(line, "rotation of ").value_or(""), ReportRange::rotation);
  if (const auto whole = std::lround(degrees.value_or(0)); whole != 0)
    pictures.rotation = whole;
}

// ---- Subtitles

// The title stands in the two lines that follow the stream's.
void readSubtitleTitle(ReportLines lines, std::size_t index, Source::Subtitle& subtitle) {
  for (int count = 0; count < 2; ++count) {
    const auto line = lines.next();
    if (!line)
      return;
    if (const auto title = textAfter(*line, "title           : ")) {
      subtitle.title = *title;
      debugFormat("key:'s{}_lang+' - value:'{}'", index, *title);
      return;
    }
  }
}

// ---- The report

// ffmpeg takes the PCM sound of Blu-ray discs for AAC of twice the sample rate.
void correctBluRaySound(Source::Sound& sound) {
  if (sound.codec != "aac" || sound.rate != 96000)
    return;
  sound.codec = "pcm_bluray";
  sound.rate = 48000;
  sound.channels = 2;
  sound.bitRate = 1536;
  sound.isMisread = true;
}

// The place for the next stream of a kind: that of the first, or one behind it.
template <class Stream>
Stream& placeOfNext(int& count, Stream& first, std::vector<Stream>& others) {
  return count++ == 0 ? first : others.emplace_back();
}

Source sourceOfReport(std::string_view report) {
  const std::string_view block = inputBlock(report);
  if (debugMode())
    logFormat("lines count         = {}", splitLines(block).size());
  debugFormat("linesFullMArray   : {}", block);
  Source source;
  int videoCount = 0;
  int audioCount = 0;
  std::vector<std::pair<StreamKind, int>> known;
  Source::Pictures* turned = nullptr;  // the stream whose side data follow
  DescriptionLines lines(block);
  while (const auto line = lines.next()) {
    if (lineDeclares(*line, "Input #")) {
      const auto fields = split(*line, ", ");
      if (fields.size() > 1 && !fields[1].empty())
        source.container = fields[1];
      continue;
    }
    if (lineDeclares(*line, "Duration: ")) {
      readDuration(*line, source);
      continue;
    }
    const auto stream = parseStreamLine(*line);
    if (!stream) {
      if (turned != nullptr)
        readRotation(*line, *turned);
      continue;
    }
    turned = nullptr;
    // A stream of two programmes is described in both.
    const std::pair identity{stream->kind, stream->id.value_or(-1)};
    if (stream->id && std::find(known.begin(), known.end(), identity) != known.end())
      continue;
    known.push_back(identity);
    debugFormat("\n\ncurrentLineStr : {}", *line);
    debugFormat("linePartsMArray     : {}", fmt::join(stream->parts, " | "));
    switch (stream->kind) {
      case StreamKind::audio: {
        Source::Sound& sound = placeOfNext(audioCount, source.sound, source.otherSounds);
        readAudio(*stream, sound);
        sound.title = textBelow(lines.behind(), "title");
        break;
      }
      case StreamKind::video:
        if (stream->attachedPicture)
          break;
        turned = &placeOfNext(videoCount, source.pictures, source.otherPictures);
        readVideo(*stream, *turned);
        if (debugMode())
          logFormat("infosDico v #{}      : {}", videoCount - 1,
                    recordOfSource(source).description());
        break;
      case StreamKind::subtitle: {
        const std::size_t index = source.subtitles.size();
        setCommon(source.subtitles.emplace_back(), *stream);
        readSubtitleTitle(lines.behind(), index, source.subtitles.back());
        break;
      }
    }
  }
  if (debugMode())
    logFormat("infosDico           : {}", recordOfSource(source).description());
  correctBluRaySound(source.sound);
  return source;
}

}  // namespace

std::optional<Source> ffInfos(std::optional<std::string_view> report,
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
  Source source = sourceOfReport(*report);
  if (debugMode())
    logFormat("ffInfos             : {}", recordOfSource(source).description());
  return source;
}

bool needsKeyFrameRun(std::string_view report, const Source& source) {
  return !source.pictures.codec.empty() && !firstKeyFrameShown(report);
}

void addFirstKeyFrame(double seconds, Source& source) {
  if (seconds > 0)
    source.firstKeyFrame = static_cast<float>(seconds);
}

std::optional<Source> analysisFf(std::optional<std::string_view> report,
                                 std::optional<Fields> interlacing, const std::string& sourcePath) {
  logLine("analysisFf          - begin");
  debugFormat("verboseFFmpegStr    : {}", report.value_or("nil"));
  debugFormat("interlacingStr      : {}", interlacing ? fieldsText(*interlacing) : "nil");
  if (!report)
    return std::nullopt;
  std::optional<Source> source = ffInfos(report, std::nullopt);
  if (!source) {
    logLine("analysisFf          - end");
    return std::nullopt;
  }

  std::optional<double>& rate = source->pictures.rate;
  if (!interlacing && rate)
    return std::nullopt;
  if (interlacing && *interlacing != Fields::progressive && rate && *rate <= 30.0)
    *rate *= 2;
  if (debugMode())
    logFormat("mDico : {}", recordOfSource(*source).description());

  addOffsets(*report, *source);
  if (!needsKeyFrameRun(*report, *source))
    addFirstKeyFrame(firstKeyFrameShown(*report).value_or(0), *source);
  else if (!sourcePath.empty())
    addFirstKeyFrame(intraOffset(sourcePath), *source);
  if (debugMode())
    logFormat("mDico : {}", recordOfSource(*source).description());

  if (const std::string code = timeCodeOf(*report); isTimeCode(code))
    source->recording.timeCode = code;
  if (const auto starts = ffChapters(report))
    source->chapters = *starts;
  logLine("analysisFf          - end");
  return source;
}

}  // namespace tessarin
