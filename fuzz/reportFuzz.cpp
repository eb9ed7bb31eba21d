// ffmpeg's reports: whatever a file makes ffmpeg print is read on.
#include <cstdint>
#include <string_view>

#include "analysis/probeParser.h"
#include "analysis/probes.h"
#include "analysis/timing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view report(reinterpret_cast<const char*>(data), size);
  tessarin::analysisFf(report, tessarin::Fields::topFirst, "/card/clip.mts");
  tessarin::ffChapters(report);
  tessarin::forceFormatLite(report);
  tessarin::isFfmpegSuccess(report);
  return 0;
}
