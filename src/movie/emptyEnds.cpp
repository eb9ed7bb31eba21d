#include "movie/emptyEnds.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "classShared/descriptorBytes.h"
#include "platform/fileFacts.h"
#include "platform/openFiles.h"

namespace tessarin {

namespace {

constexpr std::size_t placeSize = 2048;

bool isEmpty(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

// Whether the mark of a packet comes again and again: plain ones, with a camcorder's clock before
// each, or with a broadcast's check behind.
bool holdsPackets(std::string_view bytes) {
  constexpr char mark = 0x47;
  constexpr std::size_t leastMarks = 5;
  for (const std::size_t size : {188U, 192U, 204U})
    for (std::size_t phase = 0; phase < size; ++phase) {
      std::size_t marks = 0;
      std::size_t most = 0;
      for (std::size_t place = phase; place < bytes.size(); place += size) {
        marks = bytes[place] == mark ? marks + 1 : 0;
        most = std::max(most, marks);
      }
      if (most >= leastMarks)
        return true;
    }
  return false;
}

}  // namespace

double emptyEnds(const std::string& path, std::string_view container) {
  const bool hasPackets = container == "mpegts";
  if (!hasPackets && container != "mpeg" && container != "dv")
    return 0;
  const Descriptor file = openFile(path, OpenFor::reading);
  const auto facts = file.isOpen() ? fileFacts(file.number()) : std::nullopt;
  if (!facts || facts->state.size < static_cast<std::int64_t>(placeSize))
    return 0;
  constexpr std::uint64_t places = 256;
  const auto last = static_cast<std::uint64_t>(facts->state.size) - placeSize;
  bool hasFailed = false;
  const auto holds = [&](std::uint64_t place) {
    std::array<char, placeSize> bytes{};
    hasFailed = readAt(file.number(), bytes.data(), bytes.size(), last * place / (places - 1)) <
                bytes.size();
    const std::string_view read(bytes.data(), bytes.size());
    return hasFailed || (hasPackets ? holdsPackets(read) : !isEmpty(read));
  };
  std::uint64_t before = 0;
  while (before < places && !holds(before))
    ++before;
  std::uint64_t behind = 0;
  while (!hasFailed && behind < places - before && !holds(places - 1 - behind))
    ++behind;
  if (hasFailed)
    return 0;
  if (before == places)
    return 0;
  return static_cast<double>(before + behind) / static_cast<double>(places);
}

}  // namespace tessarin
