#include "movie/matroskaBlocks.h"

#include <algorithm>
#include <optional>

#include "movie/ebml.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

using ebml::Element;

constexpr std::size_t mostBlocks = 10'000'000;

// The elements beside each other within this one.
void forEachElement(FileBytes& bytes, const Element& within,
                    const std::function<bool(const Element&)>& visit) {
  constexpr int mostElements = 10'000;
  const std::uint64_t end = within.begin + within.size;
  std::uint64_t position = within.begin;
  for (int count = 0; count < mostElements && position < end; ++count) {
    const auto element = ebml::elementAt(bytes, position);
    if (!element || !visit(*element))
      return;
    position = element->begin + element->size;
  }
}

std::optional<MatroskaBlock> blockIn(FileBytes& bytes, const Element& element) {
  constexpr std::uint64_t head = 4;  // of the first 127 tracks
  constexpr std::uint64_t shortNumber = 0x80;
  constexpr std::uint64_t lacing = 0x06;
  if (element.size < head)
    return std::nullopt;
  const std::uint64_t track = bytes.number(element.begin, 1);
  if ((track & shortNumber) == 0)
    return std::nullopt;
  return MatroskaBlock{track & ~shortNumber,
                       static_cast<std::int16_t>(bytes.number(element.begin + 1, 2)),
                       {element.begin + head, static_cast<std::uint32_t>(element.size - head)},
                       (bytes.number(element.begin + 3, 1) & lacing) != 0};
}

struct PictureTrack {
  std::uint64_t number = 0;
  double step = 0;
  bool isPacked = false;
};

PictureTrack trackIn(FileBytes& bytes, const Element& entry) {
  constexpr std::uint64_t trackNumber = 0xD7;
  constexpr std::uint64_t trackType = 0x83;
  constexpr std::uint64_t ofPictures = 1;
  constexpr std::uint64_t usualDuration = 0x23E383;  // nanoseconds
  constexpr std::uint64_t encodings = 0x6D80;
  PictureTrack track;
  bool hasPictures = false;
  forEachElement(bytes, entry, [&](const Element& fact) {
    const bool isNumber = fact.size > 0 && fact.size <= 8;
    const std::uint64_t number =
        isNumber ? bytes.number(fact.begin, static_cast<unsigned>(fact.size)) : 0;
    if (fact.id == trackNumber)
      track.number = number;
    else if (fact.id == trackType)
      hasPictures = number == ofPictures;
    else if (fact.id == usualDuration)
      track.step = static_cast<double>(number) / 1e9;
    else if (fact.id == encodings)
      track.isPacked = true;
    return true;
  });
  return hasPictures ? track : PictureTrack();
}

}  // namespace

void forEachBlock(FileBytes& bytes, std::uint64_t begin, std::uint64_t end,
                  const std::function<void(const MatroskaBlock&)>& visit) {
  constexpr std::uint64_t clusterHead = 5;
  for (std::uint64_t position = begin; position < end && bytes.failure().empty();) {
    const auto element = ebml::elementAt(bytes, position);
    if (!element) {
      do
        ++position;
      while (position + clusterHead <= end && bytes.number(position, 4) != ebml::cluster);
      if (position + clusterHead > end)
        return;
      continue;
    }
    const bool isOpened = element->id == ebml::cluster || element->id == ebml::blockGroup;
    position = isOpened ? element->begin : element->begin + element->size;
    if (element->id == ebml::simpleBlock || element->id == ebml::block)
      if (const auto block = blockIn(bytes, *element))
        visit(*block);
  }
}

MatroskaPictures matroskaPictures(const std::string& path) {
  constexpr std::uint64_t tracks = 0x1654AE6B;
  constexpr std::uint64_t trackEntry = 0xAE;
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts)
    return {};
  FileBytes bytes(file.number(), static_cast<std::uint64_t>(facts->state.size));
  const auto head = ebml::elementAt(bytes, 0);
  auto segment = head && head->id == ebml::header
                     ? ebml::cutElementAt(bytes, head->begin + head->size)
                     : std::nullopt;
  if (!segment || segment->id != ebml::segment)
    return {};
  segment->size = std::min(segment->size, bytes.size() - segment->begin);
  PictureTrack track;
  forEachElement(bytes, *segment, [&](const Element& part) {
    if (part.id == tracks)
      forEachElement(bytes, part, [&](const Element& entry) {
        if (entry.id == trackEntry)
          track = trackIn(bytes, entry);
        return track.number == 0;
      });
    return part.id != ebml::cluster && part.id != tracks;
  });
  MatroskaPictures result;
  if (track.number == 0 || track.isPacked)
    return result;
  result.step = track.step;
  bool isLaced = false;
  forEachBlock(bytes, segment->begin, segment->begin + segment->size,
               [&](const MatroskaBlock& block) {
                 if (block.track != track.number)
                   return;
                 isLaced = isLaced || block.isLaced;
                 if (result.pictures.size() < mostBlocks)
                   result.pictures.push_back(block.content);
               });
  return bytes.failure().empty() && !isLaced ? result : MatroskaPictures();
}

}  // namespace tessarin
