// The list of output sizes and what its rows say; the search for a row is in outputPreset.cpp.
#include <algorithm>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/outputPreset.h"

namespace tessarin {

namespace {

struct SizeRow {
  const char* label;  // the blanks align the rates in a menu of fixed pitch
  const char* image;
};

constexpr SizeRow sizeRows[] = {
    {"presetSameAsSrcForSoft", "iconApp_min.PSD"},
    {"presetSameAsSrc", "iconAppNo_min.PSD"},
    {" ", "empty.PSD"},
    {"presetForceOut", "empty.PSD"},
    {" 960x 540 p (   25|30 fps) ->                    540p25 |      540p30",
     "softsImovie_min.PSD"},
    {"1280x 720 p (24|25|30 fps) ->      720p24 |      720p25 |      720p30", "softsAll_min.PSD"},
    {"1280x 720 p (   50|60 fps) ->                    720p50 |      720p60",
     "softs50p60p_min.PSD"},
    {"1440x1080 p (24|25|30 fps) -> HDV 1080p24 | HDV 1080p25 | HDV 1080p30", "softsAll_min.PSD"},
    {"1440x1080 p (   50|60 fps) ->               HDV 1080p50 | HDV 1080p60",
     "softs50p60p_min.PSD"},
    {"1440x1080 i (   25|30 fps) ->               HDV 1080i50 | HDV 1080i60", "softsAll_min.PSD"},
    {"1920x1080 p (24|25|30 fps) ->     1080p24 |     1080p25 |     1080p30",
     "softsFullhd_min.PSD"},
    {"1920x1080 p (   50|60 fps) ->                   1080p50 |     1080p60",
     "softs50p60p_min.PSD"},
    {"1920x1080 i (   25|30 fps) ->                   1080i50 |     1080i60",
     "softsFullhd_min.PSD"},
};

}  // namespace

const std::vector<std::string>& presetSizesList(bool images) {
  static const auto lists = [] {
    std::pair<std::vector<std::string>, std::vector<std::string>> made;
    for (const SizeRow& row : sizeRows) {
      made.first.emplace_back(row.label);
      made.second.emplace_back(row.image);
    }
    return made;
  }();
  return images ? lists.second : lists.first;
}

std::optional<std::string> presetLabel(std::int64_t row) {
  if (row < 0 || row >= static_cast<std::int64_t>(std::size(sizeRows)))
    return std::nullopt;
  return presetSizesList(false)[static_cast<std::size_t>(row)];
}

std::string presetShortLabel(std::string_view label) {
  return std::string(textUpTo(label, " ->"));
}

std::string presetSizeName(std::int64_t row, double sourceFps) {
  const std::string label = presetLabel(row).value_or("");
  const auto rates = textAfter(label, " ->");
  if (!rates)
    return {};
  const int rate = sourceFps > 0 && sourceFps < 1000 ? static_cast<int>(sourceFps + 0.5) : 25;
  const bool isFilm = rate == 24 || rate == 48;
  const bool isNtsc = rate == 15 || rate == 30 || rate == 60 || rate == 120;
  // 24 where the row has it; fields and the higher rates are named by their number, too.
  const std::vector<std::string_view> endings =
      isFilm   ? std::vector<std::string_view>{"24", "25", "50"}
      : isNtsc ? std::vector<std::string_view>{"30", "60"}
               : std::vector<std::string_view>{"25", "50"};
  for (const std::string_view ending : endings)
    for (const std::string_view name : split(*rates, "|"))
      if (endsWith(trimmed(name), ending))
        return lowerCase(replaceAll(trimmed(name), " ", ""));
  return {};
}

FrameSize presetFrameSize(std::string_view label) {
  const auto afterX = textAfter(label, "x");
  if (!afterX)
    return {};
  const auto small = [](std::string_view text) {
    return static_cast<int>(std::clamp<std::int64_t>(leadingInteger(text), 0, 65535));
  };
  return {small(textUpTo(label, "x")), small(*afterX)};
}

bool presetIsCompliant(int row, int soft) {
  if (soft == softNone)
    return true;
  const bool known = row >= 0 && row < static_cast<int>(std::size(sizeRows));
  const std::string image = known ? presetSizesList(true)[static_cast<std::size_t>(row)] : "";
  const bool all = contains(image, "softsAll_min");
  const bool fullHd = contains(image, "softsFullhd_min");
  bool compliant = true;
  if (soft == 0)
    compliant = all;
  else if (soft == 1)
    compliant = all || fullHd;
  else if (soft == 2)
    compliant = all || fullHd || contains(image, "softsImovie_min");
  else if (soft == 3)
    compliant = all || fullHd || contains(image, "softs50p60p_min");
  debugFormat("preset isCompliant  :-{} #{} (soft={}, img='{}')", compliant ? ")" : "(", row, soft,
              image);
  return compliant;
}

}  // namespace tessarin
