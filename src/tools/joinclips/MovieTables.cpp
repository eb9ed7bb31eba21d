#include "tools/joinclips/MovieTables.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>

#include "classShared/descriptorBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin::joining {

namespace {

// An atom's length and type.
constexpr std::size_t atomHead = tessarin::headSize;
// Of a track, 11 days. All parts of a recording together can be counted in any unit.
constexpr std::uint64_t mostSeconds = 1'000'000;
constexpr std::uint64_t largestIndex = 64U << 20;
constexpr std::size_t mostTracks = 64;
constexpr const char* damagedIndex = "its index is damaged";

// ---- The file

struct FileAtoms {
  std::string type;
  std::string index;
};

class MovieFile {
 public:
  MovieFile(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}

  Outcome<FileAtoms> read() const {
    constexpr int mostAtoms = 10000;
    constexpr std::uint64_t longestType = 4096;
    FileAtoms atoms;
    std::uint64_t position = 0;
    for (int count = 0; size_ - position >= atomHead; ++count) {
      TESSARIN_TAKE(const std::string head,
                    bytes(position, std::min<std::uint64_t>(16, size_ - position)));
      const std::string type = head.substr(4, 4);
      std::uint64_t start = atomHead;
      std::uint64_t length = tessarin::numberAt(head, 0, 4);
      if (length == 1) {
        start = 16;
        length = tessarin::numberAt(head, atomHead, 8);
      } else if (length == 0) {
        length = size_ - position;
      }
      if (length < start || length > size_ - position)
        return Failure{"it ends too early"};
      if (type == "moof" || count == mostAtoms)
        return Failure{"its index is in pieces"};
      if (type == "ftyp" && position == 0 && length <= longestType) {
        TESSARIN_TAKE(atoms.type, bytes(position, length));
      } else if (type == "moov" && atoms.index.empty()) {
        if (length > largestIndex)
          return Failure{"its index is too large"};
        TESSARIN_TAKE(atoms.index, bytes(position + start, length - start));
      }
      position += length;
    }
    if (atoms.index.empty())
      return Failure{"it has no index"};
    return atoms;
  }

  Outcome<std::string> bytes(std::uint64_t position, std::uint64_t length) const {
    std::string bytes(static_cast<std::size_t>(length), '\0');
    if (readAt(descriptor_, bytes.data(), bytes.size(), position) < bytes.size())
      return Failure{errno != 0 ? systemReason(errno) : "it ends too early"};
    return bytes;
  }

 private:
  int descriptor_;
  std::uint64_t size_;
};

// ---- A track

// The entries of a table: version and flags, their number, and they themselves.
class Entries {
 public:
  Entries(std::string_view content, std::size_t size)
      : content_(content), size_(size), count_(tessarin::numberAt(content, 4, 4)) {}

  bool isWhole() const {
    return content_.size() >= head && count_ <= (content_.size() - head) / size_;
  }
  std::size_t count() const { return static_cast<std::size_t>(count_); }
  std::uint64_t field(std::size_t entry, std::size_t offset, unsigned bytes) const {
    return tessarin::numberAt(content_, head + entry * size_ + offset, bytes);
  }
  std::uint32_t word(std::size_t entry, std::size_t offset = 0) const {
    return static_cast<std::uint32_t>(field(entry, offset, 4));
  }

 private:
  static constexpr std::size_t head = 8;
  std::string_view content_;
  std::size_t size_;
  std::uint64_t count_;
};

std::int64_t withSign(std::uint32_t number) {
  return static_cast<std::int32_t>(number);
}

const OwnedAtom* atomAt(const OwnedAtom& track, std::initializer_list<std::string_view> names) {
  const OwnedAtom* atom = &track;
  for (const std::string_view name : names)
    if (atom != nullptr)
      atom = atom->part(name);
  return atom;
}

// By size, which a few odd ones do not change.
std::uint32_t middleStep(std::vector<SampleRun> steps, std::uint64_t samples) {
  std::sort(steps.begin(), steps.end(),
            [](const SampleRun& one, const SampleRun& other) { return one.value < other.value; });
  std::uint64_t passed = 0;
  for (const SampleRun& run : steps)
    if ((passed += run.count) * 2 >= samples)
      return run.value;
  return 0;
}

class TrackTablesReader {
 public:
  TrackTablesReader(const OwnedAtom& track, std::uint32_t movieScale, std::uint64_t fileSize)
      : atom_(track), movieScale_(movieScale), fileSize_(fileSize) {}

  Outcome<JoinableTrack> read() {
    const OwnedAtom* handler = atomAt(atom_, {"mdia", "hdlr"});
    if (handler != nullptr && handler->content.size() >= 12)
      track_.kind = handler->content.substr(8, 4);
    if (!track_.isJoined())
      return std::move(track_);
    const OwnedAtom* header = atomAt(atom_, {"mdia", "mdhd"});
    tables_ = atomAt(atom_, {"mdia", "minf", "stbl"});
    const OwnedAtom* description = part("stsd");
    if (header == nullptr || description == nullptr)
      return Failure{damagedIndex};
    track_.scale = static_cast<std::uint32_t>(
        tessarin::numberAt(header->content, header->content.starts_with('\1') ? 20 : 12, 4));
    track_.description = description->content;
    if (track_.scale == 0)
      return Failure{damagedIndex};
    for (const auto step : {&TrackTablesReader::readSizes, &TrackTablesReader::readSteps,
                            &TrackTablesReader::readOffsets, &TrackTablesReader::readKeys,
                            &TrackTablesReader::readChunks})
      if (!(this->*step)())
        return Failure{damagedIndex};
    findShown();
    if (!readEdits())
      return Failure{"its edits cannot be joined"};
    return std::move(track_);
  }
  // Bytes of all samples.
  std::uint64_t bytes() const { return bytes_; }

 private:
  std::uint64_t mostTicks() const { return mostSeconds * track_.scale; }
  const OwnedAtom* part(std::string_view name) const {
    return tables_ == nullptr ? nullptr : tables_->part(name);
  }

  bool readSizes() {
    constexpr std::size_t head = 12;
    const OwnedAtom* atom = part("stsz");
    const bool isShort = atom == nullptr;
    if (isShort)
      atom = part("stz2");
    if (atom == nullptr || atom->content.size() < head)
      return false;
    const std::string& content = atom->content;
    track_.samples = tessarin::numberAt(content, 8, 4);
    track_.tables.sameSize =
        isShort ? 0 : static_cast<std::uint32_t>(tessarin::numberAt(content, 4, 4));
    const std::uint64_t bits = isShort ? tessarin::numberAt(content, 7, 1) : 32;
    const bool isKnown = bits == 4 || bits == 8 || bits == 16 || bits == 32;
    if (track_.tables.sameSize != 0)
      return readPlainSound();
    if (!isKnown || (track_.samples * bits + 7) / 8 > content.size() - head)
      return false;
    track_.tables.sizes.reserve(track_.samples);
    for (std::size_t sample = 0; sample < track_.samples; ++sample) {
      const auto width = static_cast<unsigned>(std::max<std::uint64_t>(bits, 8) / 8);
      std::uint64_t size = tessarin::numberAt(content, head + sample * bits / 8, width);
      if (bits == 4)
        size = sample % 2 == 0 ? size >> 4 : size & 15;
      track_.tables.sizes.push_back(static_cast<std::uint32_t>(size));
    }
    return true;
  }

  // Of plain sound QuickTime may say that a sample has one byte, whatever it has.
  bool readPlainSound() {
    static constexpr std::array<std::string_view, 9> plain{"sowt", "twos", "in24", "in32", "lpcm",
                                                           "raw ", "NONE", "ipcm", "fl32"};
    constexpr std::size_t entry = 8;
    const std::string_view text = track_.description;
    const std::string_view codec = text.substr(std::min(entry + 4, text.size()), 4);
    constexpr std::uint64_t mostOfOneSize = 10'000'000;  // packets, pictures
    rawSize_ = track_.tables.sameSize;
    if (track_.kind != "soun" || std::find(plain.begin(), plain.end(), codec) == plain.end())
      return (rawSize_ > 1 || track_.kind != "soun") && track_.samples <= mostOfOneSize;
    const std::uint64_t version = tessarin::numberAt(text, entry + 16, 2);
    const std::uint64_t channels = tessarin::numberAt(text, entry + 24, 2);
    const std::uint64_t bits = tessarin::numberAt(text, entry + 26, 2);
    std::uint64_t size = channels * bits / 8;
    if (version == 1 && tessarin::numberAt(text, entry + 44, 4) > 0)
      size = tessarin::numberAt(text, entry + 44, 4);  // of a frame
    else if (version == 2)
      size = tessarin::numberAt(text, entry + 64, 4);
    constexpr std::uint64_t mostBytes = 1024;
    if (rawSize_ == 1 && size > 0 && size <= mostBytes)
      rawSize_ = static_cast<std::uint32_t>(size);
    track_.rawSize = rawSize_;
    track_.isSigned = codec != "raw " && !(codec == "NONE" && bits == 8);
    return true;
  }

  bool readSteps() {
    const OwnedAtom* atom = part("stts");
    const Entries entries(atom == nullptr ? std::string_view() : atom->content, 8);
    if (!entries.isWhole())
      return false;
    std::uint64_t samples = 0;
    for (std::size_t entry = 0; entry < entries.count(); ++entry) {
      const std::uint64_t count = entries.word(entry);
      const std::uint32_t step = entries.word(entry, 4);
      if (count == 0)
        continue;
      if (count > track_.samples - samples ||
          (step != 0 && count > (mostTicks() - track_.ticks) / step))
        return false;
      addRun(track_.tables.steps, count, step);
      samples += count;
      track_.ticks += count * step;
      track_.lastStep = step;
    }
    track_.usualStep = middleStep(track_.tables.steps, samples);
    return samples == track_.samples;
  }

  bool readOffsets() {
    const OwnedAtom* atom = part("ctts");
    if (atom == nullptr)
      return true;
    const Entries entries(atom->content, 8);
    if (!entries.isWhole())
      return false;
    std::uint64_t samples = 0;
    for (std::size_t entry = 0; entry < entries.count(); ++entry) {
      const std::uint64_t count = entries.word(entry);
      if (count > track_.samples - samples)
        return false;
      addRun(track_.tables.offsets, count, entries.word(entry, 4));
      samples += count;
    }
    addRun(track_.tables.offsets, track_.samples - samples, 0);
    return true;
  }

  bool readKeys() {
    const OwnedAtom* atom = part("stss");
    if (atom == nullptr || track_.kind != "vide")
      return true;
    const Entries entries(atom->content, 4);
    if (!entries.isWhole())
      return false;
    auto& keys = track_.tables.keys.emplace();
    keys.reserve(entries.count());
    for (std::size_t entry = 0; entry < entries.count(); ++entry) {
      const std::uint32_t key = entries.word(entry);
      if (key <= (keys.empty() ? 0 : keys.back()) || key > track_.samples)
        return false;
      keys.push_back(key);
    }
    return true;
  }

  bool readChunks() {
    const OwnedAtom* places = part("stco");
    const unsigned width = places == nullptr ? 8 : 4;
    if (places == nullptr)
      places = part("co64");
    const OwnedAtom* grouping = part("stsc");
    if (places == nullptr || grouping == nullptr)
      return false;
    const Entries chunks(places->content, width);
    const Entries groups(grouping->content, 12);
    if (!chunks.isWhole() || !groups.isWhole())
      return false;
    auto& made = track_.tables.chunks;
    made.reserve(chunks.count());
    std::size_t group = 0;
    SampleChunk next;
    std::uint64_t sample = 0;
    for (std::size_t chunk = 0; chunk < chunks.count() && sample < track_.samples; ++chunk) {
      for (; group < groups.count() && groups.word(group) <= chunk + 1; ++group) {
        next.samples = groups.word(group, 4);
        next.description = groups.word(group, 8);
      }
      next.position = chunks.field(chunk, 0, width);
      if (next.samples == 0 || next.samples > track_.samples - sample || !isThere(next, sample))
        return false;
      made.push_back(next);
      sample += next.samples;
    }
    return sample == track_.samples;
  }

  bool isThere(const SampleChunk& chunk, std::uint64_t first) {
    std::uint64_t size = std::uint64_t{chunk.samples} * rawSize_;
    if (rawSize_ == 0)
      for (std::uint64_t sample = first; sample < first + chunk.samples; ++sample)
        size += track_.tables.sizes[sample];
    bytes_ += size;
    return chunk.position <= fileSize_ && size <= fileSize_ - chunk.position && bytes_ <= fileSize_;
  }

  // Samples of one offset are shown in their order.
  void findShown() {
    const std::vector<SampleRun>& steps = track_.tables.steps;
    std::vector<SampleRun> offsets = track_.tables.offsets;
    if (offsets.empty())
      addRun(offsets, track_.samples, 0);
    std::size_t run = 0;
    std::uint32_t used = 0;
    std::int64_t time = 0;
    std::int64_t latest = 0;
    bool isFirst = true;
    for (const SampleRun& offset : offsets) {
      const std::int64_t first = time + withSign(offset.value);
      for (std::uint32_t left = offset.count; left > 0 && run < steps.size();) {
        const std::uint32_t count = std::min(left, steps[run].count - used);
        time += std::int64_t{count} * steps[run].value;
        latest = time - steps[run].value;
        left -= count;
        used += count;
        if (used == steps[run].count) {
          ++run;
          used = 0;
        }
      }
      const std::int64_t last = latest + withSign(offset.value);
      track_.firstShown = isFirst ? first : std::min(track_.firstShown, first);
      track_.lastShown = isFirst ? last : std::max(track_.lastShown, last);
      isFirst = false;
    }
  }

  // Edits without media at the beginning, and then one with.
  bool readEdits() {
    track_.editEnd = std::max<std::int64_t>(track_.lastShown + track_.lastStep,
                                            static_cast<std::int64_t>(track_.ticks));
    const OwnedAtom* atom = atomAt(atom_, {"edts", "elst"});
    if (atom == nullptr || movieScale_ == 0)
      return true;
    const bool isLong = atom->content.starts_with('\1');
    const unsigned width = isLong ? 8 : 4;
    const Entries entries(atom->content, isLong ? 20 : 12);
    if (!entries.isWhole())
      return false;
    bool hasMedia = false;
    for (std::size_t entry = 0; entry < entries.count(); ++entry) {
      const std::uint64_t length = entries.field(entry, 0, width);
      const std::uint64_t time = entries.field(entry, width, width);
      const std::int64_t from =
          isLong ? static_cast<std::int64_t>(time) : withSign(static_cast<std::uint32_t>(time));
      constexpr std::uint32_t usualRate = 0x10000;
      const double seconds =
          std::min(static_cast<double>(length) / movieScale_, static_cast<double>(mostSeconds));
      if (hasMedia || from > static_cast<std::int64_t>(mostTicks()))
        return false;
      if (from < 0) {
        track_.emptyStart += seconds;
        continue;
      }
      hasMedia = true;
      if (entries.word(entry, std::size_t{2} * width) != usualRate)
        return false;
      track_.editBegin = from;
      if (length > 0)
        track_.editEnd = from + static_cast<std::int64_t>(std::ceil(seconds * track_.scale));
    }
    return track_.emptyStart < mostSeconds;
  }

  const OwnedAtom& atom_;
  const OwnedAtom* tables_ = nullptr;
  std::uint32_t movieScale_;
  std::uint64_t fileSize_;
  std::uint64_t bytes_ = 0;
  std::uint32_t rawSize_ = 0;
  JoinableTrack track_;
};

// Of a time code track. Its entry of the description has the rate behind other numbers.
std::optional<PictureCount> pictureCountOf(const OwnedAtom& track, const MovieFile& file) {
  constexpr std::size_t ticksAt = 32;
  const OwnedAtom* handler = atomAt(track, {"mdia", "hdlr"});
  const OwnedAtom* tables = atomAt(track, {"mdia", "minf", "stbl"});
  if (handler == nullptr || tables == nullptr || handler->content.substr(0, 12).substr(8) != "tmcd")
    return std::nullopt;
  const OwnedAtom* description = tables->part("stsd");
  const OwnedAtom* places = tables->part("stco");
  const unsigned width = places == nullptr ? 8 : 4;
  if (places == nullptr)
    places = tables->part("co64");
  if (description == nullptr || places == nullptr || description->content.size() < ticksAt + 8 ||
      places->content.size() < 8 + width)
    return std::nullopt;
  const auto ticks = static_cast<double>(tessarin::numberAt(description->content, ticksAt, 4));
  const auto step = static_cast<double>(tessarin::numberAt(description->content, ticksAt + 4, 4));
  const auto sample = file.bytes(tessarin::numberAt(places->content, 8, width), 4);
  constexpr double mostPictures = 1000;
  if (!sample || step <= 0 || ticks <= 0 || ticks / step > mostPictures)
    return std::nullopt;
  return PictureCount{static_cast<std::uint32_t>(tessarin::numberAt(*sample, 0, 4)), ticks / step};
}

}  // namespace

void addRun(std::vector<SampleRun>& runs, std::uint64_t count, std::uint32_t value) {
  constexpr std::uint64_t most = 0xFFFFFFFF;
  while (count > 0) {
    if (runs.empty() || runs.back().value != value || runs.back().count == most)
      runs.push_back({0, value});
    const std::uint64_t taken = std::min(count, most - runs.back().count);
    runs.back().count += static_cast<std::uint32_t>(taken);
    count -= taken;
  }
}

const JoinableTrack* MovieTables::pictures() const {
  const JoinableTrack* found = nullptr;
  for (const JoinableTrack& track : tracks)
    if (track.kind == "vide" && (found == nullptr || track.samples > found->samples))
      found = &track;
  return found != nullptr && found->samples > 0 ? found : nullptr;
}

double MovieTables::seconds() const {
  const JoinableTrack* track = pictures();
  return track == nullptr ? 0 : static_cast<double>(track->ticks) / track->scale;
}

std::uint64_t MovieTables::joinedWords() const {
  constexpr std::uint64_t ofChunk = 24;  // its place in the file, in the stream, and in time
  std::uint64_t words = 0;
  for (const JoinableTrack& track : tracks) {
    const SampleTables& tables = track.tables;
    words += 2 * (tables.steps.size() + tables.offsets.size()) + ofChunk * tables.chunks.size();
    if (track.rawSize == 0)
      words += track.samples;
    if (track.kind == "vide")
      words += tables.keys ? tables.keys->size() : track.samples;
  }
  return words;
}

void MovieTables::forgetSamples() {
  index.clear();
  for (JoinableTrack& track : tracks)
    track.tables = {};
}

Outcome<MovieTables> readMovieTables(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return Failure{systemReason(errno)};
  const auto size = static_cast<std::uint64_t>(facts->state.size);
  const MovieFile reader(file.number(), size);
  TESSARIN_TAKE(FileAtoms atoms, reader.read());
  MovieTables movie;
  movie.bytes = size;
  movie.fileType = std::move(atoms.type);
  auto index = atomsOf(atoms.index);
  if (!index)
    return Failure{damagedIndex};
  movie.index = std::move(*index);
  std::uint64_t bytes = 0;
  for (const OwnedAtom& atom : movie.index)
    if (atom.type == "mvhd") {
      const bool isLong = atom.content.starts_with('\1');
      movie.created = tessarin::numberAt(atom.content, 4, isLong ? 8 : 4);
      movie.scale =
          static_cast<std::uint32_t>(tessarin::numberAt(atom.content, isLong ? 20 : 12, 4));
    }
  for (const OwnedAtom& atom : movie.index) {
    if (atom.type == "mvex" || atom.type == "cmov")
      return Failure{"its index is in pieces"};
    if (atom.type != "trak")
      continue;
    if (movie.tracks.size() == mostTracks)
      return Failure{"its index has too many tracks"};
    TrackTablesReader tables(atom, movie.scale, size);
    TESSARIN_TAKE(JoinableTrack track, tables.read());
    bytes += tables.bytes();
    movie.tracks.push_back(std::move(track));
    if (!movie.count)
      movie.count = pictureCountOf(atom, reader);
  }
  // Else a small file could stand for any amount of bytes.
  if (movie.scale == 0 || bytes > size)
    return Failure{damagedIndex};
  if (movie.pictures() == nullptr)
    return Failure{"it has no pictures"};
  return movie;
}

}  // namespace tessarin::joining
