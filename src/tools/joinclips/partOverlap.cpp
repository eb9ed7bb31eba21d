#include "tools/joinclips/partOverlap.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>

#include "tools/joinclips/PacketReader.h"

namespace tessarin::joining {

namespace {

constexpr std::uint64_t bytesOfSide = 8U << 20;
// Of one stream; packets that only fill it differ in nothing else.
constexpr std::size_t countersOfStream = 16;

// Calls `take` for the packets of a side; false where they cannot be read.
template <class Take>
bool readSide(const std::string& path, std::uint64_t from, const Take& take) {
  auto reader = PacketReader::open(path, from);
  if (!reader)
    return false;
  while (true) {
    const auto packet = reader->next();
    if (!packet)
      return false;
    if (!packet.value() || packet.value()->place >= from + bytesOfSide)
      return true;
    take(*packet.value());
  }
}

template <class Take>
bool readEnd(const std::string& path, const Take& take) {
  std::error_code failed;
  const std::uint64_t bytes = std::filesystem::file_size(path, failed);
  return !failed && readSide(path, bytes > bytesOfSide ? bytes - bytesOfSide : 0, take);
}

std::uint64_t sumOf(const TransportPacket& packet) {
  return std::hash<std::string_view>()(
      std::string_view(reinterpret_cast<const char*>(packet.bytes.data()), packet.bytes.size()));
}

bool isCounted(const TransportPacket& packet) {
  return packet.stream() != TransportPacket::emptyStream && !packet.isUnreadable() &&
         packet.hasPayload();
}

}  // namespace

// The longest beginning of `first` that ends `last`, by the table of Knuth, Morris and Pratt: for
// each beginning, how long a shorter one is that ends it.
std::size_t repeatedPackets(const std::vector<std::uint64_t>& last,
                            const std::vector<std::uint64_t>& first) {
  std::vector<std::size_t> shorter(first.size() + 1, 0);
  const auto longer = [&](std::size_t length, std::uint64_t next) {
    while (length > 0 && (length == first.size() || first[length] != next))
      length = shorter[length];
    return length < first.size() && first[length] == next ? length + 1 : 0;
  };
  for (std::size_t length = 1; length < first.size(); ++length)
    shorter[length + 1] = longer(shorter[length], first[length]);
  std::size_t repeated = 0;
  for (const std::uint64_t sum : last)
    repeated = longer(repeated, sum);
  const std::set<std::uint64_t> different(first.begin(),
                                          first.begin() + static_cast<std::ptrdiff_t>(repeated));
  const bool isProven = different.size() > countersOfStream;
  return isProven && repeated < std::min(first.size(), last.size()) ? repeated : 0;
}

std::size_t repeatedPackets(const std::string& file, const std::string& next) {
  std::vector<std::uint64_t> last;
  std::vector<std::uint64_t> first;
  const auto keepIn = [](std::vector<std::uint64_t>& sums) {
    return [&sums](const TransportPacket& packet) { sums.push_back(sumOf(packet)); };
  };
  const bool isRead = readEnd(file, keepIn(last)) && readSide(next, 0, keepIn(first));
  return isRead ? repeatedPackets(last, first) : 0;
}

bool isRest(const std::string& file, const std::string& next) {
  std::map<int, int> last;
  std::map<int, int> first;
  bool hasPicture = false;
  const auto keepLast = [&last](const TransportPacket& packet) {
    if (isCounted(packet))
      last[packet.stream()] = packet.counter();
  };
  const auto keepFirst = [&](const TransportPacket& packet) {
    if (!isCounted(packet))
      return;
    const auto head = unitHead(packet);
    hasPicture = hasPicture || (head && head->isOfPictures());
    first.try_emplace(packet.stream(), packet.counter());
  };
  return readEnd(file, keepLast) && readSide(next, 0, keepFirst) && !hasPicture && !first.empty() &&
         std::all_of(first.begin(), first.end(), [&last](const auto& counted) {
           const auto before = last.find(counted.first);
           return before != last.end() &&
                  counted.second == (before->second + 1) % static_cast<int>(countersOfStream);
         });
}

}  // namespace tessarin::joining
