#include "analysis/installedComponents.h"

#include <array>
#include <string>

#include "classShared/TextAdditions.h"
#include "ffmpeg/codecListing.h"
#include "ffmpeg/proresFlavours.h"
#include "ffmpeg/reportText.h"
#include "platform/Bundle.h"
#include "process/pipelines.h"
#include "utils/files.h"

namespace tessarin {

namespace {

enum class Needs { decoder, encoder, movtool };

// One row: who can stand in for the component, and the component.
struct ComponentRow {
  std::string_view codec;  // ffmpeg's name
  Needs needs;
  std::string_view type;  // "imdc" reads pictures, "imco" writes them, "eat " reads files
  std::string_view subType;
  std::string_view manufacturer;
  std::string_view name;  // empty: named by its flavour
};

constexpr std::array rows = {
    ComponentRow{"wmv3", Needs::decoder, "imdc", "WMV ", "ffmp", "Windows Media Video"},
    ComponentRow{"vp6f", Needs::decoder, "imdc", "VP60", "ffmp", "On2 VP6"},
    ComponentRow{"mpeg2video", Needs::decoder, "imdc", "m2v ", "ffmp", "MPEG-2 Video"},
    ComponentRow{"h264", Needs::decoder, "eat ", "mts ", "ffmp", "AVCHD"},
    ComponentRow{"aic", Needs::movtool, "imco", "icod", "appl", "Apple Intermediate Codec"}};

struct Ability {
  bool decodes = false;
  bool encodes = false;
};

// The line of a codec reads " DEV.L. mpeg2video           MPEG-2 video (decoders: …)".
Ability abilityOf(std::string_view codec, std::string_view codecsListing) {
  ReportLines lines(codecsListing);
  while (const auto line = lines.next()) {
    const std::string_view text = trimmed(*line);
    const std::string_view letters = textUpTo(text, " ");
    const std::string_view rest = trimmed(text.substr(letters.size()));
    if (letters.size() == 6 && textUpTo(rest, " ") == codec)
      return {letters[0] == 'D', letters[1] == 'E'};
  }
  return {};
}

}  // namespace

std::vector<QTCompDesc> componentsOf(std::string_view codecsListing, bool hasMovtool) {
  std::vector<ComponentRow> all(rows.begin(), rows.end());
  for (const ProresFlavour& flavour : proresFlavours)
    all.push_back({"prores", Needs::encoder, "imco", flavour.code, "appl", ""});
  std::vector<QTCompDesc> components;
  for (const ComponentRow& row : all) {
    const Ability ability = abilityOf(row.codec, codecsListing);
    const bool present = (row.needs == Needs::decoder && ability.decodes) ||
                         (row.needs == Needs::encoder && ability.encodes) ||
                         (row.needs == Needs::movtool && hasMovtool);
    if (!present)
      continue;
    ComponentDescription description;
    description.type = fourCharacterCode(row.type);
    description.subType = fourCharacterCode(row.subType);
    description.manufacturer = fourCharacterCode(row.manufacturer);
    description.flags = QTCompDesc::threadSafeFlag;  // each runs in a process of its own
    components.push_back(QTCompDesc::withComponent(description, row.name));
  }
  return components;
}

const std::vector<QTCompDesc>& componentList() {
  static const std::vector<QTCompDesc> components = [] {
    if (!recallCodecListing())
      takeCodecListing(taskArray1PipeMax(codecListingCommand(), true).value_or(""));
    return componentsOf(codecListing(), pathExists(Bundle::main().toolPath("movtool")));
  }();
  return components;
}

}  // namespace tessarin
