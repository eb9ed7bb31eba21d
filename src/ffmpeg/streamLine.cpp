#include "ffmpeg/streamLine.h"

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"

namespace tessarin {

namespace {

struct KindWord {
  std::string_view word;
  StreamKind kind;
};
constexpr std::array kindWords = {KindWord{": Audio: ", StreamKind::audio},
                                  KindWord{": Video: ", StreamKind::video},
                                  KindWord{": Subtitle: ", StreamKind::subtitle}};

// Divides at ", " outside of brackets, so that "yuv420p(tv, top first), 720x576" is two parts. A
// closing bracket too many is passed over; one too few is not ffmpeg's doing, for what it takes
// from the source (the language, titles) stands elsewhere.
std::vector<std::string_view> partsOutsideBrackets(std::string_view text) {
  std::vector<std::string_view> parts;
  int depth = 0;
  std::size_t start = 0;
  for (std::size_t position = 0; position < text.size(); ++position) {
    const char letter = text[position];
    if (letter == '(' || letter == '[') {
      ++depth;
    } else if (letter == ')' || letter == ']') {
      depth = std::max(depth - 1, 0);
    } else if (letter == ',' && depth == 0 && text.substr(position, 2) == ", ") {
      parts.push_back(text.substr(start, position - start));
      start = position + 2;
    }
  }
  parts.push_back(text.substr(start));
  return parts;
}

// The stream's number in "0:1[0x1100](eng), 17, 1/90000", which follows "Stream #".
std::optional<int> streamNumber(std::string_view head) {
  const std::size_t divider = head.find_first_not_of("0123456789");
  if (divider == 0 || divider == std::string_view::npos ||
      (head[divider] != ':' && head[divider] != '.'))
    return std::nullopt;
  const std::string_view number = head.substr(divider + 1);
  if (number.empty() || number.front() < '0' || number.front() > '9')
    return std::nullopt;
  const auto value = wholeNumber(number, ReportRange::streamNumber);
  return value ? std::optional(static_cast<int>(*value)) : std::nullopt;
}

// Seconds per tick: the "1/90000" that ends the head at the debug level, else the "90k tbn" of the
// description, which old programs round.
std::optional<double> timeBaseOf(std::string_view head, const StreamLine& line) {
  const std::size_t comma = head.rfind(", ");
  if (comma != std::string_view::npos) {
    const std::string_view ratio = head.substr(comma + 2);
    const std::int64_t ticks = leadingInteger(textAfter(ratio, "/").value_or(""));
    const std::int64_t seconds = leadingInteger(ratio);
    if (seconds > 0 && ticks > 0)
      return static_cast<double>(seconds) / static_cast<double>(ticks);
  }
  for (const std::string_view part : line.parts) {
    if (!contains(part, " tbn"))
      continue;
    const std::string_view rate = textUpTo(part, " tbn");
    const double ticks =
        static_cast<double>(leadingInteger(rate)) * (rate.ends_with('k') ? 1000.0 : 1.0);
    if (ticks > 0 && !contains(rate, "."))
      return 1.0 / ticks;
  }
  return std::nullopt;
}

}  // namespace

std::optional<StreamLine> parseStreamLine(std::string_view line) {
  constexpr std::string_view mark = "Stream #";
  if (!lineDeclares(line, mark))
    return std::nullopt;
  const std::string_view text = line.substr(line.find(mark) + mark.size());

  StreamLine result;
  // The last one: before it stands the language, which is a text of the source.
  std::size_t headEnd = 0;
  for (const KindWord& candidate : kindWords) {
    const std::size_t found = text.rfind(candidate.word);
    if (found == std::string_view::npos || found <= headEnd)
      continue;
    headEnd = found;
    result.kind = candidate.kind;
    result.description = text.substr(found + candidate.word.size());
  }
  if (headEnd == 0)
    return std::nullopt;

  const std::string_view head = text.substr(0, headEnd);
  result.id = streamNumber(head);
  result.lang = textBetween(head, "(", ")").value_or("");

  result.parts = partsOutsideBrackets(result.description);
  result.codec = trimmed(textUpTo(result.parts.front(), " ("));
  result.parts.erase(result.parts.begin());
  result.timeBase = timeBaseOf(head, result);
  result.attachedPicture = contains(result.description, "(attached pic)");
  return result;
}

}  // namespace tessarin
