#include "analysis/framePictures.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>
#include <vector>

#include "analysis/probes.h"
#include "classShared/TextAdditions.h"
#include "ffmpeg/reportNumbers.h"

namespace tessarin {

namespace {

// A header of ffmpeg's has about 70 bytes.
constexpr std::size_t longestLine = 1000;

// A change of this much is more than the noise of the codec.
constexpr int leastChange = 12;  // of 255
// So many changed places, of those that are looked at, are needed for a verdict: 0.05 %.
constexpr std::int64_t placesPerChange = 2000;
// One sum has to be this much larger than the other one. Measured: 1.4 and more for test pictures
// and a camera's with fields, 1.1 for pictures without.
constexpr double clearRatio = 1.2;
// Pictures whose own lines fit together this much better than those of two pictures have no fields.
// Measured: up to 2.3 with fields, 5 and more without.
constexpr double progressiveRatio = 3;

// A line of the file; nothing at its end, and for one that is too long to be a header.
std::optional<std::string> readLine(std::istream& file) {
  std::string line;
  for (char letter = 0; line.size() < longestLine && file.get(letter);) {
    if (letter == '\n')
      return line;
    line += letter;
  }
  return std::nullopt;
}

std::optional<FramePictures> parseHeader(std::string_view line) {
  if (!line.starts_with("YUV4MPEG2 "))
    return std::nullopt;
  FramePictures pictures;
  pictures.order = fieldsOfHeader(line);
  const auto side = [line](std::string_view mark) {
    return static_cast<int>(
        wholeNumber(textAfter(line, mark).value_or(""), ReportRange::pictureSide).value_or(0));
  };
  pictures.width = side(" W");
  pictures.height = side(" H");
  const std::string_view chroma = textAfter(line, " C").value_or("420");
  if (pictures.width == 0 || pictures.height == 0 || !chroma.starts_with("420") ||
      chroma.starts_with("420p1"))
    return std::nullopt;
  return pictures;
}

using Samples = std::vector<std::int16_t>;

// Three lines that follow each other.
struct Neighbours {
  const Samples& above;
  const Samples& line;
  const Samples& below;
};

// Every second sample of a picture's lines, the latest few of them.
class HalvedLines {
 public:
  HalvedLines(std::span<const std::uint8_t> picture, std::size_t stride)
      : picture_(picture), stride_(stride) {}

  Neighbours around(std::size_t line) { return {at(line - 1), at(line), at(line + 1)}; }

 private:
  static constexpr std::size_t none = ~std::size_t{0};
  struct Kept {
    std::size_t line = none;
    Samples samples;
  };

  const Samples& at(std::size_t line) {
    Kept& kept = kept_[line % kept_.size()];
    if (std::exchange(kept.line, line) == line)
      return kept.samples;
    kept.samples.resize((stride_ + 1) / 2);
    const std::uint8_t* const start = picture_.data() + line * stride_;
    for (std::size_t place = 0; place < kept.samples.size(); ++place)
      kept.samples[place] = start[2 * place];
    return kept.samples;
  }

  std::span<const std::uint8_t> picture_;
  std::size_t stride_;
  std::array<Kept, 3> kept_;
};

struct LineMotion {
  int changed = 0;  // places
  int later = 0;    // the line of the second picture, between lines of the first one
  int earlier = 0;
  int inside = 0;
};

// Without a branch for each place, so that the compiler takes many at once.
LineMotion lineMotion(const Neighbours& first, const Neighbours& second) {
  LineMotion sums;
  for (std::size_t x = 0; x < first.line.size(); ++x) {
    const int before = first.line[x];
    const int after = second.line[x];
    const int aroundBefore = first.above[x] + first.below[x];
    const int aroundAfter = second.above[x] + second.below[x];
    const int counts = std::abs(after - before) >= leastChange ? -1 : 0;
    sums.changed -= counts;
    sums.later += std::abs(2 * after - aroundBefore) & counts;
    sums.earlier += std::abs(2 * before - aroundAfter) & counts;
    sums.inside +=
        (std::abs(2 * after - aroundAfter) + std::abs(2 * before - aroundBefore)) & counts;
  }
  return sums;
}

}  // namespace

FieldMotion& FieldMotion::operator+=(const FieldMotion& other) {
  changes += other.changes;
  top += other.top;
  bottom += other.bottom;
  return *this;
}

FieldMotion fieldMotion(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after,
                        int width, int height) {
  const auto stride = static_cast<std::size_t>(width);
  HalvedLines first(before, stride);
  HalvedLines second(after, stride);
  std::int64_t topFirst = 0;  // how unlike the fields are that would be next to each other
  std::int64_t bottomFirst = 0;
  std::int64_t inside = 0;  // how unlike the lines of each picture itself are; both together
  std::int64_t changed = 0;
  std::int64_t places = 0;
  bool equal = true;
  for (int y = 1; y + 1 < height; ++y) {
    const auto line = static_cast<std::size_t>(y);
    if (std::memcmp(before.data() + line * stride, after.data() + line * stride, stride) == 0) {
      places += width / 2;
      continue;
    }
    equal = false;
    places += (width + 1) / 2;
    const LineMotion motion = lineMotion(first.around(line), second.around(line));
    changed += motion.changed;
    inside += motion.inside;
    const bool isTop = y % 2 == 0;
    topFirst += isTop ? motion.later : motion.earlier;
    bottomFirst += isTop ? motion.earlier : motion.later;
  }
  FieldMotion motion;
  motion.changes = equal ? 0 : 1;
  if (changed * placesPerChange < places || changed == 0)
    return motion;
  const auto top = static_cast<double>(topFirst);
  const auto bottom = static_cast<double>(bottomFirst);
  if (std::min(top, bottom) > progressiveRatio * static_cast<double>(inside) / 2)
    return motion;
  motion.top = bottom > clearRatio * top ? 1 : 0;
  motion.bottom = top > clearRatio * bottom ? 1 : 0;
  return motion;
}

FramePictureReader::FramePictureReader(const std::string& path)
    : file_(path, std::ios::binary), pictures_(parseHeader(readLine(file_).value_or(""))) {
  if (!pictures_)
    return;
  luma_ = static_cast<std::size_t>(pictures_->width) * static_cast<std::size_t>(pictures_->height);
  chroma_ = 2 * (static_cast<std::size_t>(pictures_->width + 1) / 2) *
            (static_cast<std::size_t>(pictures_->height + 1) / 2);
}

bool FramePictureReader::readNext() {
  if (!pictures_ || !readLine(file_).value_or("").starts_with("FRAME"))
    return false;
  picture_.resize(luma_ + chroma_);
  file_.read(reinterpret_cast<char*>(picture_.data()),
             static_cast<std::streamsize>(picture_.size()));
  if (static_cast<std::size_t>(file_.gcount()) < picture_.size())
    return false;
  if (++pictures_->whole == 1)
    pictures_->first = picture_;
  if (!before_.empty())
    pictures_->motion +=
        fieldMotion(std::span(before_).first(luma_), std::span(picture_).first(luma_),
                    pictures_->width, pictures_->height);
  std::swap(before_, picture_);
  return true;
}

}  // namespace tessarin
