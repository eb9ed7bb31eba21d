#include "tools/aic/aicEncoder.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

#include "tools/aic/RateControl.h"
#include "tools/aic/sliceCoder.h"
#include "tools/blocks/WorkerPool.h"
#include "tools/blocks/bytes.h"

namespace tessarin::aic {

namespace {

using blocks::putBigEndian;

constexpr int macroblockSide = 16;
constexpr std::size_t headerSize = 24;

// How a row of macroblocks is cut: into equal slices of at most 32 where that is possible.
int sliceWidth(int macroblocks) {
  for (int slices = 1; slices < macroblocks; ++slices) {
    if (macroblocks % slices == 0 && macroblocks / slices <= largestSlice)
      return macroblocks / slices;
  }
  return largestSlice / 2;
}

// One plane of the picture and what of it a slice takes.
struct PlaneView {
  const std::uint8_t* samples = nullptr;
  std::ptrdiff_t stride = 0;
  int width = 0;
  int height = 0;
  int side = 0;  // of a macroblock
};

// Copies a part that reaches beyond the plane: its last samples go on to the right and below.
void copyPadded(const PlaneView& plane, int x, int y, int width, std::uint8_t* to) {
  const int inside = std::min(width, plane.width - x);
  for (int line = 0; line < plane.side; ++line) {
    const std::uint8_t* from = plane.samples + std::min(y + line, plane.height - 1) * plane.stride;
    std::memcpy(to, from + x, static_cast<std::size_t>(inside));
    std::memset(to + inside, from[plane.width - 1], static_cast<std::size_t>(width - inside));
    to += width;
  }
}

}  // namespace

std::optional<std::string> formatProblem(const PictureFormat& format) {
  if (format.width < 1 || format.height < 1)
    return "the picture has no size";
  if (format.width > largestSide || format.height > largestSide)
    return "the picture is larger than " + std::to_string(largestSide) + " pixels";
  return std::nullopt;
}

class Encoder::Work {
 public:
  Work(const PictureFormat& format, const EncoderSettings& settings);

  std::span<const std::uint8_t> encode(const Picture& picture);
  int quantiser() const { return usedQuantiser_; }

 private:
  // What one thread needs for itself.
  struct Desk {
    SliceMemory memory = {};
    std::vector<std::uint8_t> padded;  // samples of a slice that reaches beyond the picture
    std::vector<std::uint8_t> bytes;   // its slices of this frame, one after another
    std::size_t used = 0;
  };
  struct Slice {
    int desk = 0;
    std::size_t at = 0;
    std::size_t size = 0;
  };

  void encodeSlices(const Picture& picture);
  void encodeSlice(const Picture& picture, int slice, int desk);
  SliceSource sliceSource(const Picture& picture, int slice,
                          std::vector<std::uint8_t>& padded) const;
  void assemble();

  PictureFormat format_;
  int macroblocks_;  // in a row
  int rows_;
  int sliceWidth_;  // macroblocks
  int slicesPerRow_;
  CodeSlice codeSlice_;
  RateControl rate_;
  int usedQuantiser_;
  int tableQuantiser_ = 0;
  QuantiserTable table_;
  blocks::WorkerPool pool_;
  std::vector<std::unique_ptr<Desk>> desks_;
  std::vector<Slice> slices_;
  std::vector<std::uint8_t> frame_;
};

Encoder::Work::Work(const PictureFormat& format, const EncoderSettings& settings)
    : format_(format),
      macroblocks_((format.width + macroblockSide - 1) / macroblockSide),
      rows_((format.height + macroblockSide - 1) / macroblockSide),
      sliceWidth_(sliceWidth(macroblocks_)),
      slicesPerRow_((macroblocks_ + sliceWidth_ - 1) / sliceWidth_),
      codeSlice_(settings.portable || avx2SliceCoder() == nullptr ? portableSliceCoder()
                                                                  : avx2SliceCoder()),
      rate_(settings.bytesPerFrame,
            std::clamp(settings.quantiser, smallestQuantiser, largestQuantiser)),
      usedQuantiser_(rate_.quantiser()),
      pool_(settings.threads > 0 ? settings.threads
                                 : static_cast<int>(std::thread::hardware_concurrency())) {
  for (int worker = 0; worker < pool_.workers(); ++worker)
    desks_.push_back(std::make_unique<Desk>());
  slices_.resize(static_cast<std::size_t>(slicesPerRow_) * static_cast<std::size_t>(rows_));
}

std::span<const std::uint8_t> Encoder::Work::encode(const Picture& picture) {
  do {
    usedQuantiser_ = rate_.quantiser();
    if (tableQuantiser_ != usedQuantiser_) {
      table_ = quantiserTable(usedQuantiser_);
      tableQuantiser_ = usedQuantiser_;
    }
    encodeSlices(picture);
    assemble();
  } while (rate_.tryAgain(frame_.size()));
  return frame_;
}

void Encoder::Work::encodeSlices(const Picture& picture) {
  for (const auto& desk : desks_)
    desk->used = 0;
  pool_.run(slicesPerRow_ * rows_,
            [&](int slice, int worker) { encodeSlice(picture, slice, worker); });
}

void Encoder::Work::encodeSlice(const Picture& picture, int slice, int desk) {
  Desk& own = *desks_[static_cast<std::size_t>(desk)];
  if (own.bytes.size() < own.used + largestSliceBytes)
    own.bytes.resize(2 * own.bytes.size() + largestSliceBytes);
  const SliceSource source = sliceSource(picture, slice, own.padded);
  const std::size_t size = codeSlice_(source, table_, own.memory, own.bytes.data() + own.used);
  slices_[static_cast<std::size_t>(slice)] = {desk, own.used, size};
  own.used += size;
}

SliceSource Encoder::Work::sliceSource(const Picture& picture, int slice,
                                       std::vector<std::uint8_t>& padded) const {
  const int row = slice / slicesPerRow_;
  const int first = slice % slicesPerRow_ * sliceWidth_;
  const int count = std::min(sliceWidth_, macroblocks_ - first);
  const int chromaWidth = (format_.width + 1) / 2;
  const int chromaHeight = (format_.height + 1) / 2;
  const PlaneView planes[3] = {
      {picture.luma, picture.lumaStride, format_.width, format_.height, 16},
      {picture.blueChroma, picture.chromaStride, chromaWidth, chromaHeight, 8},
      {picture.redChroma, picture.chromaStride, chromaWidth, chromaHeight, 8}};
  // The last row moves up into the picture, over lines of the row before.
  const bool last = row > 0 && row == rows_ - 1;
  const bool inside = 16 * (first + count) <= format_.width && format_.height >= 16;
  if (!inside)
    padded.resize(512 * static_cast<std::size_t>(count));

  SliceSource source;
  source.macroblocks = count;
  source.interlaced = format_.interlaced;
  std::uint8_t* copy = padded.data();
  for (unsigned i = 0; i < 3; ++i) {
    const PlaneView& plane = planes[i];
    const int x = plane.side * first;
    const int y = last ? plane.height - plane.side : plane.side * row;
    const int width = plane.side * count;
    std::ptrdiff_t stride = plane.stride;
    if (inside) {
      source.samples[i] = plane.samples + y * stride + x;
    } else {
      copyPadded(plane, x, y, width, copy);
      source.samples[i] = copy;
      stride = width;
      copy += stride * plane.side;
    }
    (i == 0 ? source.lumaStride : source.chromaStride) = stride;
  }
  return source;
}

// Puts the header, the table of slice sizes and the slices together.
void Encoder::Work::assemble() {
  const std::size_t tableEnd = headerSize + 2 * slices_.size();
  const std::size_t firstSlice = (tableEnd + 3) / 4 * 4;
  std::size_t size = firstSlice;
  for (const Slice& slice : slices_)
    size += slice.size;
  frame_.resize(size);

  std::uint8_t* bytes = frame_.data();
  std::memset(bytes, 0, firstSlice);
  bytes[0] = 1;  // version
  bytes[1] = headerSize - 2;
  putBigEndian(bytes + 2, size, 4);
  for (std::uint8_t* side : {bytes + 6, bytes + 10}) {
    putBigEndian(side, static_cast<std::size_t>(format_.width), 2);
    putBigEndian(side + 2, static_cast<std::size_t>(format_.height), 2);
  }
  bytes[15] = static_cast<std::uint8_t>(usedQuantiser_);
  bytes[16] = format_.interlaced ? 0x39 : 0x09;
  // What follows is read by no known decoder; the codec's own maker writes it so.
  constexpr std::uint8_t rest[] = {0x45, 0x02, 0x02, 0x02};
  std::memcpy(bytes + 17, rest, sizeof rest);

  std::uint8_t* entry = bytes + headerSize;
  std::uint8_t* next = bytes + firstSlice;
  for (const Slice& slice : slices_) {
    const std::size_t words = slice.size / 4;
    *entry++ = static_cast<std::uint8_t>(words);
    *entry++ = static_cast<std::uint8_t>(words >> 8);
    std::memcpy(next, desks_[static_cast<std::size_t>(slice.desk)]->bytes.data() + slice.at,
                slice.size);
    next += slice.size;
  }
}

Encoder::Encoder(const PictureFormat& format, const EncoderSettings& settings)
    : work_(std::make_unique<Work>(format, settings)) {}

Encoder::~Encoder() = default;

std::span<const std::uint8_t> Encoder::encode(const Picture& picture) {
  return work_->encode(picture);
}

int Encoder::quantiser() const {
  return work_->quantiser();
}

}  // namespace tessarin::aic
