// The WAVE stream that ffmpeg writes into a pipe: a header, then 16-bit PCM to the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "classShared/Outcome.h"
#include "tools/quicktime/movieHeader.h"
#include "tools/streams/ByteSource.h"

namespace tessarin::wav {

// Reads a stream from a descriptor, which is borrowed.
class Reader {
 public:
  explicit Reader(int descriptor) : source_(descriptor) {}

  // First. Nothing when the stream is empty: there is no sound.
  Outcome<std::optional<quicktime::SoundFormat>> readHeader();
  // Then the samples. Fewer bytes than asked for only at the end of the stream. The length that the
  // header claims is not read, for who writes into a pipe does not know it.
  Outcome<std::size_t> read(std::span<std::uint8_t> target) { return source_.read(target); }

 private:
  streams::ByteSource source_;
};

}  // namespace tessarin::wav
