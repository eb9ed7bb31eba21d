#include "tools/joinclips/joinedIndex.h"

#include <algorithm>
#include <cmath>

namespace tessarin::joining {

namespace {

// The head of a movie, a track or a media, with a length in 64 bits: `between` bytes stand between
// its times and its length.
std::string withLongLength(const std::string& content, std::size_t between, std::uint64_t length) {
  const bool isLong = content.starts_with('\1');
  const std::size_t width = isLong ? 8 : 4;
  const std::size_t place = 4 + 2 * width + between;
  if (content.size() < place + width)
    return content;
  std::string made = content.substr(0, 4);
  made[0] = 1;
  made += bigEndian(tessarin::numberAt(content, 4, static_cast<unsigned>(width)), 8);
  made += bigEndian(tessarin::numberAt(content, 4 + width, static_cast<unsigned>(width)), 8);
  made += content.substr(4 + 2 * width, between);
  made += bigEndian(length, 8);
  return made + content.substr(place + width);
}

std::string runTable(const std::vector<SampleRun>& runs, unsigned version) {
  std::string table = bigEndian(version << 24, 4) + bigEndian(runs.size(), 4);
  table.reserve(table.size() + 8 * runs.size());
  for (const SampleRun& run : runs)
    table += bigEndian(run.count, 4) + bigEndian(run.value, 4);
  return table;
}

std::string sizeTable(const JoinableTrack& track) {
  const SampleTables& tables = track.tables;
  std::string table = bigEndian(0, 4) + bigEndian(tables.sameSize, 4) + bigEndian(track.samples, 4);
  table.reserve(table.size() + 4 * tables.sizes.size());
  for (const std::uint32_t size : tables.sizes)
    table += bigEndian(size, 4);
  return table;
}

std::string keyTable(const std::vector<std::uint32_t>& keys) {
  std::string table = bigEndian(0, 4) + bigEndian(keys.size(), 4);
  table.reserve(table.size() + 4 * keys.size());
  for (const std::uint32_t key : keys)
    table += bigEndian(key, 4);
  return table;
}

std::string groupTable(const std::vector<SampleChunk>& chunks) {
  std::string groups;
  std::size_t count = 0;
  for (std::size_t chunk = 0; chunk < chunks.size(); ++chunk) {
    const bool isSame = chunk > 0 && chunks[chunk].samples == chunks[chunk - 1].samples &&
                        chunks[chunk].description == chunks[chunk - 1].description;
    if (isSame)
      continue;
    groups += bigEndian(chunk + 1, 4) + bigEndian(chunks[chunk].samples, 4) +
              bigEndian(chunks[chunk].description, 4);
    ++count;
  }
  return bigEndian(0, 4) + bigEndian(count, 4) + groups;
}

std::string placeTable(const std::vector<std::uint64_t>& places, std::uint64_t begin) {
  std::string table = bigEndian(0, 4) + bigEndian(places.size(), 4);
  table.reserve(table.size() + 8 * places.size());
  for (const std::uint64_t place : places)
    table += bigEndian(begin + place, 8);
  return table;
}

class IndexMaker {
 public:
  IndexMaker(const MovieTables& first, const std::vector<TrackJoiner>& tracks)
      : first_(first), tracks_(tracks) {
    placeChunks();
  }

  JoinedMovie make() {
    JoinedMovie movie;
    constexpr std::size_t mediaHead = 16;
    const std::size_t before = first_.fileType.size() + index(0).size() + mediaHead;
    movie.head = first_.fileType + index(before) + bigEndian(1, 4) + "mdat" +
                 bigEndian(bytes_ + mediaHead, 8);
    movie.pieces = std::move(pieces_);
    return movie;
  }

 private:
  struct Placed {
    double begin = 0;
    std::size_t track = 0;
    std::size_t chunk = 0;
    std::uint64_t bytes = 0;
  };

  // By time, so that who reads the stream need not keep one track until the other comes.
  void placeChunks() {
    std::vector<Placed> all;
    for (std::size_t number = 0; number < tracks_.size(); ++number) {
      const JoinableTrack& track = tracks_[number].track();
      places_.emplace_back(track.tables.chunks.size());
      std::uint64_t sample = 0;
      std::size_t run = 0;
      std::uint64_t used = 0;
      std::uint64_t time = 0;
      for (std::size_t chunk = 0; chunk < track.tables.chunks.size(); ++chunk) {
        Placed placed{static_cast<double>(time) / track.scale, number, chunk, 0};
        std::uint64_t left = track.tables.chunks[chunk].samples;
        if (track.rawSize != 0)
          placed.bytes = left * track.rawSize;
        else
          for (std::uint64_t at = sample; at < sample + left; ++at)
            placed.bytes += track.tables.sizes[at];
        sample += left;
        while (left > 0 && run < track.tables.steps.size()) {
          const SampleRun& steps = track.tables.steps[run];
          const std::uint64_t taken = std::min(left, steps.count - used);
          time += taken * steps.value;
          left -= taken;
          used += taken;
          if (used == steps.count) {
            ++run;
            used = 0;
          }
        }
        all.push_back(placed);
      }
    }
    std::stable_sort(all.begin(), all.end(), [](const Placed& one, const Placed& other) {
      return one.begin < other.begin;
    });
    for (const Placed& placed : all) {
      const JoinableTrack& track = tracks_[placed.track].track();
      const SampleChunk& chunk = track.tables.chunks[placed.chunk];
      places_[placed.track][placed.chunk] = bytes_;
      bytes_ += placed.bytes;
      addPiece({chunk.file, chunk.position, placed.bytes, track.isSigned ? '\0' : '\x80'});
    }
  }
  void addPiece(const MoviePiece& piece) {
    if (!pieces_.empty()) {
      MoviePiece& last = pieces_.back();
      if (last.file == piece.file && piece.file != MoviePiece::noFile &&
          last.position + last.bytes == piece.position) {
        last.bytes += piece.bytes;
        return;
      }
    }
    pieces_.push_back(piece);
  }

  std::string index(std::uint64_t begin) const {
    std::vector<OwnedAtom> atoms = first_.index;
    std::size_t joined = 0;
    std::size_t number = 0;
    std::uint64_t longest = 0;
    for (OwnedAtom& atom : atoms)
      if (atom.type == "trak" && number < first_.tracks.size()) {
        if (first_.tracks[number++].isJoined()) {
          longest = std::max(longest, movieTicks(tracks_[joined]));
          putTables(atom, tracks_[joined], places_[joined], begin);
          ++joined;
        } else {
          leaveEmpty(atom);
        }
      }
    for (OwnedAtom& atom : atoms)
      if (atom.type == "mvhd")
        atom.content = withLongLength(atom.content, 4, longest);
    return atomBytes("moov", bytesOf(atoms));
  }
  std::uint64_t shownTicks(const TrackJoiner& joiner) const {
    const JoinableTrack& track = joiner.track();
    const std::int64_t shown = std::max<std::int64_t>(track.editEnd - track.editBegin, 0);
    return static_cast<std::uint64_t>(
        std::ceil(static_cast<double>(shown) / track.scale * first_.scale));
  }
  std::uint64_t emptyTicks(const TrackJoiner& joiner) const {
    return static_cast<std::uint64_t>(std::llround(joiner.track().emptyStart * first_.scale));
  }
  std::uint64_t movieTicks(const TrackJoiner& joiner) const {
    return shownTicks(joiner) + emptyTicks(joiner);
  }
  void putTables(OwnedAtom& atom, const TrackJoiner& joiner,
                 const std::vector<std::uint64_t>& places, std::uint64_t begin) const {
    const JoinableTrack& track = joiner.track();
    std::erase_if(atom.parts, [](const OwnedAtom& part) { return part.type == "tref"; });
    if (OwnedAtom* head = atom.part("tkhd"))
      head->content = withLongLength(head->content, 8, movieTicks(joiner));
    if (OwnedAtom* edits = atom.part("edts"))
      *edits = {"edts", {}, {{"elst", editTable(joiner), {}}}};
    OwnedAtom* media = atom.part("mdia");
    if (OwnedAtom* head = media->part("mdhd"))
      head->content = withLongLength(head->content, 4, static_cast<std::uint64_t>(joiner.end()));
    OwnedAtom* tables = media->part("minf")->part("stbl");
    std::vector<OwnedAtom> made{*tables->part("stsd")};
    made.push_back({"stts", runTable(track.tables.steps, 0), {}});
    if (!track.tables.offsets.empty()) {
      const bool hasSigns = std::any_of(track.tables.offsets.begin(), track.tables.offsets.end(),
                                        [](const SampleRun& run) { return run.value >> 31 != 0; });
      made.push_back({"ctts", runTable(track.tables.offsets, hasSigns ? 1 : 0), {}});
    }
    if (track.tables.keys)
      made.push_back({"stss", keyTable(*track.tables.keys), {}});
    made.push_back({"stsc", groupTable(track.tables.chunks), {}});
    made.push_back({"stsz", sizeTable(track), {}});
    made.push_back({"co64", placeTable(places, begin), {}});
    tables->parts = std::move(made);
  }
  std::string editTable(const TrackJoiner& joiner) const {
    constexpr std::uint64_t usualRate = 0x10000;
    const std::uint64_t empty = emptyTicks(joiner);
    std::string table = bigEndian(std::uint64_t{1} << 24, 4) + bigEndian(empty > 0 ? 2 : 1, 4);
    if (empty > 0)
      table += bigEndian(empty, 8) + bigEndian(~std::uint64_t{0}, 8) + bigEndian(usualRate, 4);
    return table + bigEndian(shownTicks(joiner), 8) +
           bigEndian(static_cast<std::uint64_t>(joiner.track().editBegin), 8) +
           bigEndian(usualRate, 4);
  }
  // It stays, so that the others keep their numbers.
  static void leaveEmpty(OwnedAtom& atom) {
    std::erase_if(atom.parts,
                  [](const OwnedAtom& part) { return part.type == "tref" || part.type == "edts"; });
    OwnedAtom* tables = &atom;
    for (const char* name : {"mdia", "minf", "stbl"})
      tables = tables == nullptr ? nullptr : tables->part(name);
    if (tables == nullptr)
      return;
    std::erase_if(tables->parts, [](const OwnedAtom& part) { return part.type != "stsd"; });
    const std::string none(8, '\0');
    for (const char* name : {"stts", "stsc", "stsz", "stco"})
      tables->parts.push_back(
          {name, name == std::string_view("stsz") ? none + std::string(4, '\0') : none, {}});
  }

  const MovieTables& first_;
  const std::vector<TrackJoiner>& tracks_;
  std::vector<std::vector<std::uint64_t>> places_;  // of each track's chunks
  std::vector<MoviePiece> pieces_;
  std::uint64_t bytes_ = 0;
};

}  // namespace

JoinedMovie withJoinedTables(const MovieTables& first, const std::vector<TrackJoiner>& tracks) {
  return IndexMaker(first, tracks).make();
}

}  // namespace tessarin::joining
