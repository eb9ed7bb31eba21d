// Numbers out of tool output and user input, tolerant: bad input gives a neutral number.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessarin {

// The first decimal number of the text, with "." as its point. All blanks are dropped first, so
// "1 920" is 1920; letters before the number and anything behind it are skipped, other characters
// before it are not. 0 when there is no number or no text; never infinite.
float str2Float(std::optional<std::string_view> text);

// A ratio such as "16:9", or a plain number. 1 when there is no text, when the division fails and
// when the value lies within 0.1 of 0.
float fractionStr2Float(std::optional<std::string_view> text);

// "10.4.11" as 10.0411: the second part counts hundredths, the third ten-thousandths; further
// parts are ignored.
float versionToFloat(std::string_view text);

// A byte count in units of 1024 ("k"), 1024^2 ("m") or 1024^3 ("g"), in small letters or capitals;
// unchanged for any other unit. A negative count stays as it is.
double bytesToUnit(std::int64_t count, std::optional<std::string_view> unit);

// How many times as fast the one rate is as the other, when that is a whole number of times from 1
// to 12 (1e-4 of it are let pass); 0 when it is none.
int wholeTimes(double rate, double slower);

}  // namespace tessarin
