#include "core/CodecSurvey.h"

#include <cstdlib>
#include <utility>

#include "analysis/codecInventory.h"
#include "classShared/log.h"
#include "ffmpeg/codecListing.h"
#include "ffmpeg/ffmpegOptions.h"
#include "ffmpeg/installedFfmpeg.h"
#include "jobs/failureReason.h"
#include "prefs/utilsAlert.h"

namespace tessarin {

namespace {

void takeInventory() {
  takeCodecInventory();
  ::setenv(ffmpegVersionVariable, ffmpegVersionText(ffmpegVersionFromText(codecListing())).c_str(),
           0);
}

// Without its codecs ffmpeg would be taken for one that can write nothing.
std::string unusable(const std::string& why) {
  const auto found = findFfmpeg(ffmpegSearchOfEnvironment(codecListingCommand().front()));
  return localisationString("D_ffmpegUnusable", "", found ? found.value() : "ffmpeg", why,
                            ffmpegVariable);
}

std::string problemOf(const ToolResult& result) {
  logFormat("codec listing       :-( {} {}", result.status, result.output);
  return unusable(result.isOverdue || result.output.empty() ? localisationString("why_noAnswer")
                                                            : failureReason(result.output, ""));
}

}  // namespace

void CodecSurvey::begin(const Known& known) {
  if (recallCodecListing()) {
    takeInventory();
    known(std::nullopt);
    return;
  }
  const auto asked =
      run_.start(codecListingCommand(), quickQuestion, [known](const ToolResult& result) {
        if (result.isOverdue || result.status != 0 || !takeCodecListing(result.output)) {
          known(problemOf(result));
          return;
        }
        takeInventory();
        known(std::nullopt);
      });
  if (!asked)
    known(unusable(whyNotStarted(codecListingCommand().front(), asked.reason())));
}

}  // namespace tessarin
