// The size and bit-rate arithmetic: pure functions that only log.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace tessarin {

// How large an output is going to be, in megabytes: from the duration in seconds, the source's
// size in megabytes and the output format (0 QuickTime, 1 Apple Intermediate Codec, else ProRes).
float encDstPoidsEstimatif(double duration, double sourceMegabytes, int out);

// The video bit rate in kilobits per second with which a movie of this duration in seconds, with
// sound of 192 kb/s, has this size. Negative when the sound alone is larger; 0 without a duration.
int bitrateLimited(int maximumMegabytes, double duration);

// A divisor of both numbers near the wanted one: that itself, else the first that is found around
// it, below, above, and among the prime numbers; at least 1.
int nbsSousMultipleCommun(int a, int b, int wanted);

// The number rounded to a multiple of the step, ties upwards. A step of 0 changes nothing.
int nbMultipleArrondi(int number, int step);

// The number rounded to this many decimals, ties away from 0. Without decimals the ties go up and
// the sum is cut towards 0, so that -2.2 gives -1.
float nbArrondi(double number, int decimals);
// The number cut to this many decimals.
float nbTrimmed(double number, int decimals);

// The name of an aspect ratio: "16:9" for about 1.77, "4:3" for about 1.33, "1:1" for about 1 and
// for ratios that make no sense; else the ratio in thousandths, reduced ("47:20" for 2.35).
std::string float2FractionStr(double ratio);

// The fraction without its common factors up to 17; 1 and 1 for 0 and 0.
std::pair<std::int64_t, std::int64_t> fractionReduced(std::int64_t numerator,
                                                      std::int64_t denominator);

}  // namespace tessarin
