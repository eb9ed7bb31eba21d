#include "movie/aviIndex.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "classShared/descriptorBytes.h"
#include "movie/FileBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::uint64_t chunkHead = 8;    // name and size
constexpr std::uint64_t indexEntry = 16;  // name, flags, place and size
constexpr int mostChunks = 10000;         // beside each other in a list
constexpr std::size_t mostStreams = 32;
constexpr std::size_t mostEntries = 50'000'000;
constexpr std::size_t mostInOrder = 10'000'000;  // chunks; pictures of four days

struct Chunk {
  std::string name;
  std::uint64_t begin = 0;  // of its content
  std::uint64_t end = 0;
};

class AviReader {
 public:
  AviReader(int descriptor, std::uint64_t size) : bytes_(descriptor, size) {}

  std::vector<AviStream> read() {
    const std::optional<Chunk> index = readHead();
    readParts();
    if (entries_ == 0 && index)
      readIndex(*index);
    std::erase_if(streams_, [](const AviStream& stream) { return stream.chunks.empty(); });
    return isRead() ? std::move(streams_) : std::vector<AviStream>();
  }

  AviStream readPicturesInOrder() {
    readHead();
    const auto kind = std::find(kinds_.begin(), kinds_.end(), "vids");
    if (movie_ == 0 || kind == kinds_.end())
      return {};
    const auto place = static_cast<std::size_t>(kind - kinds_.begin());
    AviStream& stream = streams_[place];
    std::uint64_t empty = 0;
    constexpr std::uint64_t listHead = 4;
    for (std::uint64_t at = movie_ + listHead; at + chunkHead <= bytes_.size() && !isDamaged_;) {
      if (!isChunk(at)) {
        at = nextChunk(at);
        continue;
      }
      const std::string name = bytes_.letters(at);
      const auto size = static_cast<std::uint32_t>(number(at + 4));
      if (name == "LIST" || name == "RIFF") {
        at += chunkHead + listHead;
        continue;
      }
      if (name == "idx1" && stream.expected == 0)
        stream.expected = picturesIn({name, at + chunkHead, at + chunkHead + size}, stream.name);
      const bool isPicture =
          isOfStream(at) && name.starts_with(stream.name) && !name.ends_with("pc");
      empty += isPicture && size == 0 ? 1 : 0;
      if (isPicture)
        add(stream, {at + chunkHead, size});
      else
        ++entries_;
      isDamaged_ = isDamaged_ || entries_ > mostInOrder;
      at += chunkHead + size + size % 2;
    }
    if (stream.expected == 0 && told_[place] > empty)
      stream.expected = told_[place] - empty;
    return isRead() ? std::move(stream) : AviStream();
  }

 private:
  // The streams, where their chunks are, and the index behind these.
  std::optional<Chunk> readHead() {
    std::optional<Chunk> index;
    if (bytes_.size() < chunkHead * 4 || bytes_.letters(0) != "RIFF" || bytes_.letters(8) != "AVI ")
      return index;
    constexpr std::uint64_t firstChunk = 12;
    forEachChunk(firstChunk, bytes_.size(), [&](const Chunk& chunk) {
      if (isList(chunk, "hdrl"))
        readHeaders(chunk);
      else if (isList(chunk, "movi") && movie_ == 0)
        movie_ = chunk.begin;
      else if (chunk.name == "idx1" && !index)
        index = chunk;
      return !index;
    });
    return index;
  }

  std::uint64_t picturesIn(const Chunk& index, const std::string& stream) {
    std::uint64_t count = 0;
    for (std::uint64_t at = index.begin; at + indexEntry <= index.end; at += indexEntry) {
      const std::string name = bytes_.letters(at);
      count += name.starts_with(stream) && !name.ends_with("pc") && number(at + 12) > 0 ? 1 : 0;
    }
    return count;
  }

  bool isRead() const { return bytes_.failure().empty() && !isDamaged_; }

  bool fits(std::uint64_t place) { return number(place + 4) <= bytes_.size() - place - chunkHead; }

  // Whether a chunk may begin here; `isOfStream`: one of a stream, which chance hardly makes.
  bool isChunk(std::uint64_t place) {
    const std::string name = bytes_.letters(place);
    return fits(place) && std::all_of(name.begin(), name.end(),
                                      [](char letter) { return letter >= ' ' && letter <= '~'; });
  }
  bool isOfStream(std::uint64_t place) {
    const auto name = static_cast<std::uint32_t>(bytes_.number(place, 4));
    const std::uint32_t stream = ((name >> 24) - '0') * 10 + ((name >> 16 & 0xFF) - '0');
    const std::uint32_t kind = name & 0xFFFF;
    constexpr std::array<std::uint32_t, 4> kinds = {0x6463, 0x6462, 0x7762, 0x7063};  // dc db wb pc
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end() && stream < streams_.size() &&
           fits(place);
  }
  // That of a stream at this place or behind it; some programs do not fill up odd ones.
  std::uint64_t nextChunk(std::uint64_t place) {
    for (--place; place + chunkHead <= bytes_.size() && bytes_.failure().empty(); ++place) {
      if (isOfStream(place))
        return place;
      constexpr unsigned zeros = 8;  // by which long stretches of them are passed over
      if (bytes_.number(place, zeros) == 0)
        place += zeros - 1;
    }
    return bytes_.size();
  }

  // AVI counts from the other end.
  std::uint64_t number(std::uint64_t position, unsigned size = 4) {
    std::uint64_t number = 0;
    for (unsigned byte = size; byte-- > 0;)
      number = number << 8 | bytes_.number(position + byte, 1);
    return number;
  }

  // Those beside each other, until `visit` says that it has enough.
  template <class Visit>
  void forEachChunk(std::uint64_t position, std::uint64_t end, const Visit& visit) {
    for (int count = 0; count < mostChunks && position + chunkHead <= end; ++count) {
      const std::uint64_t size = number(position + 4);
      const Chunk chunk{bytes_.letters(position), position + chunkHead,
                        std::min(end, position + chunkHead + size)};
      if (!bytes_.failure().empty() || !visit(chunk))
        return;
      position += chunkHead + size + size % 2;
    }
  }

  bool isList(const Chunk& chunk, std::string_view kind) {
    return chunk.name == "LIST" && chunk.end - chunk.begin >= 4 &&
           bytes_.letters(chunk.begin) == kind;
  }

  void readHeaders(const Chunk& list) {
    forEachChunk(list.begin + 4, list.end, [this](const Chunk& chunk) {
      if (isList(chunk, "strl") && streams_.size() < mostStreams)
        readStream(chunk);
      return true;
    });
  }

  void readStream(const Chunk& list) {
    AviStream& stream = streams_.emplace_back();
    const std::size_t place = streams_.size() - 1;
    stream.name = {static_cast<char>('0' + place / 10), static_cast<char>('0' + place % 10)};
    kinds_.emplace_back();
    told_.emplace_back();
    parts_.emplace_back();
    forEachChunk(list.begin + 4, list.end, [&](const Chunk& chunk) {
      constexpr std::uint64_t header = 48;
      constexpr std::uint64_t superIndex = 24;
      const std::uint64_t size = chunk.end - chunk.begin;
      if (chunk.name == "strh" && size >= header) {
        kinds_.back() = bytes_.letters(chunk.begin);
        stream.isSound = kinds_.back() == "auds";
        const auto rate = static_cast<double>(number(chunk.begin + 24));
        told_.back() = number(chunk.begin + 32);
        const auto sampleSize = static_cast<double>(number(chunk.begin + 44));
        if (rate > 0)
          stream.step = static_cast<double>(number(chunk.begin + 20)) / rate /
                        (stream.isSound && sampleSize > 0 ? sampleSize : 1);
      } else if (chunk.name == "indx" && size >= superIndex && number(chunk.begin + 3, 1) == 0) {
        parts_.back() = chunk;
      }
      return true;
    });
  }

  void add(AviStream& stream, MediaPiece chunk) {
    constexpr std::uint32_t noKey = 0x80000000;
    chunk.size &= ~noKey;
    if (chunk.size > 0)
      stream.chunks.push_back(chunk);
    // Parts of an index may name the same chunks over and over.
    isDamaged_ =
        ++entries_ > mostEntries || (chunks_ += chunk.size > 0) > bytes_.size() / chunkHead;
  }

  bool isUsed(std::size_t stream) const {
    return kinds_.at(stream) == "vids" || kinds_.at(stream) == "auds" ||
           kinds_.at(stream) == "iavs";
  }

  // The index of a stream names those of its parts, which name the chunks.
  void readParts() {
    for (std::size_t stream = 0; stream < streams_.size() && !isDamaged_; ++stream) {
      const auto& index = parts_[stream];
      if (!index || !isUsed(stream))
        continue;
      constexpr std::uint64_t head = 24;
      constexpr std::uint64_t entry = 16;
      const std::uint64_t count =
          std::min(number(index->begin + 4), (index->end - index->begin - head) / entry);
      for (std::uint64_t part = 0; part < count; ++part)
        readPart(number(index->begin + head + part * entry, 8), streams_[stream]);
    }
  }

  void readPart(std::uint64_t place, AviStream& stream) {
    constexpr std::uint64_t head = chunkHead + 24;
    constexpr std::uint64_t entry = 8;
    if (place == 0 || place > bytes_.size() || bytes_.size() - place < head)
      return;
    const std::uint64_t most = (bytes_.size() - place - head) / entry;
    const bool isOfChunks = number(place + chunkHead) == 0x01000002 &&  // two words, no fields
                            number(place + chunkHead + 4) <= most;
    if (!isOfChunks) {
      isDamaged_ = true;
      return;
    }
    const std::uint64_t count = number(place + chunkHead + 4);
    const std::uint64_t base = number(place + chunkHead + 12, 8);
    for (std::uint64_t chunk = 0; chunk < count && !isDamaged_; ++chunk)
      add(stream, {base + number(place + head + chunk * entry),
                   static_cast<std::uint32_t>(number(place + head + chunk * entry + 4))});
  }

  // Its places are counted from the list of chunks on, or from the beginning of the file: as the
  // first chunk that is there says, for damaged ones are not.
  std::uint64_t baseOfIndex(const Chunk& index) {
    constexpr std::uint64_t mostTried = 1000;
    for (std::uint64_t tried = 0; tried < mostTried; ++tried) {
      const std::uint64_t at = index.begin + tried * indexEntry;
      if (at + indexEntry > index.end)
        break;
      for (const std::uint64_t base : {movie_, std::uint64_t{0}})
        if (const std::uint64_t place = base + number(at + 8);
            place + chunkHead <= bytes_.size() && bytes_.letters(place) == bytes_.letters(at))
          return base;
    }
    return number(index.begin + 8) >= movie_ ? 0 : movie_;
  }

  void readIndex(const Chunk& index) {
    const std::uint64_t base = baseOfIndex(index);
    for (std::uint64_t at = index.begin; at + indexEntry <= index.end && !isDamaged_;
         at += indexEntry) {
      const std::string name = bytes_.letters(at);
      const std::uint64_t place = number(at + 8);
      const auto found =
          std::find_if(streams_.begin(), streams_.end(),
                       [&name](const AviStream& stream) { return name.starts_with(stream.name); });
      const bool isPalette = name.ends_with("pc");
      if (found != streams_.end() && !isPalette &&
          isUsed(static_cast<std::size_t>(found - streams_.begin())))
        add(*found, {base + place + chunkHead, static_cast<std::uint32_t>(number(at + 12))});
    }
  }

  FileBytes bytes_;
  std::vector<AviStream> streams_;
  std::vector<std::string> kinds_;
  std::vector<std::uint64_t> told_;  // pictures of a stream
  std::vector<std::optional<Chunk>> parts_;
  std::uint64_t movie_ = 0;  // of the list with the chunks, behind its name and size
  std::size_t entries_ = 0;
  std::uint64_t chunks_ = 0;  // those that hold something
  bool isDamaged_ = false;
};

}  // namespace

std::vector<AviStream> aviStreams(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts || facts->state.size <= 0)
    return {};
  return AviReader(file.number(), static_cast<std::uint64_t>(facts->state.size)).read();
}

AviStream aviPicturesInOrder(const std::string& path) {
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts || facts->state.size <= 0)
    return {};
  return AviReader(file.number(), static_cast<std::uint64_t>(facts->state.size))
      .readPicturesInOrder();
}

std::optional<std::uint64_t> aviPictures(const std::vector<AviStream>& streams) {
  const auto pictures = std::find_if(streams.begin(), streams.end(),
                                     [](const AviStream& stream) { return !stream.isSound; });
  return pictures == streams.end() ? std::nullopt : std::optional(pictures->chunks.size());
}

std::uint64_t lostSoundChunks(const std::string& path, const std::vector<AviStream>& streams) {
  const Descriptor file = openFile(path, OpenFor::reading);
  std::uint64_t lost = 0;
  std::uint64_t all = 0;
  for (const AviStream& stream : streams) {
    if (!stream.isSound || !file.isOpen())
      continue;
    for (const MediaPiece& chunk : stream.chunks) {
      std::array<char, 4> head{};
      const bool isThere =
          chunk.begin >= chunkHead &&
          readAt(file.number(), head.data(), head.size(), chunk.begin - chunkHead) == head.size() &&
          std::string_view(head.data(), head.size()).starts_with(stream.name);
      lost += isThere ? 0 : 1;
      ++all;
    }
  }
  return lost * 2 > all ? 0 : lost;
}

}  // namespace tessarin
