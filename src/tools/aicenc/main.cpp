// aicenc: encodes a YUV4MPEG2 stream as Apple Intermediate Codec into a QuickTime movie.
//
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why), 2 wrong
// use.
#include <fcntl.h>

#include <cerrno>
#include <string>

#include "tools/aicenc/encodeStream.h"
#include "tools/toolMain.h"

namespace tessarin::aicenc {

namespace {

struct Use {
  Job job;
  std::string input;  // "-" for standard input
};

void declare(CLI::App& options, Use& use) {
  Job& job = use.job;
  use.input = "-";
  auto* quantiser = options.add_option("-q", job.quantiser, "quantiser, 1 (best) to 255")
                        ->check(CLI::Range(aic::smallestQuantiser, aic::largestQuantiser))
                        ->capture_default_str();
  options.add_option("-b", job.kilobitsPerSecond, "kilobits per second to come to on average")
      ->check(CLI::Range(1, 10'000'000))
      ->excludes(quantiser);
  options.add_option("-t", job.threads, "threads; 0: one per core")
      ->check(CLI::Range(0, 256))
      ->capture_default_str();
  options.add_option("-o", job.output, "the movie; an existing one is replaced")->required();
  options.add_option("input", use.input, "file with the stream; -: standard input")
      ->capture_default_str();
}

Outcome<bool> encode(Use& use) {
  if (use.input != "-") {
    use.job.input = ::open(use.input.c_str(), O_RDONLY | O_CLOEXEC);
    if (use.job.input < 0)
      return Failure{use.input + " cannot be read: " + systemReason(errno)};
  }
  const Outcome<std::size_t> frames = encodeStream(use.job);
  if (!frames)
    return Failure{frames.reason()};
  return true;
}

}  // namespace

}  // namespace tessarin::aicenc

int main(int count, char** values) {
  using namespace tessarin;
  aicenc::Use use;
  return toolMain(
      "aicenc",
      "Encodes a YUV4MPEG2 stream (8 bits 4:2:0) as Apple Intermediate Codec into a QuickTime "
      "movie.",
      count, values, [&use](CLI::App& options) { aicenc::declare(options, use); },
      [&use] { return aicenc::encode(use); });
}
