// aicenc: encodes a YUV4MPEG2 stream as Apple Intermediate Codec into a QuickTime movie.
//
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why), 2 wrong
// use.
#include "tools/pictures/AicCodec.h"
#include "tools/pictures/streamTool.h"

namespace {

using namespace tessarin;

void declare(CLI::App& options, pictures::AicSettings& settings, pictures::StreamUse& use) {
  auto* quantiser = options.add_option("-q", settings.quantiser, "quantiser, 1 (best) to 255")
                        ->check(CLI::Range(aic::smallestQuantiser, aic::largestQuantiser))
                        ->capture_default_str();
  options.add_option("-b", settings.kilobitsPerSecond, "kilobits per second to come to on average")
      ->check(CLI::Range(1, 10'000'000))
      ->excludes(quantiser);
  pictures::declareStream(options, use);
}

Outcome<bool> encode(pictures::AicSettings settings, pictures::StreamUse& use) {
  settings.threads = use.threads;
  return pictures::encodeUse(use, pictures::AicCodec(settings));
}

}  // namespace

int main(int count, char** values) {
  pictures::StreamUse use;
  pictures::AicSettings settings;
  return toolMain(
      "aicenc",
      "Encodes a YUV4MPEG2 stream (8 bits 4:2:0) as Apple Intermediate Codec into a QuickTime "
      "movie.",
      count, values, [&](CLI::App& options) { declare(options, settings, use); },
      [&] { return encode(settings, use); });
}
