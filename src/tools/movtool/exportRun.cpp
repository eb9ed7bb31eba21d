#include "tools/movtool/exportRun.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <vector>

#include "classShared/TextAdditions.h"
#include "ffmpeg/failureWords.h"
#include "ffmpeg/installedFfmpeg.h"
#include "ffmpeg/reportText.h"
#include "platform/fileFacts.h"
#include "platform/propertyList.h"
#include "tools/movtool/FfmpegRun.h"
#include "tools/movtool/SourceFacts.h"
#include "tools/movtool/exportPlan.h"
#include "tools/movtool/makeMovie.h"
#include "tools/streams/yuv4mpeg.h"
#include "utils/fileSection.h"
#include "utils/files.h"

namespace tessarin::movtool {

namespace {

using quicktime::FieldOrder;

Outcome<ExportSettings> readSettings(const std::string& path) {
  const Outcome<Value> list = readPropertyList(path);
  if (!list)
    return Failure{fmt::format("the settings {} cannot be read: {}", path, list.reason())};
  Outcome<ExportSettings> settings = exportSettings(list.value());
  if (!settings)
    return Failure{fmt::format("{}: {}", path, settings.reason())};
  return settings;
}

std::optional<std::string> pathProblem(const ExportJob& job) {
  const std::string input = fileOfSource(job.input.path);
  if (!mayRead(input))
    return fmt::format("{} cannot be read: {}", job.input.path, systemReason(errno));
  const auto output = fileIdentity(job.output);
  if (output && fileIdentity(input) == output)
    return fmt::format("{} cannot be made from itself", job.output);
  if (output && !job.replace)
    return fmt::format("{} is there already (-y replaces it)", job.output);
  return std::nullopt;
}

Outcome<SourceFacts> probe(const std::string& ffmpeg, const ExportInput& input) {
  Outcome<FfmpegRun> run = FfmpegRun::start(ffmpeg, probeArguments(input));
  if (!run)
    return Failure{run.reason()};
  yuv4mpeg::Reader reader(run->output());
  const Outcome<yuv4mpeg::Header> header = reader.readHeader(yuv4mpeg::Accepted::only8Bits420);
  // After a failed read ffmpeg may end well with a header alone: when the pictures begin is not
  // known then, and sound would come early or late.
  std::vector<std::uint8_t> picture(header ? header->frameSize() : 0);
  const Outcome<bool> taken = header ? reader.readFrame(picture) : Outcome<bool>(false);
  run->readOutput();
  const Outcome<bool> finished = run->finish();
  if (!finished)
    return Failure{finished.reason()};
  if (!header && header.reason() == yuv4mpeg::emptyStream)
    return Failure{"there are no pictures in " + input.path};
  if (!header)
    return Failure{
        fmt::format("the pictures of {} cannot be taken: {}", input.path, header.reason())};
  if (!taken || !taken.value()) {
    const std::string words(failureWords(run->report()));
    return Failure{words.empty() ? "there are no pictures in " + input.path : words};
  }
  // A name may hold whole lines that look like ffmpeg's.
  return sourceFacts(header.value(), withoutSource(run->report(), input.path, "«source»"));
}

// Codecs without field flags may hold fields all the same. Where that matters the pictures
// themselves are asked.
Outcome<FieldOrder> fieldOrderInPictures(const std::string& ffmpeg, const ExportInput& input) {
  Outcome<FfmpegRun> run = FfmpegRun::start(ffmpeg, fieldProbeArguments(input));
  if (!run)
    return Failure{run.reason()};
  const Outcome<bool> finished = run->finish();
  if (!finished)
    return Failure{finished.reason()};
  return detectedFieldOrder(withoutSource(run->report(), input.path, "«source»"))
      .value_or(FieldOrder::progressive);
}

// Nothing when this ffmpeg can map the colours of such a source, else a sentence for the user.
std::optional<std::string> mappingProblem(const std::string& ffmpeg, const ExportInput& input,
                                          const ExportPlan& plan) {
  Outcome<FfmpegRun> run = FfmpegRun::start(ffmpeg, trialArguments(input, plan));
  if (!run)
    return run.reason();
  run->readOutput();
  const Outcome<bool> finished = run->finish();
  if (finished)
    return std::nullopt;
  return fmt::format(
      "the pictures have more colours than Apple Intermediate Codec, and this ffmpeg cannot bring "
      "them to its range ({}); choose ProRes, or take a newer ffmpeg",
      finished.reason());
}

Outcome<quicktime::VideoFormat> videoFormat(const ExportSettings& settings, const ExportPlan& plan,
                                            const yuv4mpeg::Header& stream) {
  if (stream.width != settings.width || stream.height != settings.height)
    return Failure{"ffmpeg has made pictures of another size than it was asked for"};
  quicktime::VideoFormat format;
  format.width = settings.width;
  format.height = settings.height;
  format.frameRate = plan.frameRate;
  format.pixelAspect = plan.pixelAspect;
  format.fieldOrder = plan.fieldOrder;
  format.colours = plan.colours;
  return format;
}

}  // namespace

Outcome<bool> runExport(const ExportJob& wanted) {
  ExportJob job = wanted;
  const Outcome<ExportSettings> settings = readSettings(job.settings);
  if (!settings)
    return Failure{settings.reason()};
  if (const auto problem = pathProblem(job))
    return Failure{*problem};
  const std::string start = readFileStart(job.input.path, 12).value_or("");
  job.input.isAvi = startsWith(start, "RIFF") && endsWith(start, "AVI ");
  const Outcome<std::string> ffmpeg = ffmpegProgram();
  if (!ffmpeg)
    return Failure{ffmpeg.reason()};
  Outcome<SourceFacts> source = probe(ffmpeg.value(), job.input);
  if (!source)
    return Failure{source.reason()};
  if (settings.value().interlaced && !source->flagged && job.input.fields.empty()) {
    const Outcome<FieldOrder> order = fieldOrderInPictures(ffmpeg.value(), job.input);
    if (!order)
      return Failure{order.reason()};
    source->fieldOrder = order.value();
  }
  const SourceFacts exported = asExported(source.value(), job.input);
  const ExportPlan plan = exportPlan(exported, settings.value(), job.input);
  if (needsMapping(exported, settings.value()))
    if (const auto problem = mappingProblem(ffmpeg.value(), job.input, plan))
      return Failure{*problem};
  const auto codec = codecOf(settings.value());
  MovieMaking making(*codec);
  making.ffmpeg = ffmpeg.value();
  making.pictures = pictureArguments(job.input, plan);
  for (std::size_t track = 0; track < exported.sounds.size(); ++track)
    making.sounds.push_back(
        {soundArguments(job.input, track, plan), exported.sounds[track].stream});
  making.soundNames = exported.sounds;
  making.format = [&](const yuv4mpeg::Header& stream) {
    return videoFormat(settings.value(), plan, stream);
  };
  making.timeCode = exported.timeCode;
  making.texts = exported.texts;
  making.source = job.input.path;
  making.output = job.output;
  making.replace = job.replace;
  making.duration = exported.duration;
  return makeMovie(making);
}

}  // namespace tessarin::movtool
