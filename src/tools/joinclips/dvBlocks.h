// The blocks of a frame of DV (IEC 61834, SMPTE 314M), each of which says what it is.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessarin::dv {

// Bytes of the frame that begins here, with the further parts of one of 50 or 100 Mbit/s, whose
// heads have other numbers.
std::size_t wholeFrameLength(std::string_view bytes);

// How many of the blocks of a frame, or of as much as there is of it, are not what belongs into
// their places: zeros, something else, or blocks of another place.
std::size_t misplacedBlocks(std::string_view frame, bool is625);

// A frame in which blocks that are not of their places are those of another frame, as long, which
// has all of them. Nothing of that one's sound is heard.
std::string mendedFrame(std::string_view frame, std::string_view other);

}  // namespace tessarin::dv
