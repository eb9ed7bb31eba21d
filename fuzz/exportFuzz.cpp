// An export: what ffmpeg tells of the source, and the settings beside it, become ffmpeg's commands.
// A zero byte stands between the settings' numbers, the picture's header and the report.
#include "Input.h"
#include "tools/movtool/exportPlan.h"

using namespace tessarin;
using namespace tessarin::movtool;

namespace {

void requireSound(const quicktime::Fraction& fraction) {
  fuzz::require(fraction.numerator > 0 && fraction.denominator > 0);
}

ExportInput inputOf(fuzz::Pieces& choices) {
  ExportInput input;
  input.path = "/clip.mts";
  input.joined = choices.flag();
  constexpr const char* orders[] = {"", "tff", "bff", "prog"};
  input.fields = orders[choices.number(3)];
  if (choices.flag())
    input.rate = static_cast<double>(1 + choices.number(200)) / 2;
  if (choices.flag())
    input.soundStreams.push_back(static_cast<int>(choices.number(3)) - 1);
  input.channels.push_back(static_cast<int>(choices.number(6)));
  input.slow = choices.flag();
  return input;
}

ExportSettings settingsOf(fuzz::Pieces& choices) {
  ExportSettings settings;
  settings.codec = choices.flag() ? ExportSettings::Codec::prores : ExportSettings::Codec::aic;
  settings.width = 2 * static_cast<int>(1 + choices.number(8191));
  settings.height = 2 * static_cast<int>(1 + choices.number(8191));
  settings.interlaced = choices.flag();
  constexpr int families[] = {0, 24, 25, 30, 50, 60};
  if (const int family = families[choices.number(5)]; family != 0)
    settings.rateFamily = family;
  settings.letterbox = choices.flag();
  return settings;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces input(fuzz::textOf(data, size));
  fuzz::Pieces choices(input.upTo('\0'));
  const auto header = yuv4mpeg::parseHeader(input.upTo('\0'), yuv4mpeg::Accepted::only8Bits420);
  if (!header)
    return 0;
  const std::string_view report = input.rest();
  detectedFieldOrder(report);
  const ExportInput source = inputOf(choices);
  const ExportSettings settings = settingsOf(choices);
  const SourceFacts told = sourceFacts(header.value(), report);
  for (const quicktime::MovieText& text : told.texts.texts)
    fuzz::require(text.kind.size() == 4 && !text.text.empty());
  const SourceFacts facts = asExported(told, source);
  const Placement place = placement(facts, settings);
  fuzz::require(place.width > 0 && place.width <= settings.width && place.left >= 0 &&
                place.left + place.width <= settings.width);
  fuzz::require(place.height > 0 && place.height <= settings.height && place.top >= 0 &&
                place.top + place.height <= settings.height);
  const ExportPlan plan = exportPlan(facts, settings, source);
  requireSound(plan.frameRate);
  requireSound(plan.pixelAspect);
  needsMapping(facts, settings);
  colourNumbers(plan.colours);
  colourOptions(plan.colours);
  probeArguments(source);
  fieldProbeArguments(source);
  trialArguments(source, plan);
  pictureArguments(source, plan);
  for (std::size_t track = 0; track < facts.sounds.size(); ++track)
    soundArguments(source, track, plan);
  return 0;
}
