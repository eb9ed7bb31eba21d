#include "tools/movtool/ProgressLines.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessarin::movtool {

void ProgressLines::reached(double seconds) {
  if (!duration_ || *duration_ <= 0)
    return;
  const double part = std::clamp(seconds / *duration_, 0.0, 1.0);
  const int tenths = static_cast<int>(std::floor(part * 1000));
  if (tenths <= lastTenths_)
    return;
  lastTenths_ = tenths;
  std::printf("pourcentage    : %d.%d\n", tenths / 10, tenths % 10);
  std::fflush(stdout);
}

}  // namespace tessarin::movtool
