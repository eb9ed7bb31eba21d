#include "movie/indexRewriting.h"

#include <algorithm>
#include <cerrno>

#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "movie/FileBytes.h"
#include "movie/atomTree.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

// An index of more than this is of a movie of weeks, or none.
constexpr std::uint64_t mostIndex = std::uint64_t{1} << 28;
// What stands before an index that comes before the samples: the kind of file.
constexpr std::uint64_t mostBefore = 4096;
// Of which file systems put in whole ones.
constexpr std::uint64_t roomUnit = 65536;

Outcome<bool> writeAt(int descriptor, std::uint64_t place, std::string_view bytes) {
  if (!writeAllAt(descriptor, bytes, place))
    return Failure{systemReason(errno)};
  return true;
}

// Behind a movie of that size, which stays what it was where the disk is full.
Outcome<bool> append(int descriptor, std::uint64_t size, std::string_view bytes) {
  auto written = writeAt(descriptor, size, bytes);
  if (!written && !cutTo(descriptor, size))
    logFormat("index               :-( {}", systemReason(errno));
  return written;
}

// The first index of the file: where its atom begins, and its size. 0: there is none to work with.
struct IndexPlace {
  std::uint64_t begin = 0;
  std::uint64_t size = 0;

  std::uint64_t end() const { return begin + size; }
};

// Of the atom that begins there; 0 when none does that ends inside of the file.
std::uint64_t sizeOfAtom(FileBytes& bytes, std::uint64_t position) {
  if (bytes.size() - position < headSize)
    return 0;
  std::uint64_t size = bytes.number(position, 4);
  if (size == 1)
    size = bytes.size() - position < 2 * headSize ? 0 : bytes.number(position + headSize, 8);
  const bool isWhole =
      bytes.failure().empty() && size >= headSize && size <= bytes.size() - position;
  return isWhole ? size : 0;
}

IndexPlace placeOfIndex(FileBytes& bytes) {
  std::uint64_t position = 0;
  while (const std::uint64_t size = sizeOfAtom(bytes, position)) {
    if (bytes.letters(position + 4) == "moov")
      return size <= mostIndex ? IndexPlace{position, size} : IndexPlace{};
    position += size;
  }
  return {};
}

// Whether what is put behind the end of the file is an atom behind others, and no part of one.
bool endsWithAtom(FileBytes& bytes, std::uint64_t position) {
  while (const std::uint64_t size = sizeOfAtom(bytes, position))
    position += size;
  return position == bytes.size();
}

std::optional<std::string> readBytes(int descriptor, std::uint64_t place, std::uint64_t size) {
  std::string bytes(static_cast<std::size_t>(size), '\0');
  if (readAt(descriptor, bytes.data(), bytes.size(), place) < bytes.size())
    return std::nullopt;
  return bytes;
}

// The place with the free atom behind it.
IndexPlace withFreeBehind(FileBytes& bytes, IndexPlace place) {
  const std::uint64_t behind = sizeOfAtom(bytes, place.end());
  if (behind > 0 && behind <= mostIndex && bytes.letters(place.end() + 4) == "free")
    place.size += behind;
  return place;
}

// The tables that say where the samples of a track stand in the file.
struct PlaceTable {
  OwnedAtom* atom = nullptr;
  unsigned width = 4;
};

std::vector<PlaceTable> placeTables(std::vector<OwnedAtom>& index) {
  std::vector<PlaceTable> tables;
  for (OwnedAtom& track : index) {
    OwnedAtom* part = track.type == "trak" ? &track : nullptr;
    for (const char* name : {"mdia", "minf", "stbl"})
      part = part != nullptr ? part->part(name) : nullptr;
    if (part == nullptr)
      continue;
    if (OwnedAtom* table = part->part("stco"))
      tables.push_back({table, 4});
    if (OwnedAtom* table = part->part("co64"))
      tables.push_back({table, 8});
  }
  return tables;
}

// The index for samples that all stand so many bytes later; nothing when some do not stand behind
// `least`, or cannot be told of any more.
std::optional<std::string> withLaterSamples(const std::string& index, std::uint64_t least,
                                            std::uint64_t later) {
  auto atoms = atomsOf(index);
  if (!atoms)
    return std::nullopt;
  for (const PlaceTable& table : placeTables(*atoms)) {
    const std::uint64_t most = table.width == 4 ? 0xFFFFFFFF : std::uint64_t{1} << 62;
    for (std::size_t at = headSize; at + table.width <= table.atom->content.size();
         at += table.width) {
      const std::uint64_t place = numberAt(table.atom->content, at, table.width);
      if (place < least || place > most - later)
        return std::nullopt;
      putNumber(table.atom->content, at, table.width, place + later);
    }
  }
  return bytesOf(*atoms);
}

std::string freeHead(std::uint64_t size) {
  return size == 0 ? "" : bigEndian(size, 4) + "free";
}

bool fits(std::uint64_t size, const IndexPlace& place) {
  return size == place.size || size + headSize <= place.size;
}

// Has the file system put room in before all that is there. Nothing when that cannot be done.
std::optional<Outcome<bool>> writeWithMoreRoom(int descriptor, const IndexPlace& place,
                                               const std::string& index) {
  const std::uint64_t needed = index.size() + 2 * headSize;
  const std::uint64_t more =
      ((needed > place.size ? needed - place.size : 0) + roomUnit - 1) / roomUnit * roomUnit;
  const auto before =
      place.begin <= mostBefore ? readBytes(descriptor, 0, place.begin) : std::nullopt;
  const auto moved = before ? withLaterSamples(index, place.end(), more) : std::nullopt;
  if (!moved || !insertRoom(descriptor, 0, more))
    return std::nullopt;
  const std::string atom = atomBytes("moov", *moved);
  const std::uint64_t rest = place.size + more - atom.size();
  return writeAt(descriptor, 0, *before + atom + freeHead(rest));
}

}  // namespace

Outcome<bool> rewriteIndex(const std::string& path, const ChangeIndex& change) {
  const Descriptor file = openFile(path, OpenFor::changing);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return Failure{systemReason(errno)};
  const int descriptor = file.number();
  FileBytes bytes(descriptor, static_cast<std::uint64_t>(facts->state.size));
  const IndexPlace own = placeOfIndex(bytes);
  if (!bytes.failure().empty())
    return Failure{bytes.failure()};
  if (own.size <= headSize)
    return false;
  auto content = readBytes(descriptor, own.begin + headSize, own.size - headSize);
  if (!content)
    return Failure{systemReason(errno)};
  const auto bytesAt = [&](std::uint64_t position) {
    constexpr std::uint64_t enough = 4096;
    const std::uint64_t rest = position < bytes.size() ? bytes.size() - position : 0;
    return readBytes(descriptor, position, std::min(rest, enough)).value_or("");
  };
  const auto changed = change({std::move(*content), bytesAt, bytes.size() + headSize});
  if (!changed)
    return false;
  const IndexPlace place = withFreeBehind(bytes, own);
  const std::string index = atomBytes("moov", changed->index);
  const std::string samples =
      changed->furtherSamples.empty() ? "" : atomBytes("mdat", changed->furtherSamples);
  const bool isAppended = !samples.empty() || !fits(index.size(), place);
  const bool canBeChanged = !isAppended || endsWithAtom(bytes, own.begin);
  if (!bytes.failure().empty())
    return Failure{bytes.failure()};
  if (!canBeChanged)
    return false;
  if (auto written = append(descriptor, bytes.size(), samples); !written)
    return written;
  if (fits(index.size(), place))
    return writeAt(descriptor, place.begin, index + freeHead(place.size - index.size()));
  if (place.end() < bytes.size())
    if (auto written = writeWithMoreRoom(descriptor, place, changed->index))
      return std::move(*written);
  if (auto written = append(descriptor, bytes.size(), samples + index); !written)
    return written;
  return writeAt(descriptor, own.begin + 4, "free");
}

}  // namespace tessarin
