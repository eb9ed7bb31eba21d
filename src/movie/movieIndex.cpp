#include "movie/movieIndex.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "movie/FileBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::size_t mostTracks = 1000;
constexpr std::uint64_t mostTicks = std::uint64_t{1} << 61;
constexpr const char* damagedTable = "a table of its index is damaged";

// Content of an atom: from its first byte to the one behind the last.
struct Span {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;

  std::uint64_t size() const { return end - begin; }
};

struct Atom {
  std::string type;
  Span content;
  bool isCut = false;  // it goes on behind the end of what it stands in
};

// The atoms that stand one behind the other.
class Atoms {
 public:
  Atoms(FileBytes& bytes, Span within) : bytes_(bytes), position_(within.begin), end_(within.end) {}

  // Nothing at the end, and where no atom can begin.
  std::optional<Atom> next() {
    constexpr std::uint64_t shortStart = 8;
    constexpr std::uint64_t longStart = 16;
    if (end_ - position_ < shortStart)
      return std::nullopt;
    Atom atom;
    std::uint64_t size = bytes_.number(position_, 4);
    std::uint64_t start = shortStart;
    atom.type = bytes_.letters(position_ + 4);
    if (size == 0) {  // as far as there is something
      size = end_ - position_;
    } else if (size == 1) {
      start = longStart;
      size = end_ - position_ < longStart ? 0 : bytes_.number(position_ + shortStart, 8);
    }
    if (size < start || !bytes_.failure().empty())
      return std::nullopt;
    atom.isCut = size > end_ - position_;
    atom.content = {position_ + start, atom.isCut ? end_ : position_ + size};
    position_ = atom.content.end;
    return atom;
  }

  // Bytes that are no atom are left; some programs end a list with four zeros.
  std::uint64_t rest() const { return end_ - position_; }

 private:
  FileBytes& bytes_;
  std::uint64_t position_;
  std::uint64_t end_;
};

struct TrackAtoms {
  std::optional<Span> edits, mediaHeader, handler, description, times, offsets, chunkGroups, sizes,
      smallSizes, chunks, longChunks;
};

// The atoms of a track that are looked at, by the atom that they stand in.
std::optional<Span>* placeOf(TrackAtoms& atoms, std::string_view parent, std::string_view type) {
  struct Place {
    std::string_view parent;
    std::string_view type;
    std::optional<Span> TrackAtoms::*member;
  };
  static constexpr Place places[] = {
      {"edts", "elst", &TrackAtoms::edits},       {"mdia", "mdhd", &TrackAtoms::mediaHeader},
      {"mdia", "hdlr", &TrackAtoms::handler},     {"stbl", "stsd", &TrackAtoms::description},
      {"stbl", "stts", &TrackAtoms::times},       {"stbl", "ctts", &TrackAtoms::offsets},
      {"stbl", "stsc", &TrackAtoms::chunkGroups}, {"stbl", "stsz", &TrackAtoms::sizes},
      {"stbl", "stz2", &TrackAtoms::smallSizes},  {"stbl", "stco", &TrackAtoms::chunks},
      {"stbl", "co64", &TrackAtoms::longChunks}};
  for (const Place& place : places)
    if (place.parent == parent && place.type == type)
      return &(atoms.*place.member);
  return nullptr;
}

// Whether atoms of this type hold the atoms that are looked at, where they stand as they should:
// so the depth has a limit.
bool isContainer(std::string_view parent, std::string_view type) {
  return parent == "trak"   ? type == "edts" || type == "mdia"
         : parent == "mdia" ? type == "minf"
                            : parent == "minf" && type == "stbl";
}

// A table of numbers: a version and flags, the count of entries, and the entries. Each table is
// read through a window of its own, as they are read beside each other.
class Table {
 public:
  static Outcome<std::unique_ptr<Table>> open(int descriptor, std::uint64_t fileSize, Span atom,
                                              unsigned entrySize) {
    constexpr unsigned header = 8;
    if (atom.size() < header)
      return Failure{damagedTable};
    auto table = std::make_unique<Table>(descriptor, fileSize, atom.begin + header, entrySize);
    table->count_ = table->bytes_.number(atom.begin + 4, 4);
    if (!table->failure().empty())
      return Failure{table->failure()};
    if (table->count_ > (atom.size() - header) / entrySize)
      return Failure{damagedTable};
    return table;
  }

  Table(int descriptor, std::uint64_t fileSize, std::uint64_t first, unsigned entrySize)
      : bytes_(descriptor, fileSize), first_(first), entrySize_(entrySize) {}

  std::uint64_t count() const { return count_; }
  std::uint64_t field(std::uint64_t entry, unsigned offset, unsigned bytes) {
    return bytes_.number(first_ + entry * entrySize_ + offset, bytes);
  }
  const std::string& failure() const { return bytes_.failure(); }

 private:
  FileBytes bytes_;
  std::uint64_t first_;
  unsigned entrySize_;
  std::uint64_t count_ = 0;
};

// Which of the media's times are shown, in its own ticks.
struct Shown {
  std::int64_t from = std::numeric_limits<std::int64_t>::min();
  std::int64_t to = std::numeric_limits<std::int64_t>::max();
};

// How many of `count` samples, `step` ticks apart from `first` on, are shown.
std::uint64_t shownOf(const Shown& shown, std::int64_t first, std::int64_t step,
                      std::uint64_t count) {
  const auto before = [&](std::int64_t limit) -> std::uint64_t {
    if (limit == std::numeric_limits<std::int64_t>::min() || limit <= first)
      return 0;
    if (limit == std::numeric_limits<std::int64_t>::max() || step == 0)
      return count;
    const auto distance = static_cast<std::uint64_t>(limit) - static_cast<std::uint64_t>(first);
    const auto ticks = static_cast<std::uint64_t>(step);
    return std::min(count, distance / ticks + (distance % ticks == 0 ? 0 : 1));
  };
  const std::uint64_t tooEarly = before(shown.from);
  const std::uint64_t early = before(shown.to);
  return early > tooEarly ? early - tooEarly : 0;
}

class TrackReader {
 public:
  TrackReader(int descriptor, FileBytes& bytes, const TrackAtoms& atoms, std::uint64_t movieScale)
      : descriptor_(descriptor), bytes_(bytes), atoms_(atoms), movieScale_(movieScale) {}

  Outcome<MovieTrack> read() {
    if (!atoms_.handler || !atoms_.mediaHeader)
      return track_;  // nothing that is seen or heard
    constexpr unsigned typeAt = 8;
    const std::string type = bytes_.letters(atoms_.handler->begin + typeAt);
    track_.kind = type == "vide"   ? MovieTrack::Kind::pictures
                  : type == "soun" ? MovieTrack::Kind::sound
                                   : MovieTrack::Kind::other;
    if (track_.kind == MovieTrack::Kind::other)
      return track_;
    if (!atoms_.description || !atoms_.times || !atoms_.chunkGroups ||
        (!atoms_.sizes && !atoms_.smallSizes) || (!atoms_.chunks && !atoms_.longChunks))
      return Failure{"its index has not all tables"};
    constexpr unsigned codecAt = 12;
    if (atoms_.description->size() >= codecAt + 4)
      track_.codec = bytes_.letters(atoms_.description->begin + codecAt);
    const bool isLong = bytes_.number(atoms_.mediaHeader->begin, 1) == 1;
    scale_ = bytes_.number(atoms_.mediaHeader->begin + (isLong ? 20 : 12), 4);
    if (!bytes_.failure().empty())
      return Failure{bytes_.failure()};
    if (scale_ == 0)
      return Failure{"its index has no unit of time"};
    for (const auto step : {&TrackReader::readEdits, &TrackReader::readSizes,
                            &TrackReader::readTimes, &TrackReader::readChunks})
      TESSARIN_TRY((this->*step)());
    return track_;
  }

 private:
  Outcome<std::unique_ptr<Table>> open(Span atom, unsigned entrySize) const {
    return Table::open(descriptor_, bytes_.size(), atom, entrySize);
  }

  Span sizesAtom() const { return atoms_.sizes ? *atoms_.sizes : *atoms_.smallSizes; }

  // Edits without media at the beginning, and then one with: that is what a movie needs.
  Outcome<void> readEdits() {
    if (!atoms_.edits || movieScale_ == 0)
      return {};
    const bool isLong = bytes_.number(atoms_.edits->begin, 1) == 1;
    TESSARIN_TAKE(const auto table, open(*atoms_.edits, isLong ? 20 : 12));
    const unsigned width = isLong ? 8 : 4;
    const auto perMovieTick = static_cast<double>(scale_) / static_cast<double>(movieScale_);
    std::uint64_t withMedia = 0;
    for (std::uint64_t entry = 0; entry < table->count(); ++entry) {
      const std::uint64_t length = table->field(entry, 0, width);
      const std::uint64_t time = table->field(entry, width, width);
      const std::int64_t from = isLong ? static_cast<std::int64_t>(time) : signed32(time);
      if (from < 0) {
        if (withMedia == 0)
          track_.start += static_cast<double>(length) / static_cast<double>(movieScale_);
        continue;
      }
      if (++withMedia > 1) {
        shown_ = {};
        break;
      }
      shown_.from = from;
      const double to = static_cast<double>(from) + static_cast<double>(length) * perMovieTick;
      if (length > 0 && to < 9e18)
        shown_.to = std::llround(to);
    }
    return checked(table->failure());
  }

  // Version and flags, the size of all or that of a size, the count, and the sizes.
  Outcome<void> readSizes() {
    constexpr std::uint64_t header = 12;
    const Span atom = sizesAtom();
    if (atom.size() < header)
      return Failure{damagedTable};
    if (atoms_.sizes)
      sameSize_ = bytes_.number(atom.begin + 4, 4);
    else
      sizeBits_ = bytes_.number(atom.begin + 7, 1);
    samples_ = bytes_.number(atom.begin + 8, 4);
    const bool isKnown = sizeBits_ == 4 || sizeBits_ == 8 || sizeBits_ == 16 || sizeBits_ == 32;
    if (!isKnown || (sameSize_ == 0 && (samples_ * sizeBits_ + 7) / 8 > atom.size() - header))
      return Failure{damagedTable};
    return checked(bytes_.failure());
  }

  // Counts what is shown, run by run of samples that are equally far apart.
  Outcome<void> readTimes() {
    TESSARIN_TAKE(const auto times, open(*atoms_.times, 8));
    std::unique_ptr<Table> offsets;
    if (atoms_.offsets) {
      TESSARIN_TAKE(offsets, open(*atoms_.offsets, 8));
    }
    std::uint64_t timed = 0;
    std::uint64_t ticks = 0;
    std::uint64_t offsetEntry = 0;
    std::uint64_t offsetLeft = 0;
    std::int64_t offset = 0;
    for (std::uint64_t entry = 0; entry < times->count() && timed < samples_; ++entry) {
      std::uint64_t left = std::min(times->field(entry, 0, 4), samples_ - timed);
      const std::uint64_t step = times->field(entry, 4, 4);
      while (left > 0) {
        while (offsets && offsetLeft == 0 && offsetEntry < offsets->count()) {
          offsetLeft = offsets->field(offsetEntry, 0, 4);
          offset = signed32(offsets->field(offsetEntry, 4, 4));
          ++offsetEntry;
        }
        const std::uint64_t run = offsetLeft > 0 ? std::min(left, offsetLeft) : left;
        if (step != 0 && run > (mostTicks - ticks) / step)
          return Failure{"its index has times that cannot be"};
        track_.shown += shownOf(shown_, static_cast<std::int64_t>(ticks) + offset,
                                static_cast<std::int64_t>(step), run);
        ticks += run * step;
        timed += run;
        left -= run;
        offsetLeft -= offsetLeft > 0 ? run : 0;
      }
    }
    track_.samples = timed;
    track_.seconds = static_cast<double>(ticks) / static_cast<double>(scale_);
    return checked(!times->failure().empty() || !offsets ? times->failure() : offsets->failure());
  }

  // Bytes of one sample, where each has its own size.
  std::uint64_t sizeOf(FileBytes& sizes, std::uint64_t sample) const {
    const std::uint64_t first = sizesAtom().begin + 12;
    if (sizeBits_ >= 8)
      return sizes.number(first + sample * (sizeBits_ / 8), static_cast<unsigned>(sizeBits_ / 8));
    const std::uint64_t two = sizes.number(first + sample / 2, 1);
    return sample % 2 == 0 ? two >> 4 : two & 15;
  }

  // Of the next samples, which stand together from this position on, counts those that are missing.
  std::uint64_t missingOf(FileBytes& sizes, std::uint64_t first, std::uint64_t count,
                          std::uint64_t position) const {
    std::uint64_t room = position < bytes_.size() ? bytes_.size() - position : 0;
    if (sameSize_ != 0)
      return count - std::min(count, room / sameSize_);
    std::uint64_t missing = 0;
    for (std::uint64_t sample = first; sample < first + count; ++sample) {
      const std::uint64_t size = sizeOf(sizes, sample);
      missing += size > room ? 1 : 0;
      room -= std::min(size, room);
    }
    return missing;
  }

  Outcome<void> readChunks() {
    const unsigned width = atoms_.longChunks ? 8 : 4;
    TESSARIN_TAKE(const auto groups, open(*atoms_.chunkGroups, 12));
    TESSARIN_TAKE(const auto chunks,
                  open(atoms_.longChunks ? *atoms_.longChunks : *atoms_.chunks, width));
    FileBytes sizes(descriptor_, bytes_.size());
    std::uint64_t sample = 0;
    std::uint64_t group = 0;
    std::uint64_t inChunk = 0;
    for (std::uint64_t chunk = 0; chunk < chunks->count() && sample < samples_; ++chunk) {
      while (group < groups->count() && groups->field(group, 0, 4) <= chunk + 1)
        inChunk = groups->field(group++, 4, 4);
      const std::uint64_t count = std::min(inChunk, samples_ - sample);
      track_.missing += missingOf(sizes, sample, count, chunks->field(chunk, 0, width));
      sample += count;
    }
    track_.missing += samples_ - sample;
    for (const std::string& failure : {sizes.failure(), groups->failure(), chunks->failure()})
      if (!failure.empty())
        return Failure{failure};
    return {};
  }

  static Outcome<void> checked(const std::string& failure) {
    if (!failure.empty())
      return Failure{failure};
    return {};
  }

  int descriptor_;
  FileBytes& bytes_;
  const TrackAtoms& atoms_;
  std::uint64_t movieScale_;  // ticks a second
  std::uint64_t scale_ = 0;   // likewise, of the track
  MovieTrack track_;
  Shown shown_;
  std::uint64_t samples_ = 0;
  std::uint64_t sameSize_ = 0;  // bytes of each sample; 0: each has its own
  std::uint64_t sizeBits_ = 32;
};

// The atoms of a track, at any depth that they can have.
void collect(FileBytes& bytes, Span within, std::string_view parent, TrackAtoms& atoms) {
  Atoms children(bytes, within);
  while (const auto child = children.next()) {
    if (isContainer(parent, child->type))
      collect(bytes, child->content, child->type, atoms);
    else if (auto* place = placeOf(atoms, parent, child->type); place != nullptr && !*place)
      *place = child->content;
  }
}

// Ticks a second; 0 when the index does not tell.
std::uint64_t scaleOfMovie(FileBytes& bytes, Span index) {
  Atoms children(bytes, index);
  while (const auto child = children.next())
    if (child->type == "mvhd" && child->content.size() >= 24)
      return bytes.number(
          child->content.begin + (bytes.number(child->content.begin, 1) == 1 ? 20 : 12), 4);
  return 0;
}

Outcome<void> readTracks(int descriptor, FileBytes& bytes, Span index, MovieIndex& movie) {
  const std::uint64_t scale = scaleOfMovie(bytes, index);
  Atoms children(bytes, index);
  while (const auto child = children.next()) {
    movie.isFragmented = movie.isFragmented || child->type == "mvex";
    if (child->type != "trak")
      continue;
    if (movie.tracks.size() == mostTracks)
      return Failure{"its index has too many tracks"};
    TrackAtoms atoms;
    collect(bytes, child->content, "trak", atoms);
    TESSARIN_TAKE(const MovieTrack track, TrackReader(descriptor, bytes, atoms, scale).read());
    movie.tracks.push_back(track);
  }
  return {};
}

const MovieTrack* largest(const std::vector<MovieTrack>& tracks, MovieTrack::Kind kind) {
  const MovieTrack* found = nullptr;
  for (const MovieTrack& track : tracks)
    if (track.kind == kind && (found == nullptr || track.samples > found->samples))
      found = &track;
  return found;
}

}  // namespace

const MovieTrack* MovieIndex::pictures() const {
  return largest(tracks, MovieTrack::Kind::pictures);
}

std::vector<const MovieTrack*> MovieIndex::sounds() const {
  std::vector<const MovieTrack*> sounds;
  for (const MovieTrack& track : tracks)
    if (track.kind == MovieTrack::Kind::sound && track.samples > 0)
      sounds.push_back(&track);
  return sounds;
}

Outcome<MovieIndex> readMovieIndex(int descriptor) {
  const auto facts = fileFacts(descriptor);
  if (!facts)
    return Failure{systemReason(errno)};
  FileBytes bytes(descriptor, static_cast<std::uint64_t>(facts->state.size));
  MovieIndex movie;
  Atoms parts(bytes, {0, bytes.size()});
  std::optional<Span> index;
  while (const auto part = parts.next()) {
    movie.isWhole = !part->isCut;
    movie.isFragmented = movie.isFragmented || part->type == "moof";
    if (part->type == "moov" && !index)
      index = part->content;
  }
  if (!bytes.failure().empty())
    return Failure{bytes.failure()};
  movie.isWhole = movie.isWhole && parts.rest() == 0;
  if (!index)
    return Failure{"it has no index"};
  TESSARIN_TRY(readTracks(descriptor, bytes, *index, movie));
  return movie;
}

Outcome<MovieIndex> readMovieIndex(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  if (!file.isOpen())
    return Failure{systemReason(errno)};
  return readMovieIndex(file.number());
}

}  // namespace tessarin
