#include "tools/pictures/ProresCodec.h"

#include <string>

namespace tessarin::pictures {

namespace {

prores::FieldOrder fieldOrder(quicktime::FieldOrder order) {
  switch (order) {
    case quicktime::FieldOrder::topFirst:
      return prores::FieldOrder::topFirst;
    case quicktime::FieldOrder::bottomFirst:
      return prores::FieldOrder::bottomFirst;
    case quicktime::FieldOrder::progressive:
      break;
  }
  return prores::FieldOrder::progressive;
}

prores::PictureFormat pictureFormat(const yuv4mpeg::Header& stream, quicktime::FieldOrder order,
                                    const PictureColours& colours) {
  prores::PictureFormat format;
  format.width = stream.width;
  format.height = stream.height;
  format.fieldOrder = fieldOrder(order);
  format.oneLineUp = order == quicktime::FieldOrder::topFirst &&
                     stream.fieldOrder == quicktime::FieldOrder::bottomFirst;
  format.sampling = stream.sampling;
  format.bits = stream.bits;
  format.chromaOnLines = stream.chromaOnLines;
  const ColourNumbers numbers = colourNumbers(coloursInProres(colours));
  format.primaries = numbers.primaries;
  format.transfer = numbers.transfer;
  format.matrix = numbers.matrix;
  return format;
}

class ProresPictures : public PictureEncoder {
 public:
  ProresPictures(const prores::PictureFormat& format, const prores::EncoderSettings& settings,
                 const yuv4mpeg::Header& stream)
      : stream_(stream), encoder_(format, settings) {}

  std::span<const std::uint8_t> encode(std::span<const std::uint8_t> frame) override {
    const std::uint8_t* luma = frame.data();
    const std::uint8_t* chroma = luma + stream_.lumaSize();
    const auto lumaStride = static_cast<std::ptrdiff_t>(stream_.lumaStride());
    const auto chromaStride = static_cast<std::ptrdiff_t>(stream_.chromaStride());
    return encoder_.encode(
        {{luma, chroma, chroma + stream_.chromaSize()}, {lumaStride, chromaStride, chromaStride}});
  }

 private:
  yuv4mpeg::Header stream_;
  prores::Encoder encoder_;
};

}  // namespace

ProresCodec::ProresCodec(const ProresFlavour& flavour, const prores::EncoderSettings& settings)
    : flavour_(flavour), settings_(settings) {
  settings_.flavour = static_cast<prores::Flavour>(flavour.profile);
}

void ProresCodec::name(quicktime::VideoFormat& format) const {
  format.codec = flavour_.code;
  format.codecName = "Apple " + std::string(flavour_.title);
}

Outcome<std::unique_ptr<PictureEncoder>> ProresCodec::encoderFor(
    const yuv4mpeg::Header& stream, quicktime::FieldOrder order,
    const PictureColours& colours) const {
  const prores::PictureFormat format = pictureFormat(stream, order, colours);
  if (const auto problem = prores::formatProblem(format, settings_.flavour))
    return Failure{*problem};
  return std::unique_ptr<PictureEncoder>(
      std::make_unique<ProresPictures>(format, settings_, stream));
}

}  // namespace tessarin::pictures
