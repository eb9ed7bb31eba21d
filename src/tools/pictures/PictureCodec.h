// What a movie's pictures can be made in: one interface for whoever has pictures from a pipe.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "classShared/Outcome.h"
#include "ffmpeg/pictureColours.h"
#include "tools/quicktime/movieHeader.h"
#include "tools/streams/yuv4mpeg.h"

namespace tessarin::pictures {

// Encodes the pictures of one stream, one call after another.
class PictureEncoder {
 public:
  PictureEncoder() = default;
  virtual ~PictureEncoder() = default;
  PictureEncoder(const PictureEncoder&) = delete;
  PictureEncoder& operator=(const PictureEncoder&) = delete;

  // `frame` as yuv4mpeg::Reader::readFrame() has it. The bytes are good until the next call.
  virtual std::span<const std::uint8_t> encode(std::span<const std::uint8_t> frame) = 0;
};

class PictureCodec {
 public:
  PictureCodec() = default;
  virtual ~PictureCodec() = default;
  PictureCodec(const PictureCodec&) = delete;
  PictureCodec& operator=(const PictureCodec&) = delete;

  virtual yuv4mpeg::Accepted accepted() const = 0;
  // Says in the movie's format what its pictures are made in.
  virtual void name(quicktime::VideoFormat& format) const = 0;
  // For the pictures of this stream, in a movie of this field order and these colours. A reason
  // when they cannot be encoded so.
  virtual Outcome<std::unique_ptr<PictureEncoder>> encoderFor(
      const yuv4mpeg::Header& stream, quicktime::FieldOrder order,
      const PictureColours& colours) const = 0;
};

}  // namespace tessarin::pictures
