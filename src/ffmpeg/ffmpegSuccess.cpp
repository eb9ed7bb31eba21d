#include "ffmpeg/ffmpegSuccess.h"

#include <algorithm>
#include <array>
#include <string>

#include "classShared/log.h"
#include "ffmpeg/reportText.h"

namespace tessarin {

namespace {

// In small letters; the misspelling is the tool's own.
constexpr std::array<std::string_view, 8> failurePhrases = {"unknown format",
                                                            "unsupported video codec",
                                                            "could not find codec parameters",
                                                            "operation not permitted",
                                                            "error ",
                                                            "i/o error occured",
                                                            "error reading header:",
                                                            "error while opening file"};

// At least as long as the longest phrase.
constexpr std::size_t overlap = 64;
constexpr std::size_t windowSize = std::size_t{64} * 1024;

bool tellsOfFailure(std::string_view output) {
  // Small pieces that overlap, so that a long report is not copied as a whole.
  std::string window;
  for (std::size_t start = 0; start < output.size(); start += windowSize - overlap) {
    window.assign(output.substr(start, windowSize));
    std::transform(window.begin(), window.end(), window.begin(), [](char letter) {
      return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
    });
    for (const std::string_view phrase : failurePhrases)
      if (findText(window, phrase) != std::string_view::npos)
        return true;
  }
  return false;
}

}  // namespace

bool isFfmpegSuccess(std::string_view output) {
  const bool success = !output.empty() && !tellsOfFailure(output);
  logLine(success ? "isFfmpegSuccess     :-)" : "isFfmpegSuccess     :-(");
  return success;
}

}  // namespace tessarin
