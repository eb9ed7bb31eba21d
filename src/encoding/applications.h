// The editing applications that movies are made for: the segments of the selector, in their order.
#pragma once

#include <span>
#include <string_view>

#include "encoding/BatchEntry.h"

namespace tessarin {

// The number is that of the segment, and what is stored.
enum class Application {
  any = -1,  // none was named: every size suits
  quickTime,
  iMovie,
  finalCut,
  fast,  // programs that take 50 and 60 pictures a second
};

struct ApplicationRow {
  const char* label;      // of the segment
  std::string_view word;  // at the command line
  Target firstTarget;     // that a new row starts with
  const char* title;      // keys of what the window calls it, and of what it tells of it
  const char* tip;
};

inline constexpr ApplicationRow applicationTable[] = {
    {"QuickTime", "quicktime", outQuickTime, "softQuickTime", "tipSoftQuickTime"},
    {"iMovie", "imovie", outAic, "softIMovie", "tipSoftIMovie"},
    {"Final Cut Pro", "finalcut", outProres, "softFinalCutPro", "tipSoftFinalCutPro"},
    {"50p/60p", "50p60p", outNone, "soft50p60p", "tipSoft50p60p"},
};

// The application of a segment; `any` for a number that no segment has.
constexpr Application applicationOf(int segment) {
  return segment >= 0 && segment < static_cast<int>(std::size(applicationTable))
             ? static_cast<Application>(segment)
             : Application::any;
}

}  // namespace tessarin
