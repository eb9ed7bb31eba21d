// When the first picture is shown that ffmpeg's filter "showinfo" has seen.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessarin {

// As the run counts time.
struct ShownTime {
  std::int64_t ticks = 0;
  std::int64_t perSecond = 1;

  double seconds() const { return static_cast<double>(ticks) / static_cast<double>(perSecond); }
};

// Nothing unless all of it is said and is a moment that a stream can have.
std::optional<ShownTime> firstShown(std::string_view report);

}  // namespace tessarin
