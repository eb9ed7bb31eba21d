#include "tools/streams/FrameQueue.h"

namespace tessarin::yuv4mpeg {

namespace {

constexpr std::size_t depth = 3;

}  // namespace

FrameQueue::FrameQueue(Reader& reader, const Header& header)
    : frames_(depth, [this, &reader, size = header.frameSize()](std::vector<std::uint8_t>& frame) {
        frame.resize(size);
        const Outcome<bool> read = reader.readFrame(frame);
        if (!read)
          failure_ = read.reason();
        return read && read.value();
      }) {}

std::optional<std::span<const std::uint8_t>> FrameQueue::next() {
  const std::vector<std::uint8_t>* frame = frames_.next();
  if (frame == nullptr)
    return std::nullopt;
  return std::span(*frame);
}

}  // namespace tessarin::yuv4mpeg
