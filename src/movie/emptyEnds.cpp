#include "movie/emptyEnds.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "classShared/descriptorBytes.h"
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

}  // namespace

double emptyEnds(const std::string& path, std::string_view container) {
  const bool hasPackets = container == "mpegts";
  if (!hasPackets && container != "mpeg")
    return 0;
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts || facts->state.size < static_cast<std::int64_t>(placeSize))
    return 0;
  const auto last = static_cast<std::uint64_t>(facts->state.size) - placeSize;
  const auto distance = [last](std::uint64_t count) { return last * count / (places - 1); };
  bool hasFailed = false;
  const auto contentAt = [&](std::uint64_t place) {
    std::array<char, placeSize> bytes{};
    hasFailed = readAt(file.number(), bytes.data(), bytes.size(), distance(place)) < bytes.size();
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
    const bool areZeros = rubbish == 0 || (zeros > 0 && distance(rubbish - 1) <= placeSize);
    const std::uint64_t count = zeros + rubbish;
    return areZeros || distance(count) >= leastRubbish ? count : 0;
  };
  const std::uint64_t before = emptyPlaces(false);
  const std::uint64_t behind = hasFailed || before == places ? 0 : emptyPlaces(true);
  if (hasFailed || before == places)
    return 0;
  return static_cast<double>(before + behind) / static_cast<double>(places);
}

}  // namespace tessarin
