// Numbers out of ffmpeg's reports. A report repeats what stands in the source, and that may be
// anything: a number outside of what the thing can be is unknown, not nearly right.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessarin {

struct NumberRange {
  double least;
  double most;
};

namespace ReportRange {
inline constexpr NumberRange streamNumber{0, 65535};
inline constexpr NumberRange pictureSide{1, 32768};         // pixels
inline constexpr NumberRange pictureRate{0.01, 1000};       // a second
inline constexpr NumberRange codecClock{1, 1'000'000'000};  // ticks a second
inline constexpr NumberRange soundRate{1, 6'144'000};       // Hz; DSD has the highest
inline constexpr NumberRange channels{1, 64};
inline constexpr NumberRange bitRate{1, 100'000'000};  // kb/s
inline constexpr NumberRange duration{0, 4'000'000};   // seconds; 46 days
// Of a container or a packet: transport streams count for 26.5 hours, clocks of recorders run on.
inline constexpr NumberRange time{-1e10, 1e10};            // seconds
inline constexpr NumberRange ratioPart{1, 1'000'000'000};  // each side of "16:9"
inline constexpr NumberRange shape{0.02, 50};              // width by height
inline constexpr NumberRange rotation{-180, 180};          // degrees
inline constexpr NumberRange pictureCount{0, 1'000'000'000};
}  // namespace ReportRange

bool isWithin(double number, NumberRange range);

// The whole number that the text begins with; nothing when there is none or it is out of range.
std::optional<std::int64_t> wholeNumber(std::string_view text, NumberRange range);
// The decimal number that the text begins with, the same way.
std::optional<double> decimalNumber(std::string_view text, NumberRange range);
// "16:9" when the text begins with such a ratio and both its parts and the shape that it gives are
// within bounds.
std::optional<std::string> ratioText(std::string_view text);
// Seconds of "00:01:02.50", as a duration; nothing for "N/A" and 0.
std::optional<double> durationText(std::string_view text);

}  // namespace tessarin
