#include "movie/movieStart.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "movie/FileBytes.h"
#include "movie/atomTree.h"
#include "movie/indexRewriting.h"

namespace tessarin {

namespace {

// Pictures are stored out of order by a few at most.
constexpr std::uint64_t mostLeading = 64;
// Whether these are the first bytes of MPEG video whose first group of pictures is closed.
bool beginsClosed(std::string_view bytes) {
  constexpr std::string_view sequence("\0\0\x01\xB3", 4);
  constexpr std::string_view group("\0\0\x01\xB8", 4);
  if (bytes.substr(0, sequence.size()) != sequence)
    return false;
  const std::size_t place = bytes.find(group);
  constexpr std::uint64_t closedFlag = 0x40;  // behind 25 bits of time
  return place != std::string_view::npos && (numberAt(bytes, place + 7, 1) & closedFlag) != 0;
}

// One track, as far as it matters here. Atoms of the first version alone, which has 32 bits for
// each number; ffmpeg takes the other for movies of days.
class Track {
 public:
  // Nothing when the track is not as ffmpeg writes it.
  static std::optional<Track> read(OwnedAtom& atom) {
    Track track;
    track.atom_ = &atom;
    const OwnedAtom* header = atom.part("tkhd");
    OwnedAtom* media = atom.part("mdia");
    OwnedAtom* mediaHeader = media != nullptr ? media->part("mdhd") : nullptr;
    OwnedAtom* handler = media != nullptr ? media->part("hdlr") : nullptr;
    if (header == nullptr || mediaHeader == nullptr || handler == nullptr ||
        numberAt(header->content, 0, 1) != 0 || numberAt(mediaHeader->content, 0, 1) != 0)
      return std::nullopt;
    track.mediaHeader_ = mediaHeader;
    track.scale_ = numberAt(mediaHeader->content, 12, 4);
    track.isPictures_ =
        handler->content.substr(std::min<std::size_t>(handler->content.size(), 8), 4) == "vide";
    OwnedAtom* tables =
        media->part("minf") != nullptr ? media->part("minf")->part("stbl") : nullptr;
    if (tables != nullptr) {
      track.times_ = tables->part("stts");
      track.offsets_ = tables->part("ctts");
      if (const OwnedAtom* chunks = tables->part("stco"))
        track.firstByte_ = numberAt(chunks->content, headSize, 4);
      else if (const OwnedAtom* longChunks = tables->part("co64"))
        track.firstByte_ = numberAt(longChunks->content, headSize, 8);
    }
    track.length_ = numberAt(header->content, durationAt, 4);
    if (track.scale_ == 0 || !track.readEdits())
      return std::nullopt;
    return track;
  }

  // Shows the pictures from the earliest on; how many ticks of the movie more are needed before
  // the first one than there is room.
  std::int64_t revealFirst(std::uint64_t movieScale,
                           const std::function<std::string(std::uint64_t)>& bytesAt) {
    if (!isPictures_ || !hasEdits_ || times_ == nullptr || offsets_ == nullptr)
      return 0;
    const std::int64_t earliest = earliestPicture();
    if (earliest >= from_ || !beginsClosed(bytesAt(firstByte_)))
      return 0;
    const auto gained = std::llround(static_cast<double>(from_ - earliest) *
                                     static_cast<double>(movieScale) / static_cast<double>(scale_));
    constexpr std::size_t mediaDurationAt = 16;
    putNumber(mediaHeader_->content, mediaDurationAt, 4,
              numberAt(mediaHeader_->content, mediaDurationAt, 4) +
                  static_cast<std::uint64_t>(from_ - earliest));
    from_ = earliest;
    length_ += static_cast<std::uint64_t>(gained);
    wait_ -= gained;
    isChanged_ = true;
    return std::max<std::int64_t>(0, -wait_);
  }

  bool isChanged() const { return isChanged_; }

  // Writes the edits, all that is seen or heard so many ticks of the movie later. The end of the
  // track on the movie's time line.
  std::uint64_t write(std::int64_t later) {
    wait_ += later;
    if (isChanged_ || later > 0) {
      std::string edits = bigEndian(0, 4) + bigEndian(wait_ > 0 ? 2 : 1, 4);
      constexpr std::uint64_t usualRate = 0x10000;
      if (wait_ > 0)
        edits += bigEndian(static_cast<std::uint64_t>(wait_), 4) + bigEndian(0xFFFFFFFF, 4) +
                 bigEndian(usualRate, 4);
      edits += bigEndian(length_, 4) + bigEndian(static_cast<std::uint64_t>(from_), 4) +
               bigEndian(usualRate, 4);
      OwnedAtom* holder = atom_->part("edts");
      if (holder == nullptr) {
        const auto behindHeader =
            std::find_if(atom_->parts.begin(), atom_->parts.end(),
                         [](const OwnedAtom& part) { return part.type == "tkhd"; }) +
            1;
        holder = &*atom_->parts.insert(behindHeader, OwnedAtom{"edts", {}, {}});
      }
      holder->parts = {OwnedAtom{"elst", std::move(edits), {}}};
      putNumber(atom_->part("tkhd")->content, durationAt, 4,
                length_ + static_cast<std::uint64_t>(wait_));
    }
    return length_ + static_cast<std::uint64_t>(wait_);
  }

 private:
  static constexpr std::size_t durationAt = 20;

  // Edits without media, and one with, at the usual speed; or none.
  bool readEdits() {
    OwnedAtom* holder = atom_->part("edts");
    OwnedAtom* list = holder != nullptr ? holder->part("elst") : nullptr;
    if (list == nullptr)
      return true;
    const std::uint64_t count = numberAt(list->content, 4, 4);
    constexpr std::size_t entrySize = 12;
    if (numberAt(list->content, 0, 1) != 0 || count == 0 ||
        list->content.size() != headSize + count * entrySize)
      return false;
    for (std::uint64_t entry = 0; entry < count; ++entry) {
      const std::size_t place = headSize + static_cast<std::size_t>(entry) * entrySize;
      const std::uint64_t length = numberAt(list->content, place, 4);
      const std::int64_t from = signed32(numberAt(list->content, place + 4, 4));
      const bool isLast = entry + 1 == count;
      if (numberAt(list->content, place + 8, 4) != 0x10000 || (from < 0) == isLast)
        return false;
      if (isLast) {
        from_ = from;
        length_ = length;
      } else {
        wait_ += static_cast<std::int64_t>(length);
      }
    }
    hasEdits_ = true;
    return true;
  }

  // When the earliest of the first pictures is shown, in ticks of the media.
  std::int64_t earliestPicture() const {
    std::int64_t earliest = std::numeric_limits<std::int64_t>::max();
    std::int64_t moment = 0;
    std::size_t timeEntry = headSize;
    std::size_t offsetEntry = headSize;
    std::uint64_t timesLeft = numberAt(times_->content, timeEntry, 4);
    std::uint64_t offsetsLeft = numberAt(offsets_->content, offsetEntry, 4);
    for (std::uint64_t picture = 0; picture < mostLeading; ++picture) {
      while (timesLeft == 0 && timeEntry + headSize < times_->content.size())
        timesLeft = numberAt(times_->content, timeEntry += headSize, 4);
      while (offsetsLeft == 0 && offsetEntry + headSize < offsets_->content.size())
        offsetsLeft = numberAt(offsets_->content, offsetEntry += headSize, 4);
      if (timesLeft == 0 || offsetsLeft == 0)
        break;
      earliest =
          std::min(earliest, moment + signed32(numberAt(offsets_->content, offsetEntry + 4, 4)));
      moment += static_cast<std::int64_t>(numberAt(times_->content, timeEntry + 4, 4));
      --timesLeft;
      --offsetsLeft;
    }
    return std::max<std::int64_t>(earliest, 0);
  }

  OwnedAtom* atom_ = nullptr;
  OwnedAtom* mediaHeader_ = nullptr;
  OwnedAtom* times_ = nullptr;
  OwnedAtom* offsets_ = nullptr;
  bool isPictures_ = false;
  bool hasEdits_ = false;
  bool isChanged_ = false;
  std::uint64_t firstByte_ = 0;  // where the first picture stands in the file
  std::uint64_t scale_ = 0;      // ticks of the media a second
  // In ticks of the movie: nothing at first, and then so long what is shown.
  std::int64_t wait_ = 0;
  std::uint64_t length_ = 0;
  std::int64_t from_ = 0;  // the moment of the media with which it begins
};

}  // namespace

std::optional<std::string> indexWithFirstPictures(
    const std::string& index, const std::function<std::string(std::uint64_t)>& bytesAt) {
  auto atoms = atomsOf(index);
  if (!atoms)
    return std::nullopt;
  OwnedAtom movie{"moov", {}, std::move(*atoms)};
  OwnedAtom* header = movie.part("mvhd");
  const std::uint64_t scale = header != nullptr ? numberAt(header->content, 12, 4) : 0;
  if (scale == 0 || numberAt(header->content, 0, 1) != 0 || movie.part("mvex") != nullptr)
    return std::nullopt;
  std::vector<Track> tracks;
  for (OwnedAtom& part : movie.parts) {
    if (part.type != "trak")
      continue;
    auto track = Track::read(part);
    if (!track)
      return std::nullopt;
    tracks.push_back(*track);
  }
  std::int64_t later = 0;
  for (Track& track : tracks)
    later = std::max(later, track.revealFirst(scale, bytesAt));
  if (std::none_of(tracks.begin(), tracks.end(),
                   [](const Track& track) { return track.isChanged(); }))
    return std::nullopt;
  std::uint64_t end = 0;
  for (Track& track : tracks)
    end = std::max(end, track.write(later));
  constexpr std::size_t durationAt = 16;
  putNumber(movie.part("mvhd")->content, durationAt, 4, end);
  return bytesOf(movie.parts);
}

Outcome<bool> showFirstPictures(const std::string& path) {
  return rewriteIndex(path, [](const MovieBytes& movie) -> std::optional<IndexChange> {
    auto changed = indexWithFirstPictures(movie.index, movie.bytesAt);
    return changed ? std::optional(IndexChange{std::move(*changed)}) : std::nullopt;
  });
}

}  // namespace tessarin
