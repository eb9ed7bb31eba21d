// ProRes as a codec of movies.
#pragma once

#include "ffmpeg/proresFlavours.h"
#include "tools/pictures/PictureCodec.h"
#include "tools/prores/proresEncoder.h"

namespace tessarin::pictures {

class ProresCodec : public PictureCodec {
 public:
  // The flavour is one of the table's; that of the settings does not count.
  ProresCodec(const ProresFlavour& flavour, const prores::EncoderSettings& settings);

  yuv4mpeg::Accepted accepted() const override { return yuv4mpeg::Accepted::upTo10Bits; }
  void name(quicktime::VideoFormat& format) const override;
  Outcome<std::unique_ptr<PictureEncoder>> encoderFor(const yuv4mpeg::Header& stream,
                                                      quicktime::FieldOrder order,
                                                      const PictureColours& colours) const override;

 private:
  const ProresFlavour& flavour_;
  prores::EncoderSettings settings_;
};

}  // namespace tessarin::pictures
