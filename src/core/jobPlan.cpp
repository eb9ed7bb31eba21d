#include "core/jobPlan.h"

#include <fmt/format.h>

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "core/exportCommands.h"
#include "core/rowChoices.h"
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

const SizeRow* sizeOf(const Row& row) {
  return sizeRow(row.choice.sizeOut);
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

bool isBottomFirst(const Source& source) {
  return source.pictures.fields == Fields::bottomFirst;
}

// Where what the stream claims is wrong, the filters are told what the pictures say. The tool
// adapter sees to the rest; it knows when the movie is interlaced.
void correctFields(const Source& source, EncodingCommand& command) {
  if (source.pictures.claim)
    addFilter(command.arguments, isBottomFirst(source) ? "setfield=bff" : "setfield=tff",
              FilterPlace::first);
}

// Sees to it that the encoder can take fields of as many lines as the movie has.
void correctEncoder(const Row& row, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  const auto codec = std::find(arguments.begin(), arguments.end(), "prores");
  const bool hasFields =
      std::find(arguments.begin(), arguments.end(), "+ildct+ilme") != arguments.end();
  if (codec == arguments.end() || !hasFields)
    return;
  const auto filters = std::find(arguments.begin(), arguments.end(), "-vf");
  const bool isScaled = filters != arguments.end() && contains(*(filters + 1), "scale=");
  const SizeRow* size = sizeOf(row);
  const int lines = isScaled && size ? size->frame.height
                                     : static_cast<int>(row.source.pictures.height.value_or(0));
  *codec = proresEncoder(hasFields, lines);
}

// Sees to it that the movie says its colours: those of the source, or those of high definition for
// pictures of standard definition that are made as large, as they are converted then. Programs that
// do not ask go by the size.
void nameColours(const Source& source, EncodingCommand& command) {
  Arguments& arguments = command.arguments;
  PictureColours colours = sourceColours(source);
  const auto height = source.pictures.height.value_or(0);
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
// ffmpeg would fill the time before with copies of that picture, and leave out or move what is
// shown before the source's time begins.
void beginWithFirstPicture(const Source& source, EncodingCommand& command) {
  const double begin = source.pictures.begin.value_or(0);
  Arguments& arguments = command.arguments;
  if (begin == 0 || std::find(arguments.begin(), arguments.end(), "copy") != arguments.end())
    return;
  const auto input = std::find(arguments.begin(), arguments.end(), "-i");
  arguments.insert(input, {"-itsoffset", fmt::format("{:.6f}", -begin)});
}

bool isStreamCopy(const Row& row) {
  return isSourceProgressive(row.source) && !needsInterleaveToI50(row.source, sizeOf(row));
}

// The movie takes twice as long: ffmpeg stretches the pictures' times, or every field becomes a
// picture of a movie that has no more of them a second.
bool isSlowed(const Row& row) {
  if (row.choice.speed != speedSlow)
    return false;
  if (isStreamCopy(row))
    return isHighFrameRate(row.source.pictures.rate.value_or(0));
  constexpr int leastFieldRate = 48;
  const bool hasFieldRate = !isSourceProgressive(row.source) &&
                            isOf(sizeOf(row), RateFamily::p50) &&
                            roundedFps(row.source) >= leastFieldRate;
  return !hasFieldRate;
}

// The export of the source, with what ffmpeg would have been told of it.
Arguments sourceExport(const Row& row, const std::string& movie, const std::string& settings) {
  const Source& source = row.source;
  Arguments command = exportCommand(row.path(), movie, settings, displayRatio(source));
  const auto add = [&](const char* option, const std::string& value) {
    command.insert(command.end(), {option, value});
  };
  if (!source.toldFormat.empty())
    add("--format", source.toldFormat);
  if (source.probeSize)
    add("--probesize", fmt::format("{}", *source.probeSize));
  if (source.analyzeDuration)
    add("--analyzeduration", fmt::format("{}", *source.analyzeDuration));
  if (source.isJoined)
    command.emplace_back("--joined");
  const double rate = source.pictures.rate.value_or(0);
  if (isSourceProgressive(source)) {
    if (source.pictures.claim)
      add("--fields", "prog");
  } else {
    add("--fields", isBottomFirst(source) ? "bff" : "tff");
    if (rate > 0)
      add("--rate", fmt::format("{:.6g}", rate / 2));  // of whole pictures
  }
  if (source.sound.isMisread)
    add("--sound-decoder", source.sound.codec);
  if (const auto pictures = source.pictures.id)
    add("--pictures", fmt::format("{}", *pictures));
  constexpr std::int64_t stereo = 2;
  const std::int64_t channels = source.keepsSurround.value_or(false)
                                    ? std::max(source.sound.channels.value_or(0), stereo)
                                    : stereo;
  add("--sound", fmt::format("{}", source.sound.id.value_or(-1)));
  add("--channels", fmt::format("{}", channels));
  if (isSlowed(row))
    command.emplace_back("--slow");
  return command;
}

}  // namespace

std::optional<JobPlan> planJob(const Row& row, const std::string& movie,
                               std::string_view prefProres) {
  auto command = encodage(row, movie, prefProres);
  if (!command)
    return std::nullopt;
  JobPlan plan;
  plan.row = row;
  plan.movie = movie;
  plan.isExport = exportsSource(row);
  plan.isCopy = isQuickTimeCopy(row);
  plan.needsSlowing = needsSlowing(row);
  plan.needsExport = !plan.isExport && !command->writesProres && !plan.isCopy;
  if (plan.isExport || plan.needsExport)
    plan.settings = exportPresetName(row, prefProres);
  if (plan.isExport) {
    command->arguments = sourceExport(row, movie, plan.settings);
  } else {
    correctFields(row.source, *command);
    nameColours(row.source, *command);
    beginWithFirstPicture(row.source, *command);
    correctEncoder(row, *command);
  }
  plan.seconds = row.source.duration.value_or(0) * (isSlowed(row) ? 2 : 1);
  plan.command = std::move(*command);
  return plan;
}

PictureColours sourceColours(const Source& source) {
  return completeColours(
      source.pictures.colours, static_cast<int>(source.pictures.width.value_or(0)),
      static_cast<int>(source.pictures.height.value_or(0)), source.pictures.rate.value_or(0));
}

bool isQuickTimeCopy(const Row& row) {
  return row.choice.target == outQuickTime && isStreamCopy(row);
}

bool exportsSource(const Row& row) {
  // What ffmpeg makes neither ProRes nor a copy of would be encoded twice.
  if (!isStreamCopy(row))
    return row.choice.target != outProres;
  const Source& source = row.source;
  if (row.choice.target == outQuickTime || source.pictures.codec.empty())
    return false;
  // A copy is shown from its first key frame on. Pictures that are stored behind that and shown
  // before it, which MPEG-2 of tapes and discs may begin with, would be lost.
  if (source.pictures.codec == "mpeg2video" || source.firstKeyFrame)
    return true;
  return movieHolds(source.pictures.codec, firstContainer(source)) != true;
}

bool hasExportTool() {
  return pathExists(Bundle::main().toolPath("movtool"));
}

std::optional<std::string> refusalOf(const Row& row, bool hasExport) {
  const Source& source = row.source;
  if (!source.pictures.width || !source.pictures.height)
    return localisationString("why_noPicture");
  const Target target = row.choice.target;
  if (const std::string codec = source.pictures.codec;
      target == outQuickTime && movieHolds(codec, firstContainer(source)) == false)
    return localisationString("why_movieCodec", "", codec);
  if (!cellAllowedOut(row, row.choice))
    return localisationString("why_noTarget", "", whyNotTarget(row, target));
  if (const auto plan = planJob(row, "output.mov", "apcn");
      plan && (plan->needsExport || plan->isExport) && !hasExport)
    return localisationString("why_noExport");
  return std::nullopt;
}

}  // namespace tessarin
