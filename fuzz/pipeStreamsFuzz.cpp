// The streams of pictures and of sound that come through pipes, and the pictures of an analysis.
#include <vector>

#include "Input.h"
#include "analysis/fieldOrder.h"
#include "analysis/framePictures.h"
#include "tools/streams/FrameQueue.h"
#include "tools/streams/wav.h"
#include "tools/streams/yuv4mpeg.h"

using namespace tessarin;

namespace {

void readPictures(std::string_view bytes, yuv4mpeg::Accepted accepted) {
  const fuzz::InputFile file(bytes);
  yuv4mpeg::Reader reader(file.descriptor());
  const auto header = reader.readHeader(accepted);
  // Nobody makes room for a frame that is much larger than the stream.
  if (!header || header->frameSize() > bytes.size())
    return;
  yuv4mpeg::FrameQueue frames(reader, header.value());
  while (const auto frame = frames.next())
    fuzz::require(frame->size() == header->frameSize());
  fuzz::require(!frames.failure() || !frames.failure()->empty());
}

void readSound(std::string_view bytes) {
  const fuzz::InputFile file(bytes);
  wav::Reader reader(file.descriptor());
  const auto header = reader.readHeader();
  if (!header || !header.value())
    return;
  std::vector<std::uint8_t> samples(1024);
  for (auto read = reader.read(samples); read && read.value() == samples.size();)
    read = reader.read(samples);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  readPictures(bytes, yuv4mpeg::Accepted::upTo10Bits);
  readPictures(bytes, yuv4mpeg::Accepted::only8Bits420);
  readSound(bytes);
  const fuzz::InputFile file(bytes);
  FramePictureReader frames(file.path());
  while (frames.readNext()) {
  }
  if (const auto pictures = frames.take()) {
    fuzz::require(pictures->width > 0 && pictures->height > 0);
    fuzz::require(pictures->motion.top + pictures->motion.bottom <= pictures->motion.changes);
    FieldClues clues;
    clues.firstPicture = pictures->order;
    clues.motion = pictures->motion;
    weighFieldOrder(clues);
  }
  return 0;
}
