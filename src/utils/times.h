// Durations and dates as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classShared/Value.h"

namespace tessarin {

// Whole seconds as hours, minutes and seconds, as captions and summaries show them: 0h01'05" for
// 65. Hours are always written, a negative duration counts as 0.
std::string durationText(std::int64_t seconds);

// The seconds of "hh:mm:ss.cc", or of "d:hh:mm:ss.cc" with days of 24 hours. 0 when the text has
// another form, "N/A" for example.
double timeStr2Seconds(std::string_view text);

// A moment in local time with its zone offset: "2010-12-24 14:05:33 +0100".
std::string dateDescription(Date date);
Date currentDate();

}  // namespace tessarin
