#include <array>
#include <charconv>
#include <vector>

#include "classShared/TextAdditions.h"
#include "classShared/log.h"
#include "platform/SystemFacts.h"
#include "process/logs.h"
#include "utils/numbers.h"

namespace tessarin {

namespace {

// "6.1.0" of "6.1.0-18-amd64"; nothing when the release does not begin with three numbers.
std::optional<std::string> versionOfRelease(std::string_view release) {
  std::array<long, 3> numbers{};
  const char* position = release.data();
  const char* const end = position + release.size();
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    if (index > 0 && (position == end || *position++ != '.'))
      return std::nullopt;
    const auto result = std::from_chars(position, end, numbers[index]);
    if (result.ec != std::errc())
      return std::nullopt;
    position = result.ptr;
  }
  return fmt::format("{}.{}.{}", numbers[0], numbers[1], numbers[2]);
}

}  // namespace

double operatingSystemVersion() {
  if (const auto version = versionOfRelease(kernelRelease())) {
    logFormat("Operating System    : {}", *version);
    return versionToFloat(*version);
  }
  const std::string text = operatingSystemText();
  const std::vector<std::string_view> words = split(text, " ");
  if (words.size() < 3)
    return -1;
  const double version = versionToFloat(words[1]);
  logFormat("OS version (#2)     : {} (->{:.1f})", text, version);
  return version;
}

double mediaFrameworkVersion() {
  logLine("versionQT           :-( echec");
  return 0;
}

int processorsAndCores() {
  const int count = processorCount();
  logFormat("Processors/Cores    x {}", count);
  return count;
}

bool displayIsAccelerated() {
  logLine("Quartz Extreme      :-) compatible video card");
  return true;
}

bool isOldProcessor() {
  logFormat("cpuSubtype          : {}", 0);
  logLine("cpu > G3            :-)");
  return false;
}

}  // namespace tessarin
