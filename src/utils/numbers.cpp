#include "utils/numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "utils/text.h"

namespace tessarin {

namespace {

// Bytes of letters outside of ASCII count as letters.
bool isLetter(char character) {
  const unsigned code = static_cast<unsigned char>(character);
  return (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') || code >= 0x80;
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

// Whether a number beyond single precision is too small for it, not too large.
bool isTiny(std::string_view text) {
  double wide = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), wide);
  if (read.ec == std::errc())
    return wide < 1;
  return text.front() == '0' || text.front() == '.';
}

// The number that begins behind any letters; nothing when something else stands there.
std::optional<float> scanFloat(std::string_view text) {
  while (!text.empty() && isLetter(text.front()))
    text.remove_prefix(1);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+'))
    text.remove_prefix(1);
  // Keeps a second sign, "inf" and "nan" from being read.
  if (text.empty() || !(isDigit(text.front()) || text.front() == '.'))
    return std::nullopt;
  float value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec == std::errc::invalid_argument)
    return std::nullopt;
  if (read.ec == std::errc::result_out_of_range)
    value = isTiny(text) ? 0 : std::numeric_limits<float>::max();
  return negative ? -value : value;
}

}  // namespace

float str2Float(std::optional<std::string_view> text) {
  if (!text)
    return 0;
  debugFormat("str2Float           - deb : {}…", *text);
  const auto number = scanFloat(findAndReplace(*text, " ", "", false));
  if (!number && debugMode())
    logLine("mais heuu, c'est meme pas un float :(");
  const float value = number.value_or(0);
  debugFormat("str2Float           - end :'{}'->{:f}", *text, value);
  return value;
}

float fractionStr2Float(std::optional<std::string_view> text) {
  if (!text)
    return 1;
  float value = 0;
  if (!contains(*text, ":")) {
    value = str2Float(text);
    logFormat("fractionStr2Float :-/ {:.3f} (<-{})", value, *text);
  } else {
    const auto parts = split(*text, ":");
    value = str2Float(parts[0]) / str2Float(parts[1]);
    debugFormat("fractionStr2Float :-) {:.3f} (<-{})", value, *text);
  }
  return std::isfinite(value) && std::abs(value) >= 0.1F ? value : 1;
}

float versionToFloat(std::string_view text) {
  const auto parts = split(text, ".");
  double value = 0;
  double weight = 1;
  for (std::size_t index = 0; index < parts.size() && index < 3; ++index) {
    value += static_cast<double>(leadingInteger(parts[index])) * weight;
    weight /= 100;
  }
  return static_cast<float>(value);
}

double bytesToUnit(std::int64_t count, std::optional<std::string_view> unit) {
  const auto bytes = static_cast<double>(count);
  if (count < 0)
    return bytes;
  const std::string letter = upperCase(unit.value_or("k"));
  if (letter == "K")
    return bytes / 1024;
  if (letter == "M")
    return bytes / (1024 * 1024);
  if (letter == "G")
    return bytes / (1024 * 1024 * 1024);
  return bytes;
}

int wholeTimes(double rate, double slower) {
  constexpr int most = 12;
  for (int times = 1; times <= most; ++times)
    if (std::abs(rate / (slower * times) - 1) < 1e-4)
      return times;
  return 0;
}

}  // namespace tessarin
