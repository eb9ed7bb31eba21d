#include "tools/pictures/AicCodec.h"

namespace tessarin::pictures {

namespace {

aic::PictureFormat pictureFormat(const yuv4mpeg::Header& stream, quicktime::FieldOrder order) {
  return {stream.width, stream.height, order != quicktime::FieldOrder::progressive};
}

aic::EncoderSettings encoderSettings(const AicSettings& settings, const yuv4mpeg::Header& stream) {
  aic::EncoderSettings own;
  own.threads = settings.threads;
  own.quantiser = settings.quantiser;
  own.bytesPerFrame = static_cast<std::size_t>(settings.kilobitsPerSecond * 1000.0 / 8 /
                                               quicktime::perSecond(stream.frameRate));
  return own;
}

class AicPictures : public PictureEncoder {
 public:
  AicPictures(const AicSettings& settings, const yuv4mpeg::Header& stream,
              quicktime::FieldOrder order)
      : stream_(stream),
        encoder_(pictureFormat(stream, order), encoderSettings(settings, stream)) {}

  std::span<const std::uint8_t> encode(std::span<const std::uint8_t> frame) override {
    const std::uint8_t* luma = frame.data();
    const std::uint8_t* chroma = luma + stream_.lumaSize();
    return encoder_.encode({luma, chroma, chroma + stream_.chromaSize(),
                            static_cast<std::ptrdiff_t>(stream_.lumaStride()),
                            static_cast<std::ptrdiff_t>(stream_.chromaStride())});
  }

 private:
  yuv4mpeg::Header stream_;
  aic::Encoder encoder_;
};

}  // namespace

void AicCodec::name(quicktime::VideoFormat& format) const {
  format.codec = "icod";
  format.codecName = "Apple Intermediate Codec";
}

Outcome<std::unique_ptr<PictureEncoder>> AicCodec::encoderFor(
    const yuv4mpeg::Header& stream, quicktime::FieldOrder order,
    const PictureColours& /*colours*/) const {
  if (const auto problem = aic::formatProblem(pictureFormat(stream, order)))
    return Failure{*problem};
  return std::unique_ptr<PictureEncoder>(std::make_unique<AicPictures>(settings_, stream, order));
}

}  // namespace tessarin::pictures
