#include "tools/gettimestamps/RecordingTime.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cstdint>

namespace tessarin {

bool RecordingTime::isValid() const {
  using namespace std::chrono;
  const year_month_day date{std::chrono::year(year),
                            std::chrono::month(static_cast<unsigned>(month)),
                            std::chrono::day(static_cast<unsigned>(day))};
  const bool inRange = month >= 0 && day >= 0 && hour >= 0 && minute >= 0 && second >= 0;
  return inRange && date.ok() && year >= 1970 && year < 2200 && hour < 24 && minute < 60 &&
         second < 60;
}

std::string RecordingTime::text() const {
  return fmt::format("{:04}-{:02}-{:02} {:02}.{:02}.{:02}", year, month, day, hour, minute, second);
}

std::optional<RecordingTime> recordingTimeFromBcd(std::string_view bytes) {
  constexpr std::size_t length = 7;
  if (bytes.size() < length)
    return std::nullopt;
  std::array<int, length> numbers{};
  for (std::size_t index = 0; index < length; ++index) {
    const auto byte = static_cast<std::uint8_t>(bytes[index]);
    const int tens = byte >> 4;
    const int ones = byte & 15;
    if (tens > 9 || ones > 9)
      return std::nullopt;
    numbers[index] = tens * 10 + ones;
  }
  const RecordingTime time{
      numbers[0] * 100 + numbers[1], numbers[2], numbers[3], numbers[4], numbers[5], numbers[6]};
  if (!time.isValid())
    return std::nullopt;
  return time;
}

}  // namespace tessarin
