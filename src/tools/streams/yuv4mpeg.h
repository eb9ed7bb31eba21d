// The YUV4MPEG2 stream that mjpegtools and ffmpeg pass pictures through pipes with: a header line,
// then for each frame a line and the planes. Only television's range is taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "classShared/Outcome.h"
#include "tools/blocks/Sampling.h"
#include "tools/quicktime/movieHeader.h"
#include "tools/streams/ByteSource.h"

namespace tessarin::yuv4mpeg {

// Which pixels a program can do something with.
enum class Accepted { only8Bits420, upTo10Bits };

struct Header {
  int width = 0;
  int height = 0;
  quicktime::Fraction frameRate = {25, 1};
  quicktime::Fraction pixelAspect = {1, 1};  // square where the stream does not say
  quicktime::FieldOrder fieldOrder = quicktime::FieldOrder::progressive;
  blocks::Sampling sampling = blocks::Sampling::yuv420;
  int bits = 8;  // 8: a byte for each sample; 10: two, the low one first
  // Lines of 4:2:0 chroma lie on every second line of luma, not between two of them.
  bool chromaOnLines = false;

  std::size_t lumaStride() const;    // bytes
  std::size_t chromaStride() const;  // bytes
  std::size_t lumaSize() const;      // bytes
  std::size_t chromaSize() const;    // bytes of one plane
  std::size_t frameSize() const { return lumaSize() + 2 * chromaSize(); }
};

// The reason of a stream without a single byte.
inline constexpr const char* emptyStream = "the stream is empty";

// Understands the stream's first line, without its line end.
Outcome<Header> parseHeader(std::string_view line, Accepted accepted);

// Reads a stream from a descriptor, which is borrowed.
class Reader {
 public:
  explicit Reader(int descriptor) : source_(descriptor) {}

  // First.
  Outcome<Header> readHeader(Accepted accepted);
  // Then each frame: luma, blue and red chroma, each without gaps, into frameSize() bytes. False
  // at the end of the stream.
  Outcome<bool> readFrame(std::span<std::uint8_t> frame);

 private:
  streams::ByteSource source_;
  std::uint64_t frames_ = 0;
};

}  // namespace tessarin::yuv4mpeg
