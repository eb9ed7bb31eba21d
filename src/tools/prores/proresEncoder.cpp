#include "tools/prores/proresEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "tools/blocks/WorkerPool.h"
#include "tools/blocks/bytes.h"
#include "tools/blocks/processor.h"
#include "tools/prores/RateControl.h"
#include "tools/prores/frameHeaders.h"
#include "tools/prores/sliceCoder.h"

namespace tessarin::prores {

namespace {

constexpr int macroblockSide = 16;

// What a macroblock may take, by the flavour.
constexpr std::size_t macroblockBits[] = {184, 417, 601, 900, 1349};

// How often `side` goes into `length`, rounded up.
constexpr int parts(int length, int side) {
  return (length + side - 1) / side;
}

}  // namespace

// Slices of a row: as many of eight macroblocks as there is room for, then of four, two, one.
struct SlicePlace {
  int x = 0;
  int macroblocks = 0;
};

namespace {

std::vector<SlicePlace> slicesOfRow(int macroblocks) {
  std::vector<SlicePlace> slices;
  int width = largestSlice;
  for (int x = 0; x < macroblocks; x += width) {
    while (macroblocks - x < width)
      width /= 2;
    slices.push_back({x, width});
  }
  return slices;
}

const SliceCoder& fastestCoder(bool portable) {
  const SliceCoder* vector = portable ? nullptr : avx2SliceCoder();
  return vector != nullptr ? *vector : portableSliceCoder();
}

}  // namespace

// Two neighbouring indices, which slices are coded with in such parts that a scale between theirs
// is the mean. Behind the coarsest index more and more is left away.
class Mixture {
 public:
  Mixture() = default;
  explicit Mixture(double scale) {
    const double inRange = std::clamp<double>(scale, scaleOf(smallestIndex), largestScale);
    int index = smallestIndex;
    while (index < largestIndex - 1 && scaleOf(index + 1) <= inRange)
      ++index;
    const double fine = scaleOf(index);
    coarse_ = (inRange - fine) / (scaleOf(index + 1) - fine);
    const double reserve = std::max(scale / largestScale, 1.0);
    tables_[0] = quantiserTable(index, reserve);
    tables_[1] = quantiserTable(index + 1, reserve);
  }

  // The coarser ones are spread evenly, because errors cost the same in all slices.
  const QuantiserTable& of(std::size_t slice) const {
    constexpr double goldenSection = 0.6180339887;
    const double place = static_cast<double>(slice) * goldenSection;
    return tables_[place - std::floor(place) < coarse_ ? 1 : 0];
  }

 private:
  QuantiserTable tables_[2];
  double coarse_ = 0;  // part of the slices
};

#ifdef TESSARIN_AVX2_BUILD

const SliceCoder& avx2BuildOfSliceCoder();

const SliceCoder* avx2SliceCoder() {
  return blocks::hasAvx2() ? &avx2BuildOfSliceCoder() : nullptr;
}

#else

const SliceCoder* avx2SliceCoder() {
  return nullptr;
}

#endif

std::size_t nominalFrameSize(Flavour flavour, int width, int height) {
  const auto macroblocks = static_cast<std::size_t>(parts(width, macroblockSide)) *
                           static_cast<std::size_t>(parts(height, macroblockSide));
  return macroblocks * macroblockBits[static_cast<std::size_t>(flavour)] / 8;
}

std::optional<std::string> formatProblem(const PictureFormat& format, Flavour flavour) {
  if (format.width < 1 || format.height < 1)
    return "the picture has no size";
  if (format.width > largestSide || format.height > largestSide)
    return "the picture is larger than " + std::to_string(largestSide) + " pixels";
  if (format.fieldOrder != FieldOrder::progressive && format.height < 2)
    return "the picture is too low for two fields";
  const bool full = format.sampling == blocks::Sampling::yuv444;
  if (flavour == Flavour::full4444 && !full)
    return "4444 is made of 4:4:4";
  if (flavour != Flavour::full4444 && full)
    return "only 4444 is made of 4:4:4";
  if (format.bits != 8 && format.bits != 10)
    return "samples have 8 or 10 bits";
  return std::nullopt;
}

class Encoder::Work {
 public:
  Work(const PictureFormat& format, const EncoderSettings& settings);

  std::span<const std::uint8_t> encode(const Picture& picture);

 private:
  // What one thread needs for itself.
  struct Desk {
    SliceMemory memory = {};
    std::vector<std::uint8_t> bytes;  // its slices of this frame, one after another
    std::size_t used = 0;
  };
  struct Slice {
    int desk = 0;
    std::size_t at = 0;
    std::size_t size = 0;
  };

  bool interlaced() const { return format_.fieldOrder != FieldOrder::progressive; }
  int pictures() const { return interlaced() ? 2 : 1; }
  void encodeSlices(const Picture& picture, double scale);
  void encodeRow(const Picture& picture, int task, int worker);
  SliceSource sourceOf(const Picture& picture, int which) const;
  void assemble();

  PictureFormat format_;
  int index_;  // 0: the rate control counts
  std::vector<SlicePlace> row_;
  int rows_;  // of a picture, in macroblocks
  const SliceCoder& coder_;
  RateControl rate_;
  double scale_ = 0;  // of the mixture
  Mixture mixture_;
  blocks::WorkerPool pool_;
  std::vector<std::unique_ptr<Desk>> desks_;
  std::vector<Slice> slices_;
  std::vector<std::uint8_t> frame_;
};

Encoder::Work::Work(const PictureFormat& format, const EncoderSettings& settings)
    : format_(format),
      index_(std::clamp(settings.index, 0, largestIndex)),
      row_(slicesOfRow(parts(format.width, macroblockSide))),
      rows_(parts(format.height, macroblockSide * pictures())),
      coder_(fastestCoder(settings.portable)),
      rate_(nominalFrameSize(settings.flavour, format.width, format.height)),
      pool_(settings.threads > 0 ? settings.threads
                                 : static_cast<int>(std::thread::hardware_concurrency())) {
  for (int worker = 0; worker < pool_.workers(); ++worker)
    desks_.push_back(std::make_unique<Desk>());
  slices_.resize(row_.size() * static_cast<std::size_t>(rows_ * pictures()));
}

std::span<const std::uint8_t> Encoder::Work::encode(const Picture& picture) {
  if (index_ > 0) {
    encodeSlices(picture, scaleOf(index_));
    return frame_;
  }
  do {
    encodeSlices(picture, rate_.scale());
  } while (rate_.tryAgain(frame_.size()));
  return frame_;
}

void Encoder::Work::encodeSlices(const Picture& picture, double scale) {
  if (scale_ != scale)
    mixture_ = Mixture(scale);
  scale_ = scale;
  for (const auto& desk : desks_)
    desk->used = 0;
  pool_.run(rows_ * pictures(), [&](int task, int worker) { encodeRow(picture, task, worker); });
  assemble();
}

// A row of macroblocks of a frame or field; those of the first field come first.
void Encoder::Work::encodeRow(const Picture& picture, int task, int worker) {
  Desk& own = *desks_[static_cast<std::size_t>(worker)];
  SliceSource source = sourceOf(picture, task / rows_);
  source.y = task % rows_;
  std::size_t number = row_.size() * static_cast<std::size_t>(task);
  for (const SlicePlace& place : row_) {
    if (own.bytes.size() < own.used + sliceRoom)
      own.bytes.resize(2 * own.bytes.size() + sliceRoom);
    source.x = place.x;
    source.macroblocks = place.macroblocks;
    coder_.transform(source, own.memory);
    const std::size_t size =
        coder_.code(source, mixture_.of(number), own.memory, own.bytes.data() + own.used);
    slices_[number++] = {worker, own.used, size};
    own.used += size;
  }
}

// The frame, or the field that comes first or second in time.
SliceSource Encoder::Work::sourceOf(const Picture& picture, int which) const {
  SliceSource source;
  // The field of the movie's lines, and that of the caller's.
  const bool upper = (format_.fieldOrder == FieldOrder::topFirst) == (which == 0);
  const bool top = upper != format_.oneLineUp;
  const int line = interlaced() && !top ? 1 : 0;
  // The caller's top field becomes the lower one: from its second line on.
  source.linesOff = format_.oneLineUp && top ? 1 : 0;
  for (int plane = 0; plane < planeCount; ++plane) {
    const int width = plane == 0 ? format_.width : chromaWidth(format_.sampling, format_.width);
    const int height = plane == 0 ? format_.height : chromaHeight(format_.sampling, format_.height);
    // A single line of chroma belongs to both fields.
    const int first = std::min(line, height - 1);
    source.planes[plane] = {picture.planes[plane] + first * picture.strides[plane],
                            picture.strides[plane] * pictures(), width,
                            parts(height - first, pictures())};
  }
  source.bits = format_.bits;
  source.sampling = format_.sampling;
  source.interlaced = interlaced();
  source.siting = format_.chromaOnLines ? LineSiting::onLines
                  : !interlaced()       ? LineSiting::frame
                  : top                 ? LineSiting::topField
                                        : LineSiting::bottomField;
  return source;
}

// Puts the headers, the sizes of the slices and the slices together.
void Encoder::Work::assemble() {
  const std::size_t perPicture = slices_.size() / static_cast<std::size_t>(pictures());
  std::size_t size = frameHeaderSize + pictureHeaderSize * static_cast<std::size_t>(pictures()) +
                     2 * slices_.size();
  for (const Slice& slice : slices_)
    size += slice.size;
  frame_.resize(size);
  putFrameHeader(frame_.data(), format_, size);
  std::uint8_t* next = frame_.data() + frameHeaderSize;
  for (std::size_t first = 0; first < slices_.size(); first += perPicture) {
    std::uint8_t* const start = next;
    std::uint8_t* entry = start + pictureHeaderSize;
    next = entry + 2 * perPicture;
    for (std::size_t i = first; i < first + perPicture; ++i) {
      const Slice& slice = slices_[i];
      blocks::putBigEndian(entry, slice.size, 2);
      entry += 2;
      std::memcpy(next, desks_[static_cast<std::size_t>(slice.desk)]->bytes.data() + slice.at,
                  slice.size);
      next += slice.size;
    }
    putPictureHeader(start, static_cast<std::size_t>(next - start), perPicture);
  }
}

Encoder::Encoder(const PictureFormat& format, const EncoderSettings& settings)
    : work_(std::make_unique<Work>(format, settings)) {}

Encoder::~Encoder() = default;

std::span<const std::uint8_t> Encoder::encode(const Picture& picture) {
  return work_->encode(picture);
}

}  // namespace tessarin::prores
