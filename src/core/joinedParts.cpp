#include "core/joinedParts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/Bundle.h"

namespace tessarin {

bool mayHoldParts(const Source& source) {
  return firstContainer(source) == "mpegts";
}

Arguments jointList(const std::string& path) {
  return {Bundle::main().toolPath("joinclips"), "--list", "--", path};
}

// "byte 963072: 5.000 s"
std::optional<double> partSeconds(std::string_view line) {
  const auto seconds = textBetween(line, ": ", " s");
  if (!startsWith(line, "byte ") || !seconds)
    return std::nullopt;
  const double number = leadingNumber(*seconds);
  constexpr double longest = 1e7;
  return number >= 0 && number < longest ? std::optional(number) : std::nullopt;
}

void takeParts(Source& source, const std::vector<double>& seconds) {
  if (seconds.size() < 2)
    return;
  const double all = std::accumulate(seconds.begin(), seconds.end(), 0.0);
  source.isJoined = true;
  source.seconds = all + std::max(0.0, source.pictures.begin.value_or(0));
  source.duration = std::max(1.0, std::floor(all));
}

void takeParts(Source& source, std::string_view list) {
  std::vector<double> parts;
  for (const std::string_view line : splitLines(list))
    if (const auto seconds = partSeconds(line))
      parts.push_back(*seconds);
  takeParts(source, parts);
}

}  // namespace tessarin
