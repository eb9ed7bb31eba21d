#include "tools/joinclips/jpegLoss.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "classShared/descriptorBytes.h"
#include "movie/aviIndex.h"
#include "movie/fragments.h"
#include "movie/matroskaBlocks.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"
#include "tools/joinclips/MovieTables.h"
#include "tools/joinclips/jpegScan.h"

namespace tessarin::joining {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view beginMark = "\xFF\xD8"sv;
constexpr std::string_view endMark = "\xFF\xD9"sv;

struct Places {
  std::vector<MediaPiece> pictures;
  double step = 0;
  std::uint64_t expected = 0;  // pictures, by the index
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
  if (MatroskaPictures blocks = matroskaPictures(path); !blocks.pictures.empty())
    return {std::move(blocks.pictures), blocks.step, 0};
  if (FragmentPictures fragments = fragmentPictures(path); !fragments.pictures.empty())
    return {std::move(fragments.pictures), fragments.step, 0};
  AviStream stream = aviPicturesInOrder(path);
  const std::uint64_t indexed = aviPictures(aviStreams(path)).value_or(0);
  return {std::move(stream.chunks), stream.step, std::max(indexed, stream.expected)};
}

// The marks of a picture and what stands with each, in order. Pictures within a segment, as
// previews are, are passed over with it.
class MarkReader {
 public:
  enum Kind : std::uint8_t {
    escapedByte = 0x00,
    firstFrame = 0xC0,
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
    if (mark >= firstFrame && mark != filler && (mark < firstRestart || mark > end))
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

  std::string_view following() const { return picture_.substr(std::min(behind_, picture_.size())); }

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
void findFaultsOfScans(std::string_view picture, JpegFaults& faults) {
  using Mark = MarkReader;
  Mark marks(picture);
  JpegScanReader scans;
  bool hasScans = false;
  bool isBehindScan = false;  // and before the field's end
  while (marks.next()) {
    const std::uint8_t mark = marks.kind();
    if (isBehindScan && !mayFollowScan(mark)) {
      faults.hasWrongMarks = true;
    } else if (mark == Mark::codes) {
      scans.takeCodes(marks.segment());
    } else if (mark == Mark::restarts) {
      scans.takeInterval(marks.segment());
    } else if (mark >= Mark::firstFrame && mark <= Mark::lastFrame) {
      scans.takeFrame(mark, marks.segment());
    } else if (mark == Mark::scan) {
      hasScans = true;
      isBehindScan = true;
      faults.hasWrongData =
          faults.hasWrongData || !scans.isWhole(marks.segment(), marks.following());
    } else if (mark == Mark::end) {
      isBehindScan = false;
    }
  }
  faults.hasWrongMarks = faults.hasWrongMarks || !hasScans;
}

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
  findFaultsOfScans(picture, faults);
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
  std::array<FaultCount, 4> counts;
  std::string bytes;
  for (std::size_t picture = 0; picture < places.pictures.size(); ++picture) {
    const auto [begin, size] = places.pictures[picture];
    bytes.resize(std::min(size, largest));
    if ((taken += bytes.size()) > 2 * length)
      return Failure{"its index names the same bytes over and over"};
    errno = 0;
    const std::size_t count = readAt(file.number(), bytes.data(), bytes.size(), begin);
    if (count < bytes.size() && errno != 0)
      return Failure{systemReason(errno)};
    const JpegFaults faults = jpegFaults(std::string_view(bytes).substr(0, count));
    const std::array<bool, 4> found{faults.lacksBegin, faults.lacksEnd, faults.hasWrongData,
                                    faults.hasWrongMarks};
    for (std::size_t kind = 0; kind < found.size(); ++kind)
      counts[kind].add(found[kind], picture);
  }
  std::vector<bool> damaged(places.pictures.size());
  for (const FaultCount& count : counts)
    count.mark(damaged);
  // Else they are counted in another way there.
  const bool isShort = places.expected > damaged.size() && places.expected < 2 * damaged.size();
  const std::uint64_t missing = isShort ? places.expected - damaged.size() : 0;
  const auto found = static_cast<std::uint64_t>(std::count(damaged.begin(), damaged.end(), true));
  constexpr double usualStep = 0.04;
  return JpegLoss{damaged.size() + missing, found + missing,
                  places.step > 0 ? places.step : usualStep};
}

}  // namespace tessarin::joining
