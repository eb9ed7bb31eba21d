#include "utils/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <optional>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

// A field of a time: digits, with a fraction or without.
std::optional<double> fieldValue(std::string_view field) {
  double value = 0;
  const char* end = field.data() + field.size();
  const auto read = std::from_chars(field.data(), end, value, std::chars_format::fixed);
  // The comparison also keeps out "nan" and "inf", which from_chars reads.
  if (read.ec != std::errc() || read.ptr != end || !(value >= 0) || !std::isfinite(value))
    return std::nullopt;
  return value;
}

}  // namespace

std::string durationText(std::int64_t seconds) {
  const std::int64_t whole = std::max<std::int64_t>(seconds, 0);
  return fmt::format("{}h{:02}'{:02}\"", whole / 3600, whole / 60 % 60, whole % 60);
}

double timeStr2Seconds(std::string_view text) {
  const auto fields = split(trimmed(text), ":");
  if (fields.size() != 3 && fields.size() != 4)
    return 0;
  constexpr std::array<double, 4> units = {24 * 3600, 3600, 60, 1};
  double seconds = 0;
  for (std::size_t index = 0; index < fields.size(); ++index) {
    const auto value = fieldValue(fields[index]);
    if (!value)
      return 0;
    seconds += *value * units.at(units.size() - fields.size() + index);
  }
  return seconds;
}

std::string dateDescription(Date date) {
  const auto moment = static_cast<std::time_t>(std::floor(date.seconds));
  std::tm local = {};
  if (::localtime_r(&moment, &local) == nullptr)
    return {};
  std::array<char, 64> text = {};
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %z", &local);
  return {text.data(), size};
}

Date currentDate() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date{std::chrono::duration<double>(sinceEpoch).count()};
}

}  // namespace tessarin
