// What tools print while they run, and when they fail; what ffmpeg says of itself.
#include <cmath>

#include "Input.h"
#include "analysis/installedComponents.h"
#include "ffmpeg/codecListing.h"
#include "ffmpeg/failureWords.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/runTroubles.h"
#include "jobs/failureReason.h"
#include "process/progress.h"

using namespace tessarin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  RunTroubles troubles("/card/a\nclip.mts", "/movies/a clip.mov");
  for (const std::string& line : fuzz::Pieces(text).each('\n'))
    troubles.addLine(line);
  for (const std::string& complaint : troubles.complaints())
    fuzz::require(complaint.find("/movies/a clip.mov") == std::string::npos);
  troubles.damagedPictures();
  troubles.damagedSound();
  readErrorOf(text);
  const std::string_view words = failureWords(text);
  fuzz::require(text.find(words) != std::string_view::npos);
  fuzz::require(!failureReason(text, "/card/a clip.mts").empty());

  Dico job;
  captureLoudness(text, job);
  for (int mode = -1; mode <= 6; ++mode)
    if (const auto value = progressValue(static_cast<ParseMode>(mode), text)) {
      fuzz::require(!std::isnan(*value));
      for (const double previous : {-1, 0})
        progressStep(previous, *value, 100, static_cast<ParseMode>(mode), "", "th");
      minutesStr(static_cast<float>(*value));
    }
  durationStr(static_cast<std::int64_t>(parseTime(text)));

  versionOfListing(text);
  componentsOf(text, true);
  const FfmpegVersion version = ffmpegVersionFromText(text);
  fuzz::require(version == newestFfmpeg ||
                ffmpegVersionFromText(ffmpegVersionText(version)) == version);
  return 0;
}
