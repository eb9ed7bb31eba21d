// Frames of a YUV4MPEG2 stream, read while others are worked on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/streams/Prefetcher.h"
#include "tools/streams/yuv4mpeg.h"

namespace tessarin::yuv4mpeg {

class FrameQueue {
 public:
  // The reader, whose header was read, is borrowed.
  FrameQueue(Reader& reader, const Header& header);

  // The planes of the next frame, as Reader::readFrame() has them, good until the following call.
  // Nothing at the end of the stream and where it cannot be read, which failure() tells then.
  std::optional<std::span<const std::uint8_t>> next();
  const std::optional<std::string>& failure() const { return failure_; }

 private:
  std::optional<std::string> failure_;
  streams::Prefetcher<std::vector<std::uint8_t>> frames_;
};

}  // namespace tessarin::yuv4mpeg
