// Where a clip was recorded.
#pragma once

#include <fmt/format.h>

#include <string>

namespace tessarin {

// "+48.1371+011.5754/" of degrees, as ISO 6709 has it.
inline std::string placeText(double latitude, double longitude) {
  return fmt::format("{:+08.4f}{:+09.4f}/", latitude, longitude);
}

}  // namespace tessarin
