// What the packets on both sides of the border of two files say of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessarin::joining {

// How many of the first packets are the last ones once more, by sums of their bytes. 0, too, where
// there are too few different ones, for packets that only fill may be alike anywhere, and where
// nothing would be left.
std::size_t repeatedPackets(const std::vector<std::uint64_t>& last,
                            const std::vector<std::uint64_t>& first);
// Of two files; times of arrival do not count, and 8 MB on both sides are looked at. Nothing is
// said of what cannot be read: it is told where it is read for its content.
std::size_t repeatedPackets(const std::string& file, const std::string& next);

// Whether the next file has only the rest of what the first one ends with: no picture begins in it,
// and the packets of all its streams are counted on.
bool isRest(const std::string& file, const std::string& next);

}  // namespace tessarin::joining
