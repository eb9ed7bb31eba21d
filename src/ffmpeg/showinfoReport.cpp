#include "ffmpeg/showinfoReport.h"

#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"
#include "ffmpeg/reportText.h"

namespace tessarin {

// "config in time_base: 1/90000, …" before the pictures, then "n:   0 pts:  -7200 pts_time:…".
std::optional<ShownTime> firstShown(std::string_view report) {
  constexpr NumberRange anyTicks{-9e15, 9e15};
  std::optional<std::int64_t> numerator;
  std::optional<std::int64_t> denominator;
  ReportLines lines(report);
  while (const auto line = lines.next()) {
    const auto statement = statementOf(*line, "showinfo");
    if (!statement)
      continue;
    if (const auto base = textAfter(*statement, "config in time_base: "); base && !denominator) {
      numerator = wholeNumber(*base, ReportRange::ratioPart);
      denominator = wholeNumber(textAfter(*base, "/").value_or(""), ReportRange::ratioPart);
    } else if (startsWith(*statement, "n:   0 ")) {
      const auto count = wholeNumber(trimmed(textAfter(*statement, "pts:").value_or("")), anyTicks);
      if (!numerator || !denominator || !count ||
          !isWithin(static_cast<double>(*count) * static_cast<double>(*numerator), anyTicks))
        return std::nullopt;
      const ShownTime time{*count * *numerator, *denominator};
      return isWithin(time.seconds(), ReportRange::time) ? std::optional(time) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace tessarin
