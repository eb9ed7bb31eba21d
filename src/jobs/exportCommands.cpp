#include "jobs/exportCommands.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/exportStep.h"
#include "encoding/naming.h"
#include "encoding/outputPreset.h"
#include "encoding/sizes.h"
#include "encoding/targets.h"
#include "ffmpeg/proresCommand.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

// The rate of the movie as the names of the settings have it: 24, 25, 30, 50 or 60 whole pictures a
// second, also where each is made of two fields; "" for that of the source, where the row has no
// such rate.
std::string exportRate(const SizeRow& size, int sourceRate) {
  const bool isFilm = sourceRate == 24 || sourceRate == 48;
  const bool isNtsc = isFilm || isOfThirty(sourceRate);
  if (size.family == RateFamily::p50)
    return isNtsc ? "60" : "50";
  if (isFilm && !size.isInterlaced())
    return size.hasRate(24) ? "24" : "";
  return isNtsc ? "30" : "25";
}

void appendTo(Arguments& command, const Arguments& more) {
  command.insert(command.end(), more.begin(), more.end());
}

// The sound is stretched from 0 on, too, and what is heard before the pictures' own time begins is
// as long as before.
std::string slowedSound(double begin) {
  std::string filter = slowedSoundFilter;
  if (begin > 0)
    filter += fmt::format(",atrim=start={:.6f},asetpts=PTS-STARTPTS", begin);
  return filter;
}

}  // namespace

double displayRatio(const Source& source) {
  if (!source.pictures.shape.empty())
    return fractionStr2Float(source.pictures.shape);
  const auto width = static_cast<double>(source.pictures.width.value_or(0));
  const auto height = static_cast<double>(source.pictures.height.value_or(0));
  return width > 0 && height > 0 ? width / height : 16.0 / 9.0;
}

std::string exportPresetName(const Row& row, std::string_view prefProres) {
  const SizeRow* size = sizeRow(row.choice.sizeOut);
  if (size == nullptr || !size->isSize())
    return {};
  const char* scan = size->isInterlaced() ? "i" : "p";
  const std::string rate = exportRate(*size, roundedFps(row.source));
  const bool isNarrow = std::abs(displayRatio(row.source) - 4.0 / 3.0) <= 0.1;
  std::string name = fmt::format("{}x{}", size->frame.width, size->frame.height);
  debugFormat("presetStr (size)    : {}", name);
  name += scan;
  debugFormat("presetStr (i|p)     : {}", name);
  const TargetRow* target = targetRow(row.choice.target);
  name += fmt::format("{}{}", rate, isNarrow ? "Letterbox" : "");
  debugFormat("presetStr (fps={})  : {}", rate, name);
  if (target)
    name = std::string(target->settings) + name;
  if (target && target->hasFlavours) {
    name = whichPresetProres(name, prefProres).value_or(name);
    debugFormat("presetStr (prores)  : {}", name);
  } else {
    debugFormat("presetStr (aic)     : {}", name);
  }
  return name;
}

bool needsSlowing(const Row& row) {
  return row.choice.speed == speedSlow && isSourceProgressive(row.source) && !exportsSource(row) &&
         isHighFrameRate(row.source.pictures.rate.value_or(0));
}

Arguments slowingCommand(const JobPlan& plan, const std::string& slowed) {
  // The stretch counts from 0: what is taken off before it counts twice, and the pictures begin
  // when they did. Times below zero lose nothing here: the clock of such a movie does not leap.
  const double begin = plan.row.source.pictures.begin.value_or(0);
  Arguments command = {Bundle::main().toolPath("ffmpeg"),
                       "-loglevel",
                       "info",
                       "-itsoffset",
                       fmt::format("{:.6f}", -begin / 2),
                       "-itsscale",
                       "2",
                       "-i",
                       plan.movie};
  if (plan.slowsSound && begin < 0)
    appendTo(command, {"-itsoffset", fmt::format("{:.6f}", -begin)});
  appendTo(command, {"-i", plan.movie, "-map", "0:v", "-map", "1:a?"});
  if (plan.slowsSound)
    appendTo(command, {"-c:v", "copy", "-c:a", "pcm_s16le", "-af", slowedSound(begin),
                       "-disposition:a", "default"});
  else
    appendTo(command, {"-c", "copy"});
  appendTo(
      command,
      // The stretched times leave the length of the last picture as it was, and the export takes
      // none that is shorter than half of its time. The bit stream filter mends the length, the
      // time scale counts pictures of 50, 59.94 and 60 a second without a remainder.
      {"-bsf:v", "setts=pts=PTS:dts=DTS:duration=max(2*DURATION\\,PREV_OUTDURATION)",
       "-video_track_timescale", "60000", "-movflags", "faststart", "-y", slowed});
  return command;
}

std::vector<Arguments> commandsOfPlan(const JobPlan& plan, bool replace) {
  const auto keeping = [](Arguments command) {
    std::replace(command.begin(), command.end(), std::string("-y"), std::string("-n"));
    return command;
  };
  if (plan.isExport) {
    Arguments command = plan.command.arguments;
    if (!replace)
      std::erase(command, "-y");  // it keeps what is there
    return {command};
  }
  const std::string output = plan.movie;
  const std::string master = masterPathStr(output);
  std::vector<Arguments> commands;
  if (plan.needsExport)
    commands.push_back({"sh", "-c", R"(test ! -e "$1" || { echo "$2" >&2; exit 1; })", "sh", master,
                        localisationString("why_masterInTheWay", "", master)});
  commands.push_back(replace ? plan.command.arguments : keeping(plan.command.arguments));
  const auto move = [&](const std::string& from, const std::string& to) {
    commands.push_back({"mv", "-f", "--", from, to});
  };
  if (plan.needsSlowing) {
    const std::string slowed = withExtension(withoutExtension(output) + "-slow", "mov");
    commands.push_back(keeping(slowingCommand(plan, slowed)));
    move(slowed, output);
  }
  if (!plan.needsExport)
    return commands;
  move(output, master);
  commands.push_back(exportCommand(master, output, plan.settings, displayRatio(plan.row.source)));
  commands.push_back({"rm", "-f", "--", master});
  return commands;
}

}  // namespace tessarin
