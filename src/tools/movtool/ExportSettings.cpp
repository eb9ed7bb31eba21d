#include "tools/movtool/ExportSettings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "ffmpeg/proresFlavours.h"
#include "tools/pictures/AicCodec.h"
#include "tools/pictures/ProresCodec.h"

namespace tessarin::movtool {

namespace {

constexpr std::int64_t knownVersion = 1;
constexpr std::array<int, 5> rateFamilies = {24, 25, 30, 50, 60};

Failure wrong(std::string_view key) {
  return Failure{fmt::format("the settings have no good value for \"{}\"", key)};
}

bool isSide(std::optional<std::int64_t> side) {
  return side && *side >= 2 && *side <= aic::largestSide && *side % 2 == 0;
}

}  // namespace

std::unique_ptr<pictures::PictureCodec> codecOf(const ExportSettings& settings) {
  if (settings.codec == ExportSettings::Codec::prores)
    return std::make_unique<pictures::ProresCodec>(*proresFlavourOfProfile(settings.proresProfile),
                                                   prores::EncoderSettings());
  pictures::AicSettings aic;
  aic.quantiser = settings.quantiser;
  return std::make_unique<pictures::AicCodec>(aic);
}

Outcome<ExportSettings> exportSettings(const Value& list) {
  const Dico* entries = list.dico();
  if (entries == nullptr)
    return Failure{"the settings are no dictionary"};
  const auto version = entries->integer("version");
  if (!version || *version < 1)
    return wrong("version");
  if (*version > knownVersion)
    return Failure{
        fmt::format("the settings have version {}, this program knows {}", *version, knownVersion)};

  ExportSettings settings;
  const std::string codec = entries->textOrEmpty("codec");
  if (codec == "prores") {
    settings.codec = ExportSettings::Codec::prores;
    const ProresFlavour* flavour = proresFlavourOfWord(entries->textOrEmpty("profile"));
    if (flavour == nullptr)
      return wrong("profile");
    settings.proresProfile = flavour->profile;
  } else if (codec == "icod") {
    const auto quantiser = entries->integer("quantiser");
    if (!quantiser || *quantiser < aic::smallestQuantiser || *quantiser > aic::largestQuantiser)
      return wrong("quantiser");
    settings.quantiser = static_cast<int>(*quantiser);
  } else {
    return wrong("codec");
  }

  if (!isSide(entries->integer("width")))
    return wrong("width");
  if (!isSide(entries->integer("height")))
    return wrong("height");
  settings.width = static_cast<int>(*entries->integer("width"));
  settings.height = static_cast<int>(*entries->integer("height"));

  const std::string scan = entries->textOrEmpty("scan");
  if (scan != "p" && scan != "i")
    return wrong("scan");
  settings.interlaced = scan == "i";

  const std::string rate = entries->textOrEmpty("rate");
  if (rate != "source") {
    const auto family = std::find_if(rateFamilies.begin(), rateFamilies.end(),
                                     [&](int number) { return std::to_string(number) == rate; });
    if (family == rateFamilies.end())
      return wrong("rate");
    settings.rateFamily = *family;
  }

  const Value* letterbox = entries->find("letterbox");
  if (letterbox == nullptr || !letterbox->isBoolean())
    return wrong("letterbox");
  settings.letterbox = entries->flag("letterbox");
  return settings;
}

}  // namespace tessarin::movtool
