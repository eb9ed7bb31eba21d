#include "movie/packetMarks.h"

#include <algorithm>
#include <array>

namespace tessarin {

std::optional<std::size_t> firstPacket(std::string_view bytes) {
  constexpr char mark = 0x47;
  constexpr std::size_t marks = 5;
  constexpr std::array<std::size_t, 3> sizes{188, 192, 204};
  const auto isMarkedFrom = [bytes](std::size_t place, std::size_t size) {
    std::size_t count = 0;
    while (count < marks && place < bytes.size() && bytes[place] == mark) {
      ++count;
      place += size;
    }
    return count == marks;
  };
  for (std::size_t place = bytes.find(mark); place != std::string_view::npos;
       place = bytes.find(mark, place + 1))
    if (std::any_of(sizes.begin(), sizes.end(),
                    [&](std::size_t size) { return isMarkedFrom(place, size); }))
      return place;
  return std::nullopt;
}

}  // namespace tessarin
