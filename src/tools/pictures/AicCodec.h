// Apple Intermediate Codec as a codec of movies.
#pragma once

#include "tools/aic/aicEncoder.h"
#include "tools/pictures/PictureCodec.h"

namespace tessarin::pictures {

struct AicSettings {
  int threads = 0;  // 0: one per core
  int quantiser = aic::shippedQuantiser;
  int kilobitsPerSecond = 0;  // 0: the quantiser counts
};

class AicCodec : public PictureCodec {
 public:
  explicit AicCodec(const AicSettings& settings) : settings_(settings) {}

  yuv4mpeg::Accepted accepted() const override { return yuv4mpeg::Accepted::only8Bits420; }
  void name(quicktime::VideoFormat& format) const override;
  Outcome<std::unique_ptr<PictureEncoder>> encoderFor(const yuv4mpeg::Header& stream,
                                                      quicktime::FieldOrder order,
                                                      const PictureColours& colours) const override;

 private:
  AicSettings settings_;
};

}  // namespace tessarin::pictures
