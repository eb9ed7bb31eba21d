#include "movie/emptyEnds.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "classShared/descriptorBytes.h"
#include "movie/FileBytes.h"
#include "movie/atomTree.h"
#include "movie/ebml.h"
#include "movie/packetMarks.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::uint64_t places = 256;
constexpr std::size_t placeSize = 2048;

enum class Content { stream, rubbish, zeros };

Content contentOf(std::string_view bytes, bool hasPackets) {
  if (bytes.find_first_not_of('\0') == std::string_view::npos)
    return Content::zeros;
  return !hasPackets || firstPacket(bytes) ? Content::stream : Content::rubbish;
}

// Some programs make room that they do not need.
bool areZeros(FileBytes& bytes, std::uint64_t begin) {
  const std::uint64_t last = bytes.size() - headSize;
  for (std::uint64_t place = 0; place < places; ++place)
    if (bytes.number(begin + (last - begin) * place / (places - 1), headSize) != 0)
      return false;
  return true;
}

// Of a movie in fragments: its index tells no sample, and each fragment is found by the length of
// what is before it.
double unreachedFragments(int descriptor, std::uint64_t size) {
  FileBytes bytes(descriptor, size);
  bool hasFragments = false;
  std::uint64_t position = 0;
  while (size - position >= headSize) {
    std::uint64_t length = bytes.number(position, 4);
    const std::string type = bytes.letters(position + 4);
    if (length == 1 && size - position >= 2 * headSize)
      length = bytes.number(position + headSize, 8);
    else if (length == 0)
      length = size - position;
    const bool isAtom = std::all_of(type.begin(), type.end(),
                                    [](char letter) { return letter >= ' ' && letter <= '~'; });
    if (!isAtom || length < headSize || length > size - position)
      break;
    hasFragments = hasFragments || type == "moof";
    position += length;
  }
  const std::uint64_t rest = size - position;
  if (!hasFragments || rest < headSize || areZeros(bytes, position) || !bytes.failure().empty())
    return 0;
  return static_cast<double>(rest) / static_cast<double>(size);
}

// Of a Matroska file that was cut: it tells how long it should be, unless it was written in one go;
// then at least that something is missing.
double missingOfMatroska(int descriptor, std::uint64_t size) {
  FileBytes bytes(descriptor, size);
  const auto head = ebml::elementAt(bytes, 0);
  if (!head || head->id != ebml::header)
    return 0;
  const auto segment = ebml::cutElementAt(bytes, head->begin + head->size);
  if (!segment || segment->id != ebml::segment)
    return 0;
  const std::uint64_t rest = size - segment->begin;
  const std::uint64_t missing = segment->size > rest ? segment->size - rest : 0;
  const auto share = static_cast<double>(missing) / (static_cast<double>(missing + size));
  bool isOfStreams = false;
  for (std::uint64_t position = segment->begin; position < size;) {
    const auto element = ebml::cutElementAt(bytes, position);
    if (!element)
      return share;
    isOfStreams = element->id == ebml::cluster || element->id == ebml::simpleBlock ||
                  element->id == ebml::blockGroup;
    if (element->size > size - element->begin)
      return isOfStreams ? std::max(share, 1 / static_cast<double>(size)) : 0;
    const bool isOpened = element->id == ebml::cluster && element->isOpen;
    position = element->begin + (isOpened ? 0 : element->size);
  }
  return isOfStreams ? share : 0;
}

double emptyEndsOfStream(int descriptor, std::uint64_t size, bool hasPackets) {
  const std::uint64_t last = size - placeSize;
  const auto distance = [last](std::uint64_t count) { return last * count / (places - 1); };
  bool hasFailed = false;
  const auto contentAt = [&](std::uint64_t place) {
    std::array<char, placeSize> bytes{};
    hasFailed = readAt(descriptor, bytes.data(), bytes.size(), distance(place)) < bytes.size();
    return hasFailed ? Content::stream : contentOf({bytes.data(), bytes.size()}, hasPackets);
  };
  // Streams may have something else before or behind them: it is in the place of a part of theirs
  // where it is as long as what cards lose at least.
  constexpr std::uint64_t leastRubbish = 32768;
  const auto emptyPlaces = [&](bool isEnd) {
    std::uint64_t zeros = 0;
    std::uint64_t rubbish = 0;
    while (zeros + rubbish < places) {
      const std::uint64_t count = zeros + rubbish;
      const Content content = contentAt(isEnd ? places - 1 - count : count);
      if (content == Content::stream)
        break;
      ++(content == Content::zeros ? zeros : rubbish);
    }
    // Where zeros end some places may hold both them and too few packets.
    const bool isEmpty = rubbish == 0 || (zeros > 0 && distance(rubbish - 1) <= placeSize);
    const std::uint64_t count = zeros + rubbish;
    return isEmpty || distance(count) >= leastRubbish ? count : 0;
  };
  const std::uint64_t before = emptyPlaces(false);
  const std::uint64_t behind = hasFailed || before == places ? 0 : emptyPlaces(true);
  if (hasFailed || before == places)
    return 0;
  return static_cast<double>(before + behind) / static_cast<double>(places);
}

}  // namespace

double emptyEnds(const std::string& path, std::string_view container) {
  const bool isMovie = container == "mov";
  const bool isMatroska = container == "matroska";
  const bool hasPackets = container == "mpegts";
  if (!isMovie && !isMatroska && !hasPackets && container != "mpeg")
    return 0;
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts || facts->state.size < static_cast<std::int64_t>(placeSize))
    return 0;
  const auto size = static_cast<std::uint64_t>(facts->state.size);
  if (isMatroska)
    return missingOfMatroska(file.number(), size);
  return isMovie ? unreachedFragments(file.number(), size)
                 : emptyEndsOfStream(file.number(), size, hasPackets);
}

}  // namespace tessarin
