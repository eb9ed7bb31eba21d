#include "encoding/outputPreset.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/codecInventory.h"
#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "encoding/targets.h"
#include "ffmpeg/movieCodecs.h"
#include "ffmpeg/proresFlavours.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

// The rows that can be chosen or found begin behind the two same-as-source rows.
constexpr int firstSearchedRow = 2;

using Rows = std::vector<int>;

int rowCount() {
  return static_cast<int>(sizeRows().size());
}

const SizeRow& rowAt(int row) {
  return sizeRows()[static_cast<std::size_t>(row)];
}

// Width and height of the source are looked for as a person would, in the numbers and names of the
// row: a part of one counts, so that 80 lines are found in "1080p25". What comes of it for odd
// sizes has to stay.
bool says(int row, std::string_view words) {
  const SizeRow& size = rowAt(row);
  std::vector<std::string> facts;
  for (const int number : {size.frame.width, size.frame.height})
    facts.push_back(fmt::format("{}", number));
  for (const int rate : size.rates)
    if (rate != 0)
      facts.insert(facts.end(), {fmt::format("{}", rate), size.nameAt(rate)});
  return size.isSize() && std::any_of(facts.begin(), facts.end(), [words](std::string_view fact) {
           return contains(fact, words);
         });
}

std::string described(const Rows& rows) {
  return fmt::format("({})", fmt::join(rows, ", "));
}

const char* smile(bool yes) {
  return yes ? ")" : "(";
}

// Sizes are 32-bit; a record from elsewhere may hold anything.
std::int64_t pixels32(const std::optional<std::int64_t>& pixels) {
  return std::clamp<std::int64_t>(pixels.value_or(0), std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max());
}

// What the search compares with the labels.
struct Wanted {
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::string scan;           // "p" or "i"
  std::string heightAndScan;  // "1080p"
  std::string key;            // "1080p25"
  double fps = -1;
  Application application = Application::any;
};

Wanted wantedOf(const Row& row, Application application) {
  const Source::Pictures& pictures = row.source.pictures;
  Wanted wanted;
  wanted.width = pixels32(pictures.width);
  wanted.height = pixels32(pictures.height);
  wanted.scan = row.isProgressive ? "p" : "i";
  wanted.heightAndScan = fmt::format("{}{}", wanted.height, wanted.scan);
  wanted.key = fmt::format("{}{}", wanted.heightAndScan, roundedFps(row.source));
  wanted.fps = pictures.rate.value_or(-1.0);
  wanted.application = application;
  debugFormat("presetAutoComputedFr: preset='{}' (w={} h={} i={} fps={})", wanted.key, wanted.width,
              wanted.height, wanted.scan, roundedFps(row.source));
  return wanted;
}

// Pass 1: a row of the source's width, height, scan and rate ends the search. Otherwise the
// compliant rows of its height and scan. (An exact row that the application refuses is not kept.)
struct ExactPass {
  std::optional<int> exact;
  Rows rows;
};

ExactPass exactPass(const Wanted& wanted) {
  ExactPass pass;
  const std::string width = fmt::format("{}", wanted.width);
  for (int row = firstSearchedRow; row < rowCount(); ++row) {
    if (says(row, width) && says(row, wanted.key)) {
      if (presetIsCompliant(row, wanted.application)) {
        pass.exact = row;
        return pass;
      }
    } else if (says(row, wanted.heightAndScan) && presetIsCompliant(row, wanted.application)) {
      pass.rows.push_back(row);
    }
  }
  if (debugMode())
    logFormat("presetAutoComputedFr: ma pass1.0: {}", described(pass.rows));
  return pass;
}

void keepWidth(Rows& rows, const Wanted& wanted) {
  const std::string width = fmt::format("{}", wanted.width);
  std::erase_if(rows, [&width](int row) {
    const bool drop = !says(row, width);
    if (drop)
      debugFormat("presetAutoComputedFr: !width  -> remove#{} ({})", row, presetShortLabel(row));
    return drop;
  });
  if (debugMode())
    logFormat("presetAutoComputedFr: ma pass1.1: {}", described(rows));
}

Rows scanPass(const Wanted& wanted) {
  const bool interlaced = wanted.scan == "i";
  Rows rows;
  for (int row = firstSearchedRow; row < rowCount(); ++row) {
    const bool isOfScan = rowAt(row).isInterlaced() == interlaced;
    if (isOfScan && presetIsCompliant(row, wanted.application))
      rows.push_back(row);
    debugFormat("presetAutoComputedFr:-{} #{} '{}'", smile(isOfScan), row, presetShortLabel(row));
  }
  if (debugMode())
    logFormat("presetAutoComputedFr: ma pass2.0#i|p(={}): {}", wanted.scan, described(rows));
  return rows;
}

void keepRateFamily(Rows& rows, const Wanted& wanted) {
  logFormat("fpsSrcFloat = {:f}", wanted.fps);
  const RateFamily other = isHighFrameRate(wanted.fps) ? RateFamily::p25 : RateFamily::p50;
  std::erase_if(rows,
                [other](int row) { return !rowAt(row).isSize() || isOf(&rowAt(row), other); });
  if (debugMode())
    logFormat("presetAutoComputedFr: ma pass2.1#fps(={:.2f}): {}", wanted.fps, described(rows));
}

// One sweep: drops what is smaller than the source or larger than the smallest row met so far. A
// larger row that stands before a smaller one stays; the last row is never dropped.
void keepSmallestThatHolds(Rows& rows, const Wanted& wanted) {
  const std::int64_t source = wanted.width * wanted.height;
  std::int64_t best = 123456789;  // above every row
  Rows kept;
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const int row = rows[index];
    const std::size_t left = kept.size() + rows.size() - index;
    const FrameSize size = rowAt(row).frame;
    const std::int64_t pixels = std::int64_t{size.width} * size.height;
    debugFormat("currentPresetStr    : {}", presetShortLabel(row));
    debugFormat("Pixels src | preset = {} | {} from '{}'", source, pixels, presetShortLabel(row));
    if (left > 1 && (pixels < source || pixels > best))
      continue;
    if (left > 1)
      best = std::min(best, pixels);
    kept.push_back(row);
  }
  rows = std::move(kept);
  if (debugMode())
    logFormat("presetAutoComputedFr: ma pass2.2#px({}*{}): {}", wanted.width, wanted.height,
              described(rows));
}

PresetChoice noneIsolated(const Rows& rows) {
  PresetChoice choice;
  choice.row = rows.empty() ? rowFallback : rows.front();
  logFormat("presetAutoComputedFr: no compliant preset isolated :-( \n{}", described(rows));
  if (debugMode() || verboseLevel(1)) {
    choice.alertTitle = "presetAutoComputedFr: no compliant preset isolated :-(";
    choice.alertText = described(rows);
  }
  return choice;
}

PresetChoice search(const Wanted& wanted) {
  auto [exact, rows] = exactPass(wanted);
  if (exact)
    return {*exact, {}, {}};
  if (rows.size() == 1)
    return {rows.front(), {}, {}};
  keepWidth(rows, wanted);
  if (rows.size() == 1)
    return {rows.front(), {}, {}};

  rows = scanPass(wanted);
  if (rows.size() == 1)
    return {rows.front(), {}, {}};
  const Rows ofScan = rows;
  keepRateFamily(rows, wanted);
  if (rows.size() == 1)
    return {rows.front(), {}, {}};
  if (rows.empty())
    rows = ofScan;
  keepSmallestThatHolds(rows, wanted);
  if (rows.size() == 1)
    return {rows.front(), {}, {}};
  return noneIsolated(rows);
}

// A QuickTime output is a copy of the source's pictures, so nothing about them may change.
bool isCopyAllowed(const Row& row, const SizeRow* size, Speed speed) {
  const Source& source = row.source;
  if (size) {
    const auto width = source.pictures.width.value_or(-1);
    const auto height = source.pictures.height.value_or(-1);
    logFormat("w x h               : {}x{} & sizeOutStr: '{}'", width, height, size->label);
    if (!size->isSize() || width != size->frame.width || height != size->frame.height)
      return false;
  }
  if (movieHolds(source.pictures.codec, firstContainer(source)) == false)
    return false;
  return row.isProgressive && !needsInterleaveToI50(source, size) && speed != speedHalf;
}

bool isStoredNarrow(const Source::Pictures& pictures, const SizeRow& size) {
  const auto width = pictures.width.value_or(0);
  const auto height = pictures.height.value_or(0);
  const auto isOfRow = [&](const SizeRow& row) {
    return row.isSize() && row.frame.width == width && row.frame.height == height;
  };
  const double shown =
      pictures.shape.empty() ? 0 : static_cast<double>(height) * fractionStr2Float(pictures.shape);
  return size.isSize() && height == size.frame.height && width < size.frame.width &&
         std::abs(shown - size.frame.width) < 1 &&
         std::none_of(sizeRows().begin(), sizeRows().end(), isOfRow);
}

}  // namespace

PresetChoice choosePreset(const Row& row, Application application) {
  if (row.source == Source()) {
    PresetChoice none;
    none.alertTitle = "presetAutoComputedFromSrc() :-(";
    none.alertText = "no dico sent (d=1, d->dico=0)";
    logFormat("{} {}", none.alertTitle, none.alertText);
    return none;
  }
  return search(wantedOf(row, application));
}

int presetAutoComputedFromSrc(const Row& row, Application application) {
  return choosePreset(row, application).row;
}

bool isHighFrameRate(double fps) {
  return fps > 31.0;
}

int roundedFps(const Source& source) {
  const double fps = source.pictures.rate.value_or(0) + 0.5;
  constexpr double limit = std::numeric_limits<int>::max();
  return fps > -limit && fps < limit ? static_cast<int>(fps) : 0;  // 0 for a NaN, too
}

bool needsInterleaveToI50(const Source& source, const SizeRow* size) {
  constexpr int leastRate = 48;
  return source.pictures.rate && size && isSourceProgressive(source) && size->isInterlaced() &&
         roundedFps(source) >= leastRate;
}

bool cellAllowedOut(const Row& row, const Choice& choice) {
  const SizeRow* size = sizeRow(choice.sizeOut);
  const CodecInventory& codecs = codecInventory();
  debugFormat("cellAllowedOut      : isP={:d}, AIC={:d}, Prores={:d} (isOut540p={:d})",
              row.isProgressive, codecs.aic, codecs.prores, size && size->frame.height == 540);
  const TargetRow* target = targetRow(choice.target);
  if (target == nullptr || target->codec.empty())
    return target && isCopyAllowed(row, size, choice.speed);
  const bool isLarge = !size || !size->isSize() || size->frame.height >= target->leastLines;
  return hasEncoder(*target, codecs) && isLarge;
}

bool isChoiceAllowed(const Row& row, const Choice& choice) {
  const SizeRow* size = sizeRow(choice.sizeOut);
  Choice asked = choice;
  if (choice.target == outQuickTime && size != nullptr && !needsInterleaveToI50(row.source, size) &&
      isStoredNarrow(row.source.pictures, *size))
    asked.sizeOut = keepsSize;
  return cellAllowedOut(row, asked);
}

std::optional<std::string> whichPresetProres(const std::optional<std::string>& initialPreset,
                                             std::string_view prefProres) {
  constexpr std::string_view prefix = "pr";

  debugFormat("whichPresetProres   : initialPresetStr='{}' prefSelectedProresFourCC='{}'",
              initialPreset.value_or("nil"), prefProres);
  const ProresFlavour* flavour = proresFlavour(prefProres);
  if (!initialPreset || !startsWith(*initialPreset, prefix) || flavour == nullptr)
    return initialPreset;
  const std::string name = fmt::format("{}{}{}", prefix, flavour->inName,
                                       std::string_view(*initialPreset).substr(prefix.size()));
  logFormat("whichPresetProres   : {}", name);
  return name;
}

}  // namespace tessarin
