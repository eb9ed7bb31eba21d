#include "ffmpeg/timeBound.h"

#include <fmt/format.h>

namespace tessarin {

std::string timeBound(std::optional<double> seconds) {
  // Lengths are estimated for some formats, and holes of a few seconds are no harm.
  constexpr double longestLeap = 10;
  constexpr double longestUnknownLeap = 3600;
  constexpr double step = 0.04;
  const double leap = seconds ? longestLeap : longestUnknownLeap;
  // 0: the moment of the picture before as it is handed on, 1: what is taken off the times, and
  // 2: the picture's own moment without that.
  return fmt::format(
      "setpts='st(1,if(lte(abs(T-ld(0)),{0}),0,ld(1)));st(2,T-ld(1));"
      "st(1,if(gt(ld(2)-ld(0),{0})*gt(ld(2),{1:.2f}),T-ld(0)-{2},ld(1)));"
      "st(0,T-ld(1));if(ld(1),ld(0)/TB,PTS)'",
      leap, seconds.value_or(0) + leap, step);
}

std::string earlierBy(std::string_view seconds) {
  return fmt::format("floor(PTS-{}/TB+0.5)", seconds);
}

}  // namespace tessarin
