#include "tools/gettimestamps/RecordingTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "classShared/TextAdditions.h"

namespace tessarin {

namespace {

std::optional<RecordingTime> checked(const RecordingTime& time) {
  return time.isValid() ? std::optional(time) : std::nullopt;
}

std::chrono::year_month_day dateOf(const RecordingTime& time) {
  return {std::chrono::year(time.year), std::chrono::month(static_cast<unsigned>(time.month)),
          std::chrono::day(static_cast<unsigned>(time.day))};
}

// Takes exactly so many digits off the text; -1 when they are not there.
int takeDigits(std::string_view& text, std::size_t count) {
  int number = 0;
  for (std::size_t index = 0; index < count; ++index) {
    if (index >= text.size() || text[index] < '0' || text[index] > '9')
      return -1;
    number = number * 10 + (text[index] - '0');
  }
  text.remove_prefix(count);
  return number;
}

// Takes one of these signs off the text.
bool takeSign(std::string_view& text, std::string_view signs) {
  if (text.empty() || !contains(signs, text.substr(0, 1)))
    return false;
  text.remove_prefix(1);
  return true;
}

// "14:05:33", "14:05" or "14:05:33.25", off the text.
bool takeClock(std::string_view& text, RecordingTime& time) {
  time.hour = takeDigits(text, 2);
  if (!takeSign(text, ":"))
    return false;
  time.minute = takeDigits(text, 2);
  if (takeSign(text, ":"))
    time.second = takeDigits(text, 2);
  if (takeSign(text, ".,"))
    text.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
  return true;
}

// "+0100", "+01:00" or "+01"; nothing for others, and for what is no zone on this earth.
std::optional<int> zoneOf(std::string_view text) {
  constexpr int mostMinutes = 14 * 60;
  if (text.empty())
    return std::nullopt;
  const int sign = text.front() == '-' ? -1 : 1;
  text.remove_prefix(1);
  const int hours = takeDigits(text, 2);
  takeSign(text, ":");
  const int minutes = text.empty() ? 0 : takeDigits(text, 2);
  const bool isGood = hours >= 0 && minutes >= 0 && minutes < 60 && text.empty();
  return isGood && hours * 60 + minutes <= mostMinutes
             ? std::optional(sign * (hours * 60 + minutes))
             : std::nullopt;
}

// "2010-12-24T14:05:33+0100"
std::optional<RecordingTime> timeOfNumbers(std::string_view text) {
  RecordingTime time;
  time.year = takeDigits(text, 4);
  if (!takeSign(text, "-:/"))
    return std::nullopt;
  time.month = takeDigits(text, 2);
  if (!takeSign(text, "-:/"))
    return std::nullopt;
  time.day = takeDigits(text, 2);
  if (!takeSign(text, "T ") || !takeClock(text, time) || !time.isValid())
    return std::nullopt;
  const std::string_view zone = trimmed(text);
  if (zone == "Z")
    return recordingTimeOfUtc(time.seconds());
  const bool isWhole = zone.empty() || zone.front() == '+' || zone.front() == '-';
  if (!isWhole)
    return std::nullopt;
  time.zone = zoneOf(zone);
  return time;
}

// "Fri Dec 24 14:05:33 2010"
std::optional<RecordingTime> timeOfWords(std::string_view text) {
  constexpr std::string_view months = "jan feb mar apr may jun jul aug sep oct nov dec ";
  std::vector<std::string_view> words;
  for (const std::string_view word : split(text, " "))
    if (!word.empty())
      words.push_back(word);
  if (words.size() != 5 || words[1].size() != 3)
    return std::nullopt;
  const std::size_t month = months.find(lowerCase(words[1]) + " ");
  RecordingTime time;
  time.month = month == std::string_view::npos ? 0 : static_cast<int>(month / 4) + 1;
  time.day = takeDigits(words[2], words[2].size() == 1 ? 1 : 2);
  if (!takeClock(words[3], time))
    return std::nullopt;
  time.year = takeDigits(words[4], 4);
  return checked(time);
}

}  // namespace

bool RecordingTime::isValid() const {
  const bool inRange = month >= 0 && day >= 0 && hour >= 0 && minute >= 0 && second >= 0;
  return inRange && year >= 1970 && year <= 2100 && dateOf(*this).ok() && hour < 24 &&
         minute < 60 && second < 60;
}

std::string RecordingTime::zoneText() const {
  if (isHeaders)
    return "-0000";
  if (!zone)
    return "";
  const int minutes = std::abs(*zone);
  return fmt::format("{}{:02}{:02}", *zone < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

std::string RecordingTime::text() const {
  return fmt::format("{:04}-{:02}-{:02} {:02}.{:02}.{:02}", year, month, day, hour, minute, second);
}

std::int64_t RecordingTime::seconds() const {
  const std::int64_t days = std::chrono::sys_days(dateOf(*this)).time_since_epoch().count();
  return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

std::optional<RecordingTime> recordingTimeOfSeconds(std::int64_t seconds) {
  constexpr std::int64_t day{86400};
  constexpr std::int64_t beyond = day * 366 * 200;  // after 2100
  if (seconds < 0 || seconds > beyond)
    return std::nullopt;
  const auto days = static_cast<int>(seconds / day);
  const auto rest = static_cast<int>(seconds % day);
  const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(days))};
  return checked({static_cast<int>(date.year()), static_cast<int>(unsigned{date.month()}),
                  static_cast<int>(unsigned{date.day()}), rest / 3600, rest / 60 % 60, rest % 60});
}

std::optional<RecordingTime> recordingTimeOfUtc(std::int64_t seconds) {
  if (!recordingTimeOfSeconds(seconds))
    return std::nullopt;
  const auto moment = static_cast<std::time_t>(seconds);
  std::tm local = {};
  if (::localtime_r(&moment, &local) == nullptr)
    return std::nullopt;
  return checked({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec, static_cast<int>(local.tm_gmtoff / 60)});
}

std::optional<int> zoneOfByte(std::uint32_t byte) {
  constexpr std::uint32_t notSetOrSummer = 0xC0;
  constexpr int mostHours = 14;
  const auto hours = static_cast<int>(byte >> 1 & 15);
  if ((byte & notSetOrSummer) != 0 || hours > mostHours)
    return std::nullopt;
  const int minutes = hours * 60 + ((byte & 1) != 0 ? 30 : 0);
  return (byte & 0x20) != 0 ? -minutes : minutes;
}

std::optional<int> numberOfBcd(std::uint32_t byte) {
  const auto tens = static_cast<int>(byte >> 4 & 15);
  const auto ones = static_cast<int>(byte & 15);
  if (tens > 9 || ones > 9)
    return std::nullopt;
  return tens * 10 + ones;
}

std::optional<RecordingTime> recordingTimeFromBcd(std::string_view bytes) {
  constexpr std::size_t length = 7;
  if (bytes.size() < length)
    return std::nullopt;
  std::array<int, length> numbers{};
  for (std::size_t index = 0; index < length; ++index) {
    const auto number = numberOfBcd(static_cast<std::uint8_t>(bytes[index]));
    if (!number)
      return std::nullopt;
    numbers.at(index) = *number;
  }
  return checked(
      {numbers[0] * 100 + numbers[1], numbers[2], numbers[3], numbers[4], numbers[5], numbers[6]});
}

std::optional<RecordingTime> recordingTimeOfText(std::string_view text) {
  // What cameras pad their texts with.
  const std::string_view plain = trimmed(textUpTo(text, std::string_view("\0", 1)));
  const auto time = timeOfNumbers(plain);
  return time ? time : timeOfWords(plain);
}

}  // namespace tessarin
