#include "analysis/fieldOrder.h"

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportText.h"
#include "ffmpeg/streamLine.h"
#include "platform/Bundle.h"

namespace tessarin {

std::string fieldsText(Fields fields) {
  return Bundle::main().localizedString(fieldsKey(fields), "fields");
}

namespace {

constexpr int leastPictures = 3;
constexpr int clearMajority = 4;

// When the counts decide.
std::optional<Fields> orderShown(const FieldMotion& motion) {
  if (motion.top >= leastPictures && motion.top >= clearMajority * motion.bottom)
    return Fields::topFirst;
  if (motion.bottom >= leastPictures && motion.bottom >= clearMajority * motion.top)
    return Fields::bottomFirst;
  return std::nullopt;
}

bool hasFields(const FieldClues& clues) {
  return clues.firstPicture != Fields::progressive ||
         (clues.motion.changes == 0 && clues.stream && clues.stream != Fields::progressive);
}

int countOf(const std::vector<Fields>& orders, Fields order) {
  return static_cast<int>(std::count(orders.begin(), orders.end(), order));
}

}  // namespace

FieldOrder weighFieldOrder(const FieldClues& clues) {
  if (!hasFields(clues))
    return {Fields::progressive, std::nullopt};
  // What the decoder says is what the filters will hear.
  std::vector<Fields> heard = clues.elsewhere;
  heard.push_back(clues.firstPicture);
  std::vector<Fields> claims = heard;
  if (clues.stream)
    claims.push_back(*clues.stream);
  if (clues.topStructures != clues.bottomStructures)
    claims.push_back(clues.topStructures > clues.bottomStructures ? Fields::topFirst
                                                                  : Fields::bottomFirst);
  const int lead = countOf(claims, Fields::topFirst) - countOf(claims, Fields::bottomFirst);
  const bool claimsBottom = lead == 0 ? clues.firstPicture == Fields::bottomFirst : lead < 0;
  FieldOrder order{
      orderShown(clues.motion).value_or(claimsBottom ? Fields::bottomFirst : Fields::topFirst),
      std::nullopt};
  const Fields other = order.fields == Fields::topFirst ? Fields::bottomFirst : Fields::topFirst;
  if (countOf(heard, other) > 0)
    order.claim = other;
  return order;
}

bool needsMorePictures(const FieldClues& clues) {
  return hasFields(clues) && !orderShown(clues.motion);
}

FieldClues fieldCluesOfReport(std::string_view report, std::optional<int> stream) {
  FieldClues clues;
  DescriptionLines lines(inputBlock(report));
  while (const auto line = lines.next()) {
    const auto description = parseStreamLine(*line);
    if (!description || description->kind != StreamKind::video || description->attachedPicture ||
        (stream && description->id != stream))
      continue;
    // The words for swapped fields are used by different programs in opposite senses.
    if (contains(description->description, "top first"))
      clues.stream = Fields::topFirst;
    else if (contains(description->description, "bottom first"))
      clues.stream = Fields::bottomFirst;
    else if (contains(description->description, "progressive"))
      clues.stream = Fields::progressive;
    break;
  }
  constexpr std::string_view mark = " pic_struct:";
  for (std::size_t found = findText(report, mark); found != std::string_view::npos;
       found = findText(report, mark, found + mark.size())) {
    if (report[lineStart(report, found)] != '[')
      continue;
    // Two or three fields, the first of which is the top or the bottom one.
    const std::string_view value = report.substr(found + mark.size(), 1);
    clues.topStructures += value == "3" || value == "5" ? 1 : 0;
    clues.bottomStructures += value == "4" || value == "6" ? 1 : 0;
  }
  return clues;
}

std::optional<PicturePlace> picturePlace(int count, double duration) {
  // The start once more, for what follows the first picture there: up to its first key frame the
  // analysis has only copies of one.
  constexpr std::array parts = {0.0, 0.25, 0.5, 0.75};
  constexpr int atStart = 20;
  constexpr int further = 10;
  const auto place = static_cast<std::size_t>(count);
  if (place >= parts.size() || (count > 0 && duration < 1))
    return std::nullopt;
  return PicturePlace{parts[place] * duration, count == 0 ? atStart : further};
}

}  // namespace tessarin
