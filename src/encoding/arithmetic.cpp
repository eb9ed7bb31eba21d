#include "encoding/arithmetic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "classShared/log.h"

namespace tessarin {

namespace {

// Megabytes per second of movie that the formats need.
constexpr double intermediateCodecRate = 6.0;
constexpr double proresRate = 9.0;
constexpr double copiedSoundRate = 11.0 / 60.0;  // PCM sound beside a copied picture

constexpr float soundKilobits = 192;  // per second

// The whole part as an integer, the nearest one when it is too large; 0 for what is no number.
template <class Integer>
Integer wholePart(double number) {
  if (std::isnan(number))
    return 0;
  // 2^31 or 2^63: the largest value itself is not a double in the second case.
  const double limit = -static_cast<double>(std::numeric_limits<Integer>::min());
  if (number >= limit)
    return std::numeric_limits<Integer>::max();
  if (number <= -limit)
    return std::numeric_limits<Integer>::min();
  return static_cast<Integer>(number);
}

bool dividesBoth(std::int64_t divisor, std::int64_t a, std::int64_t b) {
  return divisor != 0 && a % divisor == 0 && b % divisor == 0;
}

// The first divisor of both from `first` up to, not including, `end`.
std::optional<std::int64_t> firstDivisor(std::int64_t first, std::int64_t end, std::int64_t a,
                                         std::int64_t b) {
  for (std::int64_t divisor = first; divisor < end; ++divisor)
    if (dividesBoth(divisor, a, b))
      return divisor;
  return std::nullopt;
}

// Prime numbers, and 1. Those that are missing are so on purpose: the results depend on the list.
constexpr std::array<std::int64_t, 37> primes = {
    1,  2,  3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,  41,  47,  53,  59,  67, 71,
    83, 89, 101, 107, 109, 113, 127, 131, 137, 139, 149, 157, 167, 179, 181, 191, 197, 199};

std::int64_t nearDivisor(std::int64_t a, std::int64_t b, int wanted) {
  if (dividesBoth(wanted, a, b))
    return wanted;
  const auto bound = [wanted](double factor) {
    return wholePart<std::int64_t>(static_cast<double>(wanted) * factor);
  };
  const auto lower = [wanted](double offset) {
    return wholePart<std::int64_t>(static_cast<double>(wanted) / 1.5 + offset);
  };
  debugFormat("nbsSousMultipleCommun: pass ± {}", wanted);
  if (const auto divisor = firstDivisor(lower(0.5), bound(1.5), a, b))
    return *divisor;
  debugFormat("nbsSousMultipleCommun: pass range < {}", wanted);
  if (const auto divisor = firstDivisor(bound(0.5), lower(0), a, b))
    return *divisor;
  debugFormat("nbsSousMultipleCommun: pass range > {}", wanted);
  if (const auto divisor = firstDivisor(bound(1.5), std::int64_t{2} * wanted, a, b))
    return *divisor;
  if (debugMode())
    logLine("nbsSousMultipleCommun: pass range nb 1ers");
  return *std::find_if(primes.rbegin(), primes.rend(),
                       [a, b](std::int64_t prime) { return dividesBoth(prime, a, b); });
}

}  // namespace

float encDstPoidsEstimatif(double duration, double sourceMegabytes, int out) {
  double megabytes = duration * proresRate;
  if (out == 1)
    megabytes = duration * intermediateCodecRate;
  else if (out == 0)
    megabytes = duration * copiedSoundRate + sourceMegabytes;
  const auto estimate = static_cast<float>(megabytes);
  debugFormat("encDstPoidsEstimatif: {:f}", estimate);
  return estimate;
}

int bitrateLimited(int maximumMegabytes, double duration) {
  debugFormat("duration            : {:.2f}", duration);
  // All in kilobits and single precision.
  const float total = static_cast<float>(maximumMegabytes) * 1024 * 1024 * 8 / 1000;
  debugFormat("poidsAVMax          : {} MB > {:.0f} bits", maximumMegabytes, total);
  const float sound = static_cast<float>(duration * soundKilobits);
  debugFormat("poidsA              : {:.0f} MB ({:.0f} bits)", sound * 0.125F / 1024 / 1024 * 1000,
              sound);
  const float video = total - sound;
  debugFormat("poidsV              : {:.0f}", video);
  const int rate = duration > 0 ? wholePart<int>(static_cast<double>(video) / duration) : 0;
  debugFormat("bitrate Limited     : {} kb/s", rate);
  return rate;
}

int nbsSousMultipleCommun(int a, int b, int wanted) {
  const std::int64_t divisor = nearDivisor(a, b, wanted);
  debugFormat("SousMultiple mod     :-) {}", divisor);
  logFormat("nbsSousMultipleCommun: fin {}", divisor);
  return static_cast<int>(divisor);
}

int nbMultipleArrondi(int number, int step) {
  std::int64_t result = number;
  const std::int64_t remainder = step == 0 ? 0 : result % step;
  if (remainder != 0) {
    result -= remainder;
    debugFormat("arrondiInferieur     : {}", result);
    const bool up = step / 2 <= remainder;
    if (up)
      result += step;
    debugFormat("nbMultipleArrondi    : arrondir {}", up ? "au dessus" : "en-dessous");
  }
  logFormat("nbMultipleArrondi    :-) {}", result);
  return wholePart<int>(static_cast<double>(result));
}

float nbArrondi(double number, int decimals) {
  double result = 0;
  if (decimals <= 0) {
    result = std::trunc(number + 0.5);
  } else {
    const double factor = std::pow(10.0, decimals);
    const double offset = number >= 0 ? 0.5 : -0.5;
    debugFormat("{:f}", factor * number + offset);
    const double whole = std::trunc(factor * number + offset);
    debugFormat("{:.0f}", whole);
    result = whole / factor;
  }
  const auto rounded = static_cast<float>(result);
  logFormat("nbArrondi            : {:f}", rounded);
  return rounded;
}

float nbTrimmed(double number, int decimals) {
  const double factor = decimals <= 0 ? 1 : std::pow(10.0, decimals);
  const auto trimmedNumber = static_cast<float>(std::trunc(factor * number) / factor);
  debugFormat("nbTrimmed           : {:f}", trimmedNumber);
  return trimmedNumber;
}

std::string float2FractionStr(double ratio) {
  const auto isAbout = [ratio](double value) { return std::abs(ratio - value) <= 0.02; };
  std::string text;
  if (!std::isfinite(ratio) || std::abs(ratio) < 0.1 || isAbout(1.0)) {
    text = "1:1";
  } else if (isAbout(1.33)) {
    text = "4:3";
  } else if (isAbout(1.77)) {
    text = "16:9";
  } else {
    const auto [numerator, denominator] =
        fractionReduced(wholePart<std::int64_t>(ratio * 1000), 1000);
    text = fmt::format("{}:{}", numerator, denominator);
  }
  logFormat("float2FractionStr : {} (<-{:.3f})", text, ratio);
  return text;
}

std::pair<std::int64_t, std::int64_t> fractionReduced(std::int64_t numerator,
                                                      std::int64_t denominator) {
  if (numerator == 0 && denominator == 0)
    return {1, 1};
  for (const std::int64_t divisor : {2, 3, 5, 7, 11, 13, 17})
    while (numerator % divisor == 0 && denominator % divisor == 0) {
      numerator /= divisor;
      denominator /= divisor;
    }
  return {numerator, denominator};
}

}  // namespace tessarin
