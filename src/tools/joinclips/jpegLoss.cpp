#include "tools/joinclips/jpegLoss.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <vector>

#include "classShared/descriptorBytes.h"
#include "movie/aviIndex.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "tools/joinclips/MovieTables.h"

namespace tessarin::joining {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view beginMark = "\xFF\xD8"sv;
constexpr std::string_view endMark = "\xFF\xD9"sv;

struct Places {
  std::vector<AviChunk> pictures;
  std::string chunkName;  // in AVI, before each
  double step = 0;
};

Places placesInMovie(const MovieTables& movie) {
  const JoinableTrack& track = *movie.pictures();
  Places places;
  places.step = movie.seconds() / static_cast<double>(track.samples);
  std::size_t sample = 0;
  for (const SampleChunk& chunk : track.tables.chunks) {
    std::uint64_t at = chunk.position;
    for (std::uint32_t place = 0; place < chunk.samples; ++place, ++sample) {
      const std::uint32_t size = track.tables.sameSize != 0 || sample >= track.tables.sizes.size()
                                     ? track.tables.sameSize
                                     : track.tables.sizes[sample];
      if (size > 0)
        places.pictures.push_back({at, size});
      at += size;
    }
  }
  return places;
}

Places placesIn(const std::string& path) {
  if (const auto movie = readMovieTables(path))
    return placesInMovie(*movie);
  for (AviStream& stream : aviStreams(path))
    if (!stream.isSound)
      return {std::move(stream.chunks), stream.name, stream.step};
  return {};
}

// The shortest codes of the tables of Huffman, which consist of zeros (ITU-T T.81, annex C):
// whether that of a table stands for "nothing changes" or "no more of this block".
class ShortestCodes {
 public:
  // The content of a segment DHT, behind its length.
  void take(std::string_view segment) {
    constexpr std::size_t lengths = 16;
    while (segment.size() > 1 + lengths) {
      const auto name = static_cast<std::uint8_t>(segment[0]);
      std::size_t codes = 0;
      for (const char count : segment.substr(1, lengths))
        codes += static_cast<std::uint8_t>(count);
      isNothing_.at(name >> 4 & 1).at(name & 3) = segment[1 + lengths] == 0;
      segment.remove_prefix(std::min(1 + lengths + codes, segment.size()));
    }
  }

  // Whether a scan may be zeros for long, by the content of its segment SOS: each of its components
  // has such codes only.
  bool mayBeZeros(std::string_view segment) const {
    const std::size_t count = segment.empty() ? 0 : static_cast<std::uint8_t>(segment[0]);
    for (std::size_t component = 0; component < count; ++component) {
      const std::size_t at = 1 + component * 2 + 1;
      if (at >= segment.size())
        return false;
      const auto tables = static_cast<std::uint8_t>(segment[at]);
      if (!isNothing_[0].at(tables >> 4 & 3) || !isNothing_[1].at(tables & 3))
        return false;
    }
    return count > 0;
  }

 private:
  // Of DC and of AC. Pictures without tables have those of annex K: of luma, then of chroma.
  std::array<std::array<bool, 4>, 2> isNothing_{{{true, true}, {false, true}}};
};

bool holdsZeros(std::string_view scan) {
  constexpr std::size_t most = 64;
  for (std::size_t at = most / 2; at < scan.size(); at += most / 2) {
    if (scan[at] != 0)
      continue;
    std::size_t begin = at;
    while (begin > 0 && scan[begin - 1] == 0)
      --begin;
    const std::size_t end = std::min(scan.find_first_not_of('\0', at), scan.size());
    if (end - begin >= most)
      return true;
    at = end;
  }
  return false;
}

// The marks of a picture and what stands with each, in order. Pictures within a segment, as
// previews are, are passed over with it.
class MarkReader {
 public:
  enum Kind : std::uint8_t {
    escapedByte = 0x00,
    firstMark = 0xC0,  // and frame of the usual kind
    longFrame = 0xC1,  // which may have more tables
    codes = 0xC4,
    lastFrame = 0xCF,
    firstRestart = 0xD0,
    lastRestart = 0xD7,
    begin = 0xD8,
    end = 0xD9,
    scan = 0xDA,
    quantizers = 0xDB,
    lines = 0xDC,
    restarts = 0xDD,
    comment = 0xFE,
    filler = 0xFF
  };

  explicit MarkReader(std::string_view picture) : picture_(picture) {}

  bool next() {
    at_ = picture_.find('\xFF', behind_);
    if (at_ == std::string_view::npos || at_ + 1 >= picture_.size())
      return false;
    const std::uint8_t mark = kind();
    behind_ = at_ + (mark == filler ? 1 : 2);
    if (mark >= firstMark && mark != filler && (mark < firstRestart || mark > end))
      behind_ += lengthAt(behind_);
    return true;
  }
  std::size_t place() const { return at_; }
  std::uint8_t kind() const { return static_cast<std::uint8_t>(picture_[at_ + 1]); }
  // Behind its length.
  std::string_view segment() const {
    constexpr std::size_t head = 4;
    return picture_.substr(0, behind_).substr(std::min(at_ + head, picture_.size()));
  }

 private:
  std::size_t lengthAt(std::size_t place) const {
    constexpr std::size_t least = 2;
    if (place + least > picture_.size())
      return least;
    return std::max<std::size_t>(static_cast<std::uint8_t>(picture_[place]) * std::size_t{256} +
                                     static_cast<std::uint8_t>(picture_[place + 1]),
                                 least);
  }

  std::string_view picture_;
  std::size_t at_ = 0;
  std::size_t behind_ = 0;
};

// Whether this may stand between the first scan of a field and its end: a byte of data, a beginning
// anew, or what comes between two scans.
bool mayFollowScan(std::uint8_t mark) {
  using Mark = MarkReader;
  return mark == Mark::escapedByte || (mark >= Mark::firstRestart && mark <= Mark::lastRestart) ||
         (mark >= Mark::end && mark <= Mark::restarts) || mark == Mark::codes ||
         mark == Mark::comment || mark == Mark::filler;
}

// Looks at the scans of each field. Anything may fill the place between two of them.
class ScanCheck {
 public:
  explicit ScanCheck(std::string_view picture) : picture_(picture), marks_(picture) {}

  void addTo(JpegFaults& faults) {
    while (marks_.next()) {
      if (begin_ && !mayFollowScan(marks_.kind()))
        faults.hasWrongMarks = true;
      take();
      if (begin_ && marks_.kind() == MarkReader::end)
        endField(faults, marks_.place());
    }
    if (begin_)
      endField(faults, picture_.size());
    faults.hasWrongMarks = faults.hasWrongMarks || !hasScans_;
  }

 private:
  void take() {
    const std::uint8_t mark = marks_.kind();
    if (mark == MarkReader::codes) {
      codes_.take(marks_.segment());
    } else if (mark == MarkReader::scan) {
      hasScans_ = true;
      begin_ = begin_.value_or(marks_.place());
      mayBeZeros_ = mayBeZeros_ || codes_.mayBeZeros(marks_.segment());
    } else if (mark > MarkReader::longFrame && mark <= MarkReader::lastFrame && !begin_) {
      // Of single bits in some scans of progressive ones, or without codes of zeros and more.
      mayBeZeros_ = true;
    }
  }
  void endField(JpegFaults& faults, std::size_t end) {
    if (!mayBeZeros_ && holdsZeros(picture_.substr(*begin_, end - *begin_)))
      faults.hasZeros = true;
    begin_.reset();
    mayBeZeros_ = false;
  }

  std::string_view picture_;
  MarkReader marks_;
  ShortestCodes codes_;
  std::optional<std::size_t> begin_;  // of the first scan, until its field ends
  bool mayBeZeros_ = false;           // the field's scans, for long
  bool hasScans_ = false;
};

// Of pictures that were counted, those with a fault that few of them have.
class FaultCount {
 public:
  void add(bool isFaulty, std::size_t picture) {
    if (isFaulty)
      pictures_.push_back(picture);
  }
  void mark(std::vector<bool>& damaged) const {
    if (pictures_.size() * 2 <= damaged.size())
      for (const std::size_t picture : pictures_)
        damaged[picture] = true;
  }

 private:
  std::vector<std::size_t> pictures_;
};

}  // namespace

JpegFaults jpegFaults(std::string_view picture) {
  JpegFaults faults;
  faults.lacksBegin = !picture.starts_with(beginMark);
  // Behind the end there may be something to fill the place.
  const std::size_t end = picture.rfind(endMark);
  faults.lacksEnd = end == std::string_view::npos ||
                    picture.substr(end).find(beginMark) != std::string_view::npos;
  ScanCheck(picture).addTo(faults);
  return faults;
}

Outcome<JpegLoss> jpegLoss(const std::string& path) {
  constexpr std::uint32_t largest = 64U << 20;
  const Places places = placesIn(path);
  const Descriptor file = openFile(path, OpenFor::reading);
  if (!file.isOpen())
    return Failure{systemReason(errno)};
  const auto facts = fileFacts(file.number());
  const std::uint64_t length = facts ? static_cast<std::uint64_t>(facts->state.size) : 0;
  std::uint64_t taken = 0;
  std::array<FaultCount, 5> counts;
  std::string bytes;
  for (std::size_t picture = 0; picture < places.pictures.size(); ++picture) {
    const auto [begin, size] = places.pictures[picture];
    constexpr std::size_t chunkHead = 8;
    const std::size_t before = places.chunkName.empty() || begin < chunkHead ? 0 : chunkHead;
    bytes.resize(before + std::min(size, largest));
    if ((taken += bytes.size()) > 2 * length)
      return Failure{"its index names the same bytes over and over"};
    errno = 0;
    const std::size_t count = readAt(file.number(), bytes.data(), bytes.size(), begin - before);
    if (count < bytes.size() && errno != 0)
      return Failure{systemReason(errno)};
    const JpegFaults faults = jpegFaults(std::string_view(bytes).substr(before, count));
    const std::array<bool, 5> found{faults.lacksBegin, faults.lacksEnd, faults.hasZeros,
                                    faults.hasWrongMarks,
                                    before > 0 && !bytes.starts_with(places.chunkName)};
    for (std::size_t kind = 0; kind < found.size(); ++kind)
      counts[kind].add(found[kind], picture);
  }
  std::vector<bool> damaged(places.pictures.size());
  for (const FaultCount& count : counts)
    count.mark(damaged);
  return JpegLoss{damaged.size(),
                  static_cast<std::uint64_t>(std::count(damaged.begin(), damaged.end(), true)),
                  places.step};
}

}  // namespace tessarin::joining
