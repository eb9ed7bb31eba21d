#include "ffmpeg/reportNumbers.h"

#include "classShared/TextAdditions.h"
#include "utils/times.h"

namespace tessarin {

namespace {

// Whether a number begins the text, behind blanks and a sign.
bool beginsWithNumber(std::string_view text) {
  text = trimmed(text);
  if (!text.empty() && (text.front() == '-' || text.front() == '+'))
    text.remove_prefix(1);
  if (!text.empty() && text.front() == '.')
    text.remove_prefix(1);
  return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

}  // namespace

bool isWithin(double number, NumberRange range) {
  return number >= range.least && number <= range.most;
}

std::optional<std::int64_t> wholeNumber(std::string_view text, NumberRange range) {
  if (!beginsWithNumber(text))
    return std::nullopt;
  const std::int64_t number = leadingInteger(text);
  return isWithin(static_cast<double>(number), range) ? std::optional(number) : std::nullopt;
}

std::optional<double> decimalNumber(std::string_view text, NumberRange range) {
  if (!beginsWithNumber(text))
    return std::nullopt;
  const double number = leadingNumber(trimmed(text));
  return isWithin(number, range) ? std::optional(number) : std::nullopt;
}

std::optional<std::string> ratioText(std::string_view text) {
  const auto width = wholeNumber(textUpTo(text, ":"), ReportRange::ratioPart);
  const auto height = wholeNumber(textAfter(text, ":").value_or(""), ReportRange::ratioPart);
  if (!width || !height ||
      !isWithin(static_cast<double>(*width) / static_cast<double>(*height), ReportRange::shape))
    return std::nullopt;
  return std::to_string(*width) + ":" + std::to_string(*height);
}

std::optional<double> durationText(std::string_view text) {
  const double seconds = timeStr2Seconds(text);
  return seconds > 0 && isWithin(seconds, ReportRange::duration) ? std::optional(seconds)
                                                                 : std::nullopt;
}

}  // namespace tessarin
