// Encoder for the Apple Intermediate Codec ("icod" in QuickTime): 8 bits, 4:2:0, every frame a
// key frame. Knows nothing of files; the caller hands over planes and gets the frame's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace tessarin::aic {

// The quantiser that the export settings use. 2 keeps noisy material above 45 dB PSNR; 4, which
// the codec's own maker used, falls to about 41 dB there.
inline constexpr int shippedQuantiser = 2;
inline constexpr int smallestQuantiser = 1;
inline constexpr int largestQuantiser = 255;
inline constexpr int largestSide = 16384;

struct PictureFormat {
  int width = 0;            // luma pixels; chroma planes have half of it, rounded up
  int height = 0;           // luma lines; chroma planes have half of it, rounded up
  bool interlaced = false;  // the lines of two fields, transformed field by field
};

// Samples of a picture, borrowed from the caller. Strides are the distances of two lines in bytes
// and may be negative.
struct Picture {
  const std::uint8_t* luma = nullptr;
  const std::uint8_t* blueChroma = nullptr;
  const std::uint8_t* redChroma = nullptr;
  std::ptrdiff_t lumaStride = 0;
  std::ptrdiff_t chromaStride = 0;  // of both chroma planes
};

struct EncoderSettings {
  // Number of threads that work on a frame, the caller's included; 0: one per core.
  int threads = 0;
  // 1 (best) to 255; where a bit rate is asked for, the quantiser of the first try.
  int quantiser = shippedQuantiser;
  // Wanted size of a frame in bytes; 0 keeps the quantiser. Single frames may be larger, the mean
  // over a second is not unless the coarsest quantiser is reached.
  std::size_t bytesPerFrame = 0;
  // Leaves the processor's vector instructions alone. The bytes are the same either way.
  bool portable = false;
};

// Why frames of this format cannot be encoded, in words for the user; nothing when they can.
std::optional<std::string> formatProblem(const PictureFormat& format);

// Encodes pictures of one format. Calls have to come one after another; each spreads its work over
// the settings' threads and returns when the frame is done.
class Encoder {
 public:
  // `format` must have no problem.
  Encoder(const PictureFormat& format, const EncoderSettings& settings);
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  // The frame's bytes, valid until the next call.
  std::span<const std::uint8_t> encode(const Picture& picture);

  // The quantiser of the last frame, or of the first before there is one.
  int quantiser() const;

 private:
  class Work;
  std::unique_ptr<Work> work_;
};

}  // namespace tessarin::aic
