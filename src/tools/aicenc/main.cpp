// aicenc: encodes a YUV4MPEG2 stream as Apple Intermediate Codec into a QuickTime movie.
//
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why), 2 wrong
// use.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "tools/aicenc/encodeStream.h"

namespace {

using namespace tessarin;

int complain(int status, const std::string& what) {
  std::fprintf(stderr, "aicenc: %s\n", what.c_str());
  return status;
}

int run(int count, char** values) {
  CLI::App options(
      "Encodes a YUV4MPEG2 stream (8 bits 4:2:0) as Apple Intermediate Codec into a QuickTime "
      "movie.");
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
  try {
    options.parse(count, values);
  } catch (const CLI::CallForHelp& help) {
    return options.exit(help);
  } catch (const CLI::ParseError& error) {
    return complain(2, std::string(error.what()) + " (aicenc --help says more)");
  }

  if (input != "-") {
    job.input = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
    if (job.input < 0)
      return complain(1, input + " cannot be read: " + systemReason(errno));
  }
  const Outcome<std::size_t> frames = aicenc::encodeStream(job);
  if (!frames)
    return complain(1, frames.reason());
  return 0;
}

}  // namespace

int main(int count, char** values) {
  // A write beyond the limit of a file's size then fails with a reason.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return run(count, values);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "aicenc: %s\n", exception.what());  // no memory left
    return 1;
  }
}
