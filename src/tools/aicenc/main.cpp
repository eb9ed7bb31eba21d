// aicenc: encodes a YUV4MPEG2 stream as Apple Intermediate Codec into a QuickTime movie.
//
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why), 2 wrong
// use.
#include <fcntl.h>

#include <cerrno>
#include <string>

#include "tools/aicenc/encodeStream.h"
#include "tools/toolMain.h"

int main(int count, char** values) {
  using namespace tessarin;
  CLI::App options(
      "Encodes a YUV4MPEG2 stream (8 bits 4:2:0) as Apple Intermediate Codec into a QuickTime "
      "movie.",
      "aicenc");
  aicenc::Job job;
  std::string input = "-";
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
  options.add_option("input", input, "file with the stream; -: standard input")
      ->capture_default_str();
  return toolMain(options, count, values, [&]() -> Outcome<bool> {
    if (input != "-") {
      job.input = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
      if (job.input < 0)
        return Failure{input + " cannot be read: " + systemReason(errno)};
    }
    const Outcome<std::size_t> frames = aicenc::encodeStream(job);
    if (!frames)
      return Failure{frames.reason()};
    return true;
  });
}
