// What ffmpeg's filter "idet" says about the fields of a source's pictures. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessarin {

// How many pictures the filter found to be of which kind.
struct IdetCounts {
  std::int64_t top = 0;
  std::int64_t bottom = 0;
  std::int64_t progressive = 0;
  std::int64_t undetermined = 0;
};

// Each picture looked at by itself, or beside those around it.
enum class IdetDetection { single, multi };

// The counts at the end of a run; nothing when its report has none.
std::optional<IdetCounts> idetCounts(std::string_view report,
                                     IdetDetection detection = IdetDetection::single);

}  // namespace tessarin
