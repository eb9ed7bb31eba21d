#include "encoding/commandBuilder.h"

#include <fmt/format.h>

#include "analysis/SourceInfo.h"
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

void appendInput(Arguments& arguments, const Dico& job) {
  // Before "-i" the codec is a decoder: for sound that ffmpeg would take for something else.
  if (job.contains(SourceKey::a0Id) && job.contains(SourceKey::a0Force) &&
      job.contains(SourceKey::a0Codec))
    append(arguments, {"-c:a", job.textOrEmpty(SourceKey::a0Codec)});
  append(arguments, inputOptions(job));
  append(arguments, {"-fflags", "+genpts", "-i", job.textOrEmpty(JobKey::srcPathStr)});
  append(arguments, mapOfStreams(job));
}

void appendCopy(Arguments& arguments, const Dico& job) {
  append(arguments, {"-vsync", "0", "-strict", "1", "-c:v", "copy"});
  const std::string wrapper = lowerCase(job.textOrEmpty(SourceKey::wrapper));
  const bool hasTags = startsWith(wrapper, "mov") || startsWith(wrapper, "avi");
  if (hasTags && contains(job.textOrEmpty(SourceKey::v0Codec), "264"))
    append(arguments, {"-vtag", "avc1"});
}

std::string scaleFilter(const Dico& job, const SizeRow* size) {
  if (size == nullptr)
    return fmt::format("scale={}:{}", job.integer(SourceKey::v0Width).value_or(0),
                       job.integer(SourceKey::v0Height).value_or(0));
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

Treatment treatmentOf(Target target, const Dico& job, const SizeRow* size, bool interleave) {
  Treatment plan{};
  plan.interleave = interleave;
  plan.deinterlace = size && size->isProgressive();
  logFormat("…to deinterlace     ? {:d}", plan.deinterlace);
  logFormat("sizeOutStr          : {}",
            size ? presetShortLabel(std::string_view(size->label)) : "nil");
  plan.fps = roundedFps(job);
  logFormat("fps                 : {}", plan.fps);
  plan.doubleFps = !isSourceProgressive(job) && isOf(size, RateFamily::p50) && plan.fps > 47;
  logFormat("…to double fps      ? {:d}", plan.doubleFps);
  // Interleaved frames cannot be copied; the intermediate is the least loss.
  plan.mode = interleave && target == outQuickTime ? outAic : target;
  plan.speed = plan.doubleFps ? speedSlow : speedOfJob(job);
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

void appendAudio(Arguments& arguments, const Dico& job) {
  constexpr std::int64_t stereo = 2;
  if (!job.contains(SourceKey::a0Id))
    return;
  std::int64_t channels = stereo;
  if (job.flag(JobKey::prefSurrond) && job.integer(SourceKey::a0Channels).value_or(0) > stereo) {
    channels = *job.integer(SourceKey::a0Channels);
    logFormat("aChannels           : {}", channels);
  }
  append(arguments, {"-async", "3000", "-c:a", "pcm_s16le", "-ac", fmt::format("{}", channels)});
}

void appendOutput(Arguments& arguments, const Dico& job) {
  const std::string destination = job.textOrEmpty(JobKey::dstPathStr);
  if (hasPathExtension(destination, "mov"))
    append(arguments, {"-movflags", "faststart"});
  append(arguments, {"-sn", "-y", destination});
}

void logDetails(std::string_view name, const Arguments& arguments) {
  if (debugMode() || verboseLevel(1))
    logFormat("{}: {}", name, fmt::join(arguments, " "));
}

}  // namespace

std::optional<EncodingCommand> encodage(Target target, const Dico& job,
                                        std::string_view prefProres) {
  logLine("encodage            - deb");
  debugFormat("srcPathStr          : {}", job.textOrEmpty(JobKey::srcPathStr));
  debugFormat("dstPathStr          : {}", job.textOrEmpty(JobKey::dstPathStr));
  debugFormat("outInt              : {}", static_cast<int>(target));
  if (debugMode() || verboseLevel(1))
    logFormat("dico                : {}", job.description());

  const auto row = job.integer(JobKey::sizeOut);
  const SizeRow* size = sizeRow(row.value_or(-1));
  if (row && !size) {
    logFormat("encodage            :-( no size row {}", *row);
    return std::nullopt;
  }

  EncodingCommand command;
  Arguments& arguments = command.arguments;
  append(arguments, {Bundle::main().toolPath("ffmpeg"), "-loglevel", "info"});
  logDetails("argsMArray deb       ", arguments);
  appendInput(arguments, job);
  const bool interleave = needsInterleaveToI50(job, size);
  if (isSourceProgressive(job) && !interleave) {
    appendCopy(arguments, job);
  } else {
    const Treatment plan = treatmentOf(target, job, size, interleave);
    appendCodec(arguments, plan, prefProres);
    command.writesProres = plan.mode == outProres;
    append(arguments, {"-threads", "auto"});
    appendFilters(arguments, plan, scaleFilter(job, size));
  }
  appendAudio(arguments, job);
  appendOutput(arguments, job);
  logDetails("argsMArray fin       ", arguments);
  logLine("encodage            - fin");
  return command;
}

}  // namespace tessarin
