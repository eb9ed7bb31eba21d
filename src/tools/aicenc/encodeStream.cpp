#include "tools/aicenc/encodeStream.h"

#include "tools/quicktime/InterruptGuard.h"
#include "tools/quicktime/MovieWriter.h"
#include "tools/streams/FrameQueue.h"

namespace tessarin::aicenc {

namespace {

aic::EncoderSettings encoderSettings(const Job& job, const yuv4mpeg::Header& header) {
  aic::EncoderSettings settings;
  settings.threads = job.threads;
  settings.quantiser = job.quantiser;
  const double framesPerSecond = static_cast<double>(header.frameRate.numerator) /
                                 static_cast<double>(header.frameRate.denominator);
  settings.bytesPerFrame =
      static_cast<std::size_t>(job.kilobitsPerSecond * 1000.0 / 8 / framesPerSecond);
  return settings;
}

quicktime::VideoFormat videoFormat(const yuv4mpeg::Header& header) {
  quicktime::VideoFormat format;
  format.width = header.width;
  format.height = header.height;
  format.frameRate = header.frameRate;
  format.pixelAspect = header.pixelAspect;
  format.fieldOrder = header.fieldOrder;
  format.colours = usualColours(header.width, header.height,
                                static_cast<double>(header.frameRate.numerator) /
                                    static_cast<double>(header.frameRate.denominator));
  return format;
}

}  // namespace

Outcome<std::size_t> encodeStream(const Job& job) {
  yuv4mpeg::Reader reader(job.input);
  const Outcome<yuv4mpeg::Header> header = reader.readHeader(yuv4mpeg::Accepted::only8Bits420);
  if (!header)
    return Failure{header.reason()};
  const yuv4mpeg::Header& stream = header.value();
  const bool interlaced = stream.fieldOrder != quicktime::FieldOrder::progressive;
  const aic::PictureFormat picture = {stream.width, stream.height, interlaced};
  if (const auto problem = aic::formatProblem(picture))
    return Failure{*problem};

  Outcome<quicktime::MovieWriter> movie =
      quicktime::MovieWriter::create(job.output, videoFormat(stream));
  if (!movie)
    return Failure{movie.reason()};
  const quicktime::InterruptGuard guard(movie->file().temporaryName());

  aic::Encoder encoder(picture, encoderSettings(job, stream));
  yuv4mpeg::FrameQueue frames(reader, stream);
  while (const auto bytes = frames.next()) {
    const std::uint8_t* frame = bytes->data();
    const std::uint8_t* blueChroma = frame + stream.lumaSize();
    const aic::Picture planes = {frame, blueChroma, blueChroma + stream.chromaSize(), stream.width,
                                 (stream.width + 1) / 2};
    if (!movie->addFrame(encoder.encode(planes)))
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

}  // namespace tessarin::aicenc
