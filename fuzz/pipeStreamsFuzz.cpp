// The streams of pictures and of sound that come through pipes.
#include <vector>

#include "InputFile.h"
#include "tools/streams/wav.h"
#include "tools/streams/yuv4mpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarin;
  {
    const fuzz::InputFile file(data, size);
    yuv4mpeg::Reader reader(file.descriptor());
    const auto header = reader.readHeader(yuv4mpeg::Accepted::upTo10Bits);
    // Nobody makes room for a frame that is much larger than the stream.
    if (header && header.value().frameSize() < 1 << 20) {
      std::vector<std::uint8_t> frame(header.value().frameSize());
      for (auto read = reader.readFrame(frame); read && read.value();)
        read = reader.readFrame(frame);
    }
  }
  const fuzz::InputFile file(data, size);
  wav::Reader reader(file.descriptor());
  const auto header = reader.readHeader();
  if (header && header.value()) {
    std::vector<std::uint8_t> samples(1024);
    for (auto read = reader.read(samples); read && read.value() == samples.size();)
      read = reader.read(samples);
  }
  return 0;
}
