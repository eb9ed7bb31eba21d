#include "jobs/jobPlan.h"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/soundChoice.h"
#include "classShared/TextAdditions.h"
#include "encoding/exportStep.h"
#include "encoding/outputPreset.h"
#include "encoding/targets.h"
#include "ffmpeg/movieCodecs.h"
#include "ffmpeg/proresCommand.h"
#include "jobs/exportCommands.h"
#include "jobs/rowChoices.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "utils/files.h"

namespace tessarin {

namespace {

const SizeRow* sizeOf(const Row& row) {
  return sizeRow(row.choice.sizeOut);
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

// Of slow motion that is to be silent no sound is read.
Row withoutUnheard(Row row) {
  if (isSlowed(row) && row.source.slowSound == SlowSound::silent) {
    row.source.sound = {};
    row.source.otherSounds.clear();
    row.source.isMapped = true;
  }
  return row;
}

bool slowsItsSound(const Row& row) {
  return isSlowed(row) && row.source.slowSound == SlowSound::slowed &&
         !usedSounds(row.source).empty();
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
  if (isReadJoined(source))
    add("--joined", fmt::format("{:.3f}", source.seconds.value_or(0)));
  for (const Source::Part& part : source.furtherParts)
    add("--part", part.path);
  if (mayChangeSize(source))
    command.emplace_back("--size-changes");
  if (!source.soundFiles.empty() && source.seconds)
    add("--seconds", fmt::format("{:.3f}", *source.seconds));
  for (const Source::SoundFile& sound : source.soundFiles)
    add("--sound-file", sound.path);
  const double rate = source.pictures.rate.value_or(0);
  if (isSourceProgressive(source)) {
    if (source.pictures.claim)
      add("--fields", "prog");
  } else {
    add("--fields", source.pictures.fields == Fields::bottomFirst ? "bff" : "tff");
    if (rate > 0)
      add("--rate", fmt::format("{:.6g}", rate / 2));  // of whole pictures
  }
  const std::vector<Source::Sound> sounds = usedSounds(source);
  if (const auto pictures = source.pictures.id)
    add("--pictures", fmt::format("{}", *pictures));
  if (sounds.empty()) {
    add("--sound", "-1");
    add("--channels", "2");
  }
  const bool isAnyMisread =
      std::any_of(sounds.begin(), sounds.end(), [](const auto& sound) { return sound.isMisread; });
  for (const Source::Sound& sound : sounds) {
    if (isAnyMisread)
      add("--sound-decoder", sound.isMisread ? sound.codec : "auto");
    add("--sound", fmt::format("{}", *sound.id));
    add("--channels", fmt::format("{}", channelsInMovie(source, sound)));
  }
  if (isSlowed(row))
    command.emplace_back("--slow");
  if (slowsItsSound(row))
    command.emplace_back("--slow-sound");
  return command;
}

}  // namespace

std::optional<JobPlan> planJob(const Row& wanted, const std::string& movie,
                               std::string_view prefProres) {
  const Row row = withoutUnheard(wanted);
  JobPlan plan;
  plan.isExport = exportsSource(row);
  auto command =
      plan.isExport ? encodage(row, movie, prefProres) : movieCommand(row, movie, prefProres);
  if (!command)
    return std::nullopt;
  plan.row = row;
  plan.movie = movie;
  plan.isCopy = isQuickTimeCopy(row);
  plan.needsSlowing = needsSlowing(row);
  plan.needsExport = !plan.isExport && !command->writesProres && !plan.isCopy;
  if (plan.isExport || plan.needsExport)
    plan.settings = exportPresetName(row, prefProres);
  if (plan.isExport)
    command->arguments = sourceExport(row, movie, plan.settings);
  plan.slowsSound = slowsItsSound(row);
  // A copy is slowed in a step of its own.
  if (plan.slowsSound && !plan.isExport && !plan.needsSlowing)
    addSoundFilter(*command, slowedSoundFilter);
  plan.seconds = row.source.duration.value_or(0) * (isSlowed(row) ? 2 : 1);
  plan.command = std::move(*command);
  return plan;
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
  if (const auto missing = missingSound(source))
    return localisationString("why_noSoundTrack", "", fmt::format("{}", *missing),
                              fmt::format("{}", soundsOf(source).size()));
  const Target target = row.choice.target;
  if (const std::string codec = source.pictures.codec;
      target == outQuickTime && movieHolds(codec, firstContainer(source)) == false)
    return localisationString("why_movieCodec", "", codec);
  if (!isChoiceAllowed(row, row.choice))
    return localisationString("why_noTarget", "", whyNotTarget(row, target));
  if (const auto plan = planJob(row, "output.mov", "apcn");
      plan && (plan->needsExport || plan->isExport) && !hasExport)
    return localisationString("why_noExport");
  return std::nullopt;
}

}  // namespace tessarin
