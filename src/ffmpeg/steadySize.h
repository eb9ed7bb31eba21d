// Pictures that change their size in the middle of a source, as in recordings behind each other.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace tessarin {

// ffmpeg makes its filters anew where the pictures change their size, and new filters for the rate
// count time from there: pictures are repeated, and the last ones are lost. With these words before
// the input the filters stay, and the first one brings all pictures to the first one's size.
inline constexpr std::array<const char*, 2> keepingFilters = {"-reinit_filter:v", "0"};
inline std::string steadySizeFilter(int width, int height) {
  return "scale=" + std::to_string(width) + ":" + std::to_string(height) + ":interl=-1";
}
// Whether a filter, with its options, is such a one, which leaves pictures of the usual size alone.
inline bool isSteadySizeFilter(std::string_view filter) {
  return filter.starts_with("scale=") && filter.ends_with(":interl=-1");
}

}  // namespace tessarin
