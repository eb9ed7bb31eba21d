// The YUV4MPEG2 stream that mjpegtools and ffmpeg pass pictures through pipes with: a header line,
// then for each frame a line and the planes. Only 8 bits 4:2:0 of
// television's range is taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "classShared/Outcome.h"
#include "tools/quicktime/movieHeader.h"
#include "tools/streams/ByteSource.h"

namespace tessarin::yuv4mpeg {

struct Header {
  int width = 0;
  int height = 0;
  quicktime::Fraction frameRate = {25, 1};
  quicktime::Fraction pixelAspect = {1, 1};  // square where the stream does not say
  quicktime::FieldOrder fieldOrder = quicktime::FieldOrder::progressive;

  std::size_t lumaSize() const;
  std::size_t chromaSize() const;  // of one plane
  std::size_t frameSize() const { return lumaSize() + 2 * chromaSize(); }
};

// The reason of a stream without a single byte.
inline constexpr const char* emptyStream = "the stream is empty";

// Understands the stream's first line, without its line end.
Outcome<Header> parseHeader(std::string_view line);

// Reads a stream from a descriptor, which is borrowed.
class Reader {
 public:
  explicit Reader(int descriptor) : source_(descriptor) {}

  // First.
  Outcome<Header> readHeader();
  // Then each frame: luma, blue and red chroma, each without gaps, into frameSize() bytes. False
  // at the end of the stream.
  Outcome<bool> readFrame(std::span<std::uint8_t> frame);

 private:
  streams::ByteSource source_;
  std::uint64_t frames_ = 0;
};

}  // namespace tessarin::yuv4mpeg
