#include "core/jobPlan.h"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/Fields.h"
#include "analysis/SourceInfo.h"
#include "classShared/TextAdditions.h"
#include "core/exportPlan.h"
#include "core/rowChoices.h"
#include "core/storedRow.h"
#include "encoding/exportStep.h"
#include "encoding/outputPreset.h"
#include "encoding/targets.h"
#include "ffmpeg/movieCodecs.h"
#include "ffmpeg/proresEncoder.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

enum class FilterPlace { first, last };

const SizeRow* sizeOf(const Dico& job) {
  return sizeRow(job.integer(JobKey::sizeOut).value_or(-1));
}

// Puts a filter before or behind the command's filters; a command without any gets it alone. Stream
// copies have no filters and no "-r".
void addFilter(Arguments& arguments, const std::string& filter, FilterPlace place) {
  const auto option = std::find(arguments.begin(), arguments.end(), "-vf");
  if (option != arguments.end() && option + 1 != arguments.end()) {
    const std::string filters = *(option + 1);
    *(option + 1) = place == FilterPlace::first ? filter + "," + filters : filters + "," + filter;
    return;
  }
  const auto rate = std::find(arguments.begin(), arguments.end(), "-r");
  if (rate != arguments.end())
    arguments.insert(rate, {"-vf", filter});
}

// Sees to it that the fields of the movie have the order that it claims.
void correctFields(const Dico& job, EncodingCommand& command) {
  const bool hasFields = !isSourceProgressive(job);
  const auto codec = std::find(command.arguments.begin(), command.arguments.end(), "mpeg4");
  const bool isIntermediate =
      codec != command.arguments.end() && isOf(sizeOf(job), RateFamily::i50);
  if (isIntermediate) {
    // Told that there are fields, the codec carries their order to the export.
    command.arguments.insert(codec + 1, {"-flags", "+ildct+ilme"});
    // Its chroma is halved field by field.
    if (hasFields && job.text(SourceKey::v0Chroma).value_or("yuv420p") != "yuv420p")
      addFilter(command.arguments, "scale=interl=-1,format=yuv420p", FilterPlace::first);
  }
  // Where what the stream claims is wrong, the filters are told what the pictures say.
  if (job.contains(SourceKey::v0FieldsClaim) || (isIntermediate && hasFields))
    addFilter(command.arguments,
              job.text(SourceKey::v0Fields) == fieldsKey(Fields::bottomFirst) ? "setfield=bff"
                                                                              : "setfield=tff",
              FilterPlace::first);
  // For ProRes the tool adapter sees to the rest; it knows when the movie is interlaced.
}

// Sees to it that the encoder can take fields of as many lines as the movie has.
void correctEncoder(const Dico& job, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  const auto codec = std::find(arguments.begin(), arguments.end(), "prores");
  const bool hasFields =
      std::find(arguments.begin(), arguments.end(), "+ildct+ilme") != arguments.end();
  if (codec == arguments.end() || !hasFields)
    return;
  const auto filters = std::find(arguments.begin(), arguments.end(), "-vf");
  const bool isScaled = filters != arguments.end() && contains(*(filters + 1), "scale=");
  const SizeRow* size = sizeOf(job);
  const int lines = isScaled && size
                        ? size->frame.height
                        : static_cast<int>(job.integer(SourceKey::v0Height).value_or(0));
  *codec = proresEncoder(hasFields, lines);
}

// Sees to it that the movie says its colours: those of the source, or those of high definition for
// pictures of standard definition that are made as large, as they are converted then. Programs that
// do not ask go by the size.
void nameColours(const Dico& job, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  PictureColours colours = sourceColours(job);
  const auto height = job.integer(SourceKey::v0Height).value_or(0);
  constexpr int mostStandardLines = 576;
  const auto option = std::find(arguments.begin(), arguments.end(), "-vf");
  if (option != arguments.end() && height <= mostStandardLines && !isWide(colours))
    for (const SizeRow& size : sizeRows()) {
      const std::string scale = fmt::format("scale={}:{}", size.frame.width, size.frame.height);
      const std::string converted = fmt::format("{}:out_color_matrix=bt709", scale);
      std::string& filters = *(option + 1);
      if (!size.isSize() || !contains(filters, scale) || contains(filters, converted))
        continue;  // rows share their frames
      filters = replaceAll(filters, scale, converted);
      colours = {"bt709", "bt709", "bt709"};
    }
  if (command.writesProres) {
    colours = coloursInProres(colours);
    addFilter(arguments, colourFilter(colours), FilterPlace::last);
  }
  const Arguments options = colourOptions(colours);
  const auto subtitles = std::find(arguments.begin(), arguments.end(), "-sn");
  arguments.insert(subtitles, options.begin(), options.end());
}

// Sees to it that the movie begins with its first picture, and the sound with what is heard then:
// ffmpeg would fill the time before with copies of that picture.
void beginWithFirstPicture(const Dico& job, EncodingCommand& command) {
  const double begin = job.number(SourceKey::v0Begin).value_or(0);
  Arguments& arguments = command.arguments;
  if (begin <= 0 || std::find(arguments.begin(), arguments.end(), "copy") != arguments.end())
    return;
  // Stretched pictures begin there, too.
  if (const auto option = std::find(arguments.begin(), arguments.end(), "-vf");
      option != arguments.end())
    *(option + 1) =
        replaceAll(*(option + 1), "setpts=2.0*PTS", fmt::format("setpts=2.0*PTS-{:.6f}/TB", begin));
  // A picture that is a rounding error too early would be cut off.
  constexpr double rounding = 0.001;
  const auto subtitles = std::find(arguments.begin(), arguments.end(), "-sn");
  arguments.insert(subtitles, {"-ss", fmt::format("{:.6f}", std::max(0.0, begin - rounding))});
}

bool isStreamCopy(const Dico& job) {
  return isSourceProgressive(job) && !needsInterleaveToI50(job, sizeOf(job));
}

// The movie takes twice as long: ffmpeg stretches the pictures' times, or every field becomes a
// picture of a movie that has no more of them a second.
bool isSlowed(const Dico& job) {
  if (speedOfJob(job) != speedSlow)
    return false;
  if (isStreamCopy(job))
    return isHighFrameRate(job.number(SourceKey::v0Fps).value_or(0));
  constexpr int leastFieldRate = 48;
  const bool hasFieldRate = !isSourceProgressive(job) && isOf(sizeOf(job), RateFamily::p50) &&
                            roundedFps(job) >= leastFieldRate;
  return !hasFieldRate;
}

// The export of the source, with what the copy would have been told.
Arguments sourceExport(const Dico& job, std::string_view prefProres) {
  const std::string source = job.textOrEmpty(JobKey::srcPathStr);
  Arguments command = exportCommand(source, job.textOrEmpty(JobKey::dstPathStr),
                                    exportPresetName(job, prefProres), displayRatio(job));
  const auto add = [&](const char* option, const std::string& value) {
    command.insert(command.end(), {option, value});
  };
  if (const auto format = job.text(SourceKey::wForce))
    add("--format", *format);
  if (job.contains(SourceKey::a0Force))
    add("--sound-decoder", job.textOrEmpty(SourceKey::a0Codec));
  if (const auto pictures = job.integer(SourceKey::v0Id))
    add("--pictures", fmt::format("{}", *pictures));
  constexpr std::int64_t stereo = 2;
  const std::int64_t channels =
      job.flag(JobKey::prefSurrond)
          ? std::max(job.integer(SourceKey::a0Channels).value_or(0), stereo)
          : stereo;
  add("--sound", fmt::format("{}", job.integer(SourceKey::a0Id).value_or(-1)));
  add("--channels", fmt::format("{}", channels));
  if (isSlowed(job))
    command.emplace_back("--slow");
  return command;
}

}  // namespace

Dico jobOfRow(const Row& row) {
  Dico job = rowInfo(row.source);
  job.set(JobKey::out, row.choice.target);
  job.set(JobKey::speed, row.choice.speed);
  job.set(JobKey::sizeOut, row.choice.sizeOut);
  return job;
}

std::optional<JobPlan> planJob(Dico job, const std::string& destination,
                               std::string_view prefProres) {
  job.set(JobKey::dstPathStr, destination);
  auto command = encodage(targetOf(job), job, prefProres);
  if (!command)
    return std::nullopt;
  correctFields(job, *command);
  nameColours(job, *command);
  beginWithFirstPicture(job, *command);
  correctEncoder(job, *command);
  JobPlan plan;
  if (exportsSource(job)) {
    command->arguments = sourceExport(job, prefProres);
    plan.isExport = true;
  }
  plan.needsExport = !plan.isExport && !command->writesProres && !isQuickTimeCopy(job);
  if (const double duration = job.number(SourceKey::wDuration).value_or(0); duration > 0)
    job.set(JobKey::durationDouble, duration * (isSlowed(job) ? 2 : 1));
  plan.job = std::move(job);
  plan.command = std::move(*command);
  return plan;
}

PictureColours sourceColours(const Dico& job) {
  const PictureColours said{job.textOrEmpty(SourceKey::v0Primaries),
                            job.textOrEmpty(SourceKey::v0Transfer),
                            job.textOrEmpty(SourceKey::v0Matrix)};
  return completeColours(said, static_cast<int>(job.integer(SourceKey::v0Width).value_or(0)),
                         static_cast<int>(job.integer(SourceKey::v0Height).value_or(0)),
                         job.number(SourceKey::v0Fps).value_or(0));
}

bool isQuickTimeCopy(const Dico& job) {
  return targetOf(job) == outQuickTime && isStreamCopy(job);
}

bool exportsSource(const Dico& job) {
  if (!isStreamCopy(job) || targetOf(job) == outQuickTime || !job.contains(SourceKey::v0Codec))
    return false;
  // A copy is shown from its first key frame on. Pictures that are stored behind that and shown
  // before it, which MPEG-2 of tapes and discs may begin with, would be lost.
  if (job.text(SourceKey::v0Codec) == "mpeg2video" || job.contains(SourceKey::intraOffset))
    return true;
  return movieHolds(job.textOrEmpty(SourceKey::v0Codec),
                    textUpTo(job.textOrEmpty(SourceKey::wrapper), ",")) != true;
}

double movieDuration(const Dico& job) {
  const double source = job.number(SourceKey::wDuration).value_or(0);
  return job.number(JobKey::durationDouble).value_or(source);
}

bool hasExportTool() {
  return pathExists(Bundle::main().toolPath("movtool"));
}

std::optional<std::string> refusalOf(const Row& row, bool hasExport) {
  const Dico job = jobOfRow(row);
  if (!job.contains(SourceKey::v0Width) || !job.contains(SourceKey::v0Height))
    return localisationString("why_noPicture");
  const Target target = row.choice.target;
  if (const std::string codec = job.textOrEmpty(SourceKey::v0Codec);
      target == outQuickTime &&
      movieHolds(codec, textUpTo(job.textOrEmpty(SourceKey::wrapper), ",")) == false)
    return localisationString("why_movieCodec", "", codec);
  if (!cellAllowedOut(row, row.choice))
    return localisationString("why_noTarget", "", whyNotTarget(row, target));
  if (const auto plan = planJob(job, "output.mov", "apcn");
      plan && (plan->needsExport || plan->isExport) && !hasExport)
    return localisationString("why_noExport");
  return std::nullopt;
}

}  // namespace tessarin
