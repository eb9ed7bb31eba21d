// Encoder for ProRes: 10 bits, 4:2:2 or 4:4:4, every frame a key frame. Knows nothing of files; the
// caller hands over planes and gets the frame's bytes. The bitstream is that of SMPTE RDD 36.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "tools/blocks/Sampling.h"

namespace tessarin::prores {

inline constexpr int largestSide = 8192;

// Numbered as ProresFlavour::profile.
enum class Flavour { proxy, lt, standard, hq, full4444 };

// What the flavour stands for at this size, in bytes a frame: the mean that its makers name, in
// proportion to the macroblocks.
std::size_t nominalFrameSize(Flavour flavour, int width, int height);

enum class FieldOrder { progressive, topFirst, bottomFirst };

// What the samples of the caller are like. 4444 is made of 4:4:4; the other flavours of 4:2:2, or
// of 4:2:0, which is brought to 4:2:2 here, field by field where there are fields.
struct PictureFormat {
  int width = 0;   // luma pixels
  int height = 0;  // luma lines
  FieldOrder fieldOrder = FieldOrder::progressive;
  blocks::Sampling sampling = blocks::Sampling::yuv420;
  int bits = 8;  // 8: a byte for each sample; 10: two, the low one first
  // Lines of 4:2:0 chroma lie on every second line of luma (DV), not between two of them.
  bool chromaOnLines = false;
  // For pictures whose bottom field comes first: they move up by one line (the last one stays), so
  // that `fieldOrder`, which is topFirst, becomes true.
  bool oneLineUp = false;
  // As in ITU-T H.273; 2 is unknown.
  int primaries = 2;
  int transfer = 2;
  int matrix = 2;
};

// Samples of a picture, borrowed from the caller: luma, blue and red chroma. Strides are the
// distances of two lines in bytes and may be negative.
struct Picture {
  const std::uint8_t* planes[3] = {};
  std::ptrdiff_t strides[3] = {};
};

struct EncoderSettings {
  Flavour flavour = Flavour::standard;
  // Number of threads that work on a frame, the caller's included; 0: one per core.
  int threads = 0;
  // The same quantisation for all frames, 1 (best) to 224. 0: as fine as the flavour's size allows.
  // The mean of all frames so far is never above the nominal size then, and no frame more than a
  // tenth, unless the coarsest quantisation is reached; pictures that are easy take less.
  int index = 0;
  // Leaves the processor's vector instructions alone. The bytes are the same either way.
  bool portable = false;
};

// Why frames of this format cannot be encoded so, in words for the user; nothing when they can.
std::optional<std::string> formatProblem(const PictureFormat& format, Flavour flavour);

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

 private:
  class Work;
  std::unique_ptr<Work> work_;
};

}  // namespace tessarin::prores
