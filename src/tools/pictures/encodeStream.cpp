#include "tools/pictures/encodeStream.h"

#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/streams/FrameQueue.h"

namespace tessarin::pictures {

namespace {

quicktime::VideoFormat videoFormat(const yuv4mpeg::Header& stream, const PictureColours& colours,
                                   const PictureCodec& codec) {
  quicktime::VideoFormat format;
  codec.name(format);
  format.width = stream.width;
  format.height = stream.height;
  format.frameRate = stream.frameRate;
  format.pixelAspect = stream.pixelAspect;
  format.fieldOrder = stream.fieldOrder;
  format.colours = colours;
  return format;
}

}  // namespace

Outcome<std::size_t> encodeStream(const StreamJob& job, const PictureCodec& codec) {
  yuv4mpeg::Reader reader(job.input);
  const Outcome<yuv4mpeg::Header> header = reader.readHeader(codec.accepted());
  if (!header)
    return Failure{header.reason()};
  const yuv4mpeg::Header& stream = header.value();
  const PictureColours colours = job.colours.value_or(
      usualColours(stream.width, stream.height, quicktime::perSecond(stream.frameRate)));
  const auto encoder = codec.encoderFor(stream, stream.fieldOrder, colours);
  if (!encoder)
    return Failure{encoder.reason()};

  Outcome<quicktime::MovieWriter> movie =
      quicktime::MovieWriter::create(job.output, videoFormat(stream, colours, codec));
  if (!movie)
    return Failure{movie.reason()};
  const quicktime::InterruptGuard guard(movie->file().temporaryName());

  yuv4mpeg::FrameQueue frames(reader, stream);
  while (const auto frame = frames.next()) {
    if (!movie->addFrame(encoder.value()->encode(*frame)))
      return Failure{movie->failure()};
  }
  if (frames.failure())
    return Failure{*frames.failure()};
  if (movie->frameCount() == 0)
    return Failure{"the stream has no frames"};
  const Outcome<bool> finished = movie->finish(true);
  if (!finished)
    return Failure{finished.reason()};
  return movie->frameCount();
}

}  // namespace tessarin::pictures
