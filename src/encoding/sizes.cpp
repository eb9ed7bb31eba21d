#include "encoding/sizes.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"

namespace tessarin {

namespace {

constexpr Applications nobody = {};
constexpr Applications everybody = {Application::quickTime, Application::iMovie,
                                    Application::finalCut, Application::fast};
constexpr Applications fullHd = {Application::iMovie, Application::finalCut, Application::fast};
constexpr Applications onlyFinalCut = {Application::finalCut};
constexpr Applications onlyFast = {Application::fast};

constexpr SizeRow table[] = {
    {"presetSameAsSrcForSoft", "iconApp_min.PSD", RateFamily::none, {}, {}, "", nobody},
    {"presetSameAsSrc", "iconAppNo_min.PSD", RateFamily::none, {}, {}, "", nobody},
    {" ", "empty.PSD", RateFamily::none, {}, {}, "", nobody},
    {"presetForceOut", "empty.PSD", RateFamily::none, {}, {}, "", nobody},
    {" 960x 540 p (   25|30 fps) ->                    540p25 |      540p30",
     "softsImovie_min.PSD",
     RateFamily::p25,
     {960, 540},
     {25, 30},
     "540p",
     onlyFinalCut},
    {"1280x 720 p (24|25|30 fps) ->      720p24 |      720p25 |      720p30",
     "softsAll_min.PSD",
     RateFamily::p25,
     {1280, 720},
     {24, 25, 30},
     "720p",
     everybody},
    {"1280x 720 p (   50|60 fps) ->                    720p50 |      720p60",
     "softs50p60p_min.PSD",
     RateFamily::p50,
     {1280, 720},
     {50, 60},
     "720p",
     onlyFast},
    {"1440x1080 p (24|25|30 fps) -> HDV 1080p24 | HDV 1080p25 | HDV 1080p30",
     "softsAll_min.PSD",
     RateFamily::p25,
     {1440, 1080},
     {24, 25, 30},
     "hdv1080p",
     everybody},
    {"1440x1080 p (   50|60 fps) ->               HDV 1080p50 | HDV 1080p60",
     "softs50p60p_min.PSD",
     RateFamily::p50,
     {1440, 1080},
     {50, 60},
     "hdv1080p",
     onlyFast},
    {"1440x1080 i (   25|30 fps) ->               HDV 1080i50 | HDV 1080i60",
     "softsAll_min.PSD",
     RateFamily::i50,
     {1440, 1080},
     {25, 30},
     "hdv1080i",
     everybody},
    {"1920x1080 p (24|25|30 fps) ->     1080p24 |     1080p25 |     1080p30",
     "softsFullhd_min.PSD",
     RateFamily::p25,
     {1920, 1080},
     {24, 25, 30},
     "1080p",
     fullHd},
    {"1920x1080 p (   50|60 fps) ->                   1080p50 |     1080p60",
     "softs50p60p_min.PSD",
     RateFamily::p50,
     {1920, 1080},
     {50, 60},
     "1080p",
     onlyFast},
    {"1920x1080 i (   25|30 fps) ->                   1080i50 |     1080i60",
     "softsFullhd_min.PSD",
     RateFamily::i50,
     {1920, 1080},
     {25, 30},
     "1080i",
     fullHd},
};

}  // namespace

bool SizeRow::hasRate(int rate) const {
  return rate != 0 && std::find(rates.begin(), rates.end(), rate) != rates.end();
}

std::string SizeRow::nameAt(int rate) const {
  return fmt::format("{}{}", prefix, isInterlaced() ? 2 * rate : rate);
}

std::span<const SizeRow> sizeRows() {
  return table;
}

const SizeRow* sizeRow(std::int64_t row) {
  return row >= 0 && row < std::ssize(table) ? &table[row] : nullptr;
}

int siblingSize(int row) {
  const SizeRow* own = sizeRow(row);
  if (own == nullptr || !own->isSize())
    return -1;
  const RateFamily other = own->family == RateFamily::p25 ? RateFamily::p50 : RateFamily::p25;
  const auto* found = std::find_if(std::begin(table), std::end(table), [&](const SizeRow& each) {
    return each.family == other && each.frame == own->frame;
  });
  return found == std::end(table) ? -1 : static_cast<int>(found - std::begin(table));
}

const std::vector<std::string>& presetSizesList(bool images) {
  static const auto lists = [] {
    std::pair<std::vector<std::string>, std::vector<std::string>> made;
    for (const SizeRow& row : table) {
      made.first.emplace_back(row.label);
      made.second.emplace_back(row.image);
    }
    return made;
  }();
  return images ? lists.second : lists.first;
}

std::string presetShortLabel(std::string_view label) {
  return std::string(textUpTo(label, " ->"));
}

std::string presetShortLabel(std::int64_t row) {
  const SizeRow* size = sizeRow(row);
  return size ? presetShortLabel(std::string_view(size->label)) : std::string();
}

std::string presetSizeName(std::int64_t row, double sourceFps) {
  const SizeRow* size = sizeRow(row);
  if (size == nullptr || !size->isSize())
    return {};
  const int rate = sourceFps > 0 && sourceFps < 1000 ? static_cast<int>(sourceFps + 0.5) : 25;
  const bool isFilm = rate == 24 || rate == 48;
  const bool isNtsc = isOfThirty(rate);
  if (isFilm && size->hasRate(24))
    return size->nameAt(24);
  for (const int each : size->rates)
    if (each != 0 && each != 24 && (each % 30 == 0) == isNtsc)
      return size->nameAt(each);
  return {};
}

bool presetIsCompliant(int row, Application application) {
  if (application == Application::any)
    return true;
  const SizeRow* size = sizeRow(row);
  const bool compliant = size && size->takers.contains(application);
  debugFormat("preset isCompliant  :-{} #{} (soft={}, img='{}')", compliant ? ")" : "(", row,
              static_cast<int>(application), size ? size->image : "");
  return compliant;
}

}  // namespace tessarin
