#include "encoding/commandBuilder.h"

#include <fmt/format.h>

#include "analysis/sourceRecord.h"
#include "analysis/usedStreams.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/outputPreset.h"
#include "encoding/targets.h"
#include "ffmpeg/proresFlavours.h"
#include "platform/Bundle.h"

namespace tessarin {

namespace {

void append(Arguments& arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
}

void appendInput(Arguments& arguments, const Source& source) {
  // Before "-i" the codec is a decoder: for sound that ffmpeg would take for something else.
  const Source::Sound& sound = source.sound;
  if (sound.id && sound.isMisread && !sound.codec.empty())
    append(arguments, {"-c:a", sound.codec});
  append(arguments, inputOptions(source));
  append(arguments, {"-fflags", "+genpts", "-i", source.path});
  append(arguments, mapOfStreams(source));
}

void appendCopy(Arguments& arguments, const Source& source) {
  append(arguments, {"-vsync", "0", "-strict", "1", "-c:v", "copy"});
  const std::string wrapper = lowerCase(source.container);
  const bool hasTags = startsWith(wrapper, "mov") || startsWith(wrapper, "avi");
  if (hasTags && contains(source.pictures.codec, "264"))
    append(arguments, {"-vtag", "avc1"});
}

std::string scaleFilter(const Source& source, const SizeRow* size) {
  if (size == nullptr)
    return fmt::format("scale={}:{}", source.pictures.width.value_or(0),
                       source.pictures.height.value_or(0));
  // A row that is no size counts as the largest.
  const FrameSize frame = size->isSize() ? size->frame : FrameSize{1920, 1080};
  return fmt::format("scale={}:{}", frame.width, frame.height);
}

// Re-encoding: what is known before the arguments are written.
struct Treatment {
  bool interleave;   // frames become fields
  bool deinterlace;  // the row is progressive
  bool doubleFps;    // every field becomes a frame, at the field rate
  Target mode;
  int fps;
  Speed speed;
};

Treatment treatmentOf(const Row& row, const SizeRow* size, bool interleave) {
  Treatment plan{};
  plan.interleave = interleave;
  plan.deinterlace = size && size->isProgressive();
  logFormat("…to deinterlace     ? {:d}", plan.deinterlace);
  logFormat("sizeOutStr          : {}",
            size ? presetShortLabel(std::string_view(size->label)) : "nil");
  plan.fps = roundedFps(row.source);
  logFormat("fps                 : {}", plan.fps);
  plan.doubleFps = !isSourceProgressive(row.source) && isOf(size, RateFamily::p50) && plan.fps > 47;
  logFormat("…to double fps      ? {:d}", plan.doubleFps);
  // Interleaved frames cannot be copied; the intermediate is the least loss.
  plan.mode = interleave && row.choice.target == outQuickTime ? outAic : row.choice.target;
  plan.speed = plan.doubleFps ? speedSlow : row.choice.speed;
  if (plan.speed == speedKeep && plan.deinterlace)
    plan.speed = speedHalf;
  return plan;
}

void appendCodec(Arguments& arguments, const Treatment& plan, std::string_view prefProres) {
  if (plan.mode == outAic)  // the intermediate for the export: key frames only, best quantiser
    append(arguments, {"-c:v", "mpeg4", "-g", "1", "-q:vscale", "1"});
  if (plan.mode != outProres)
    return;
  const std::size_t start = arguments.size();
  append(arguments, {"-c:v", "prores", "-profile",
                     std::to_string(proresFlavourOrStandard(prefProres).quickProfile)});
  if (!plan.deinterlace)
    append(arguments, {"-flags", "+ildct+ilme", "-top", "1"});
  if (debugMode() || verboseLevel(1))
    logFormat(
        "args prores direct  : {}",
        fmt::join(arguments.begin() + static_cast<std::ptrdiff_t>(start), arguments.end(), " "));
}

// The filters and the rate. A source rate above 50 is read as the field rate of 60i material, so a
// source of 30 frames gets 25.
void appendFilters(Arguments& arguments, const Treatment& plan, const std::string& scale) {
  const std::string rate25 = plan.fps > 50 && plan.fps != 100 ? "30000/1001" : "25/1";
  if (plan.speed == speedKeep) {
    if (plan.interleave)
      append(arguments, {"-vf", scale + ",tinterlace=interleave_top"});
    append(arguments, {"-r", rate25});
  } else if (plan.speed == speedSlow) {
    const std::string stretch = plan.doubleFps ? "" : ",setpts=2.0*PTS";
    const std::string rate50 = plan.fps < 51 ? "50/1" : "60000/1001";
    append(arguments,
           {"-vf", "yadif=1:-1:0" + stretch + "," + scale, "-r", plan.doubleFps ? rate50 : rate25});
  } else if (plan.speed == speedHalf) {
    append(arguments, {"-vf", "yadif=0:-1:0," + scale, "-r", rate25});
  }
}

void appendAudio(Arguments& arguments, const Source& source) {
  constexpr std::int64_t stereo = 2;
  if (!source.sound.id)
    return;
  std::int64_t channels = stereo;
  if (source.keepsSurround.value_or(false) && source.sound.channels.value_or(0) > stereo) {
    channels = *source.sound.channels;
    logFormat("aChannels           : {}", channels);
  }
  append(arguments, {"-async", "3000", "-c:a", "pcm_s16le", "-ac", fmt::format("{}", channels)});
}

void appendOutput(Arguments& arguments, const std::string& destination) {
  if (hasPathExtension(destination, "mov"))
    append(arguments, {"-movflags", "faststart"});
  append(arguments, {"-sn", "-y", destination});
}

void logDetails(std::string_view name, const Arguments& arguments) {
  if (debugMode() || verboseLevel(1))
    logFormat("{}: {}", name, fmt::join(arguments, " "));
}

}  // namespace

Dico jobRecord(const Row& row, const std::string& destination) {
  Dico record = recordOfSource(row.source);
  record.set(JobKey::out, row.choice.target);
  record.set(JobKey::speed, row.choice.speed);
  if (row.choice.sizeOut != keepsSize)
    record.set(JobKey::sizeOut, row.choice.sizeOut);
  if (!destination.empty())
    record.set(JobKey::dstPathStr, destination);
  return record;
}

std::optional<EncodingCommand> encodage(const Row& row, const std::string& destination,
                                        std::string_view prefProres) {
  const Source& source = row.source;
  logLine("encodage            - deb");
  debugFormat("srcPathStr          : {}", row.path());
  debugFormat("dstPathStr          : {}", destination);
  debugFormat("outInt              : {}", static_cast<int>(row.choice.target));
  if (debugMode() || verboseLevel(1))
    logFormat("dico                : {}", jobRecord(row, destination).description());

  const SizeRow* size = sizeRow(row.choice.sizeOut);
  if (!size && row.choice.sizeOut != keepsSize) {
    logFormat("encodage            :-( no size row {}", row.choice.sizeOut);
    return std::nullopt;
  }

  EncodingCommand command;
  Arguments& arguments = command.arguments;
  append(arguments, {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"});
  logDetails("argsMArray deb       ", arguments);
  appendInput(arguments, source);
  const bool interleave = needsInterleaveToI50(source, size);
  if (isSourceProgressive(source) && !interleave) {
    appendCopy(arguments, source);
  } else {
    const Treatment plan = treatmentOf(row, size, interleave);
    appendCodec(arguments, plan, prefProres);
    command.writesProres = plan.mode == outProres;
    append(arguments, {"-threads", "auto"});
    appendFilters(arguments, plan, scaleFilter(source, size));
  }
  appendAudio(arguments, source);
  appendOutput(arguments, destination);
  logDetails("argsMArray fin       ", arguments);
  logLine("encodage            - fin");
  return command;
}

}  // namespace tessarin
