// What the programs share that encode a stream from a pipe: they differ in the codec's options.
#pragma once

#include <cerrno>
#include <string>

#include "classShared/TextAdditions.h"
#include "platform/openFiles.h"
#include "tools/pictures/encodeStream.h"
#include "tools/toolMain.h"

namespace tessarin::pictures {

struct StreamUse {
  StreamJob job;
  std::string input;  // "-" for standard input
  int threads = 0;    // 0: one per core
};

inline void declareStream(CLI::App& options, StreamUse& use) {
  use.input = "-";
  options.add_option("-t", use.threads, "threads; 0: one per core")
      ->check(CLI::Range(0, 256))
      ->capture_default_str();
  options.add_option("-o", use.job.output, "the movie; an existing one is replaced")->required();
  options.add_option("input", use.input, "file with the stream; -: standard input")
      ->capture_default_str();
}

inline Outcome<bool> encodeUse(StreamUse& use, const PictureCodec& codec) {
  if (use.input != "-") {
    use.job.input = openFile(use.input, OpenFor::streaming).release();
    if (use.job.input < 0)
      return Failure{use.input + " cannot be read: " + systemReason(errno)};
  }
  const Outcome<std::size_t> frames = encodeStream(use.job, codec);
  if (!frames)
    return Failure{frames.reason()};
  return true;
}

}  // namespace tessarin::pictures
