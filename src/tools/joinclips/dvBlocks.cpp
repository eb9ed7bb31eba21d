#include "tools/joinclips/dvBlocks.h"

#include <algorithm>
#include <cstdint>

#include "tools/gettimestamps/dvFrame.h"

namespace tessarin::dv {

namespace {

constexpr std::size_t sequenceBlocks = sequenceLength / blockLength;

enum class Section { header, subcode, aboutPicture, sound, picture };

struct BlockPlace {
  Section section = Section::header;
  std::size_t number = 0;  // among those of its section
};

// Of a sequence the first six blocks tell about it; then comes a block of sound before fifteen of
// the picture, nine times.
BlockPlace placeInSequence(std::size_t block) {
  constexpr std::size_t heads = 6;
  constexpr std::size_t group = 16;
  if (block == 0)
    return {};
  if (block < 3)
    return {Section::subcode, block - 1};
  if (block < heads)
    return {Section::aboutPicture, block - 3};
  const std::size_t place = block - heads;
  if (place % group == 0)
    return {Section::sound, place / group};
  return {Section::picture, place / group * (group - 1) + place % group - 1};
}

bool isInPlace(std::string_view block, std::size_t place, std::size_t sequences) {
  const auto byte = [block](std::size_t at) { return static_cast<std::uint8_t>(block[at]); };
  constexpr unsigned unused = 3;  // bits that are set
  const auto [section, number] = placeInSequence(place % sequenceBlocks);
  return byte(0) >> 5 == static_cast<int>(section) &&
         byte(1) >> 4 == static_cast<int>(place / sequenceBlocks % sequences) &&
         (byte(1) & unused) == unused && byte(2) == number;
}

// With each whole block, its place and whether it is what belongs there.
template <class Visit>
void forEachBlock(std::string_view frame, std::size_t sequences, const Visit& visit) {
  for (std::size_t place = 0; (place + 1) * blockLength <= frame.size(); ++place)
    visit(place, isInPlace(frame.substr(place * blockLength, blockLength), place, sequences));
}

// Of the first part of a frame; further ones have as many.
std::size_t sequencesOf(bool is625) {
  return is625 ? 12 : 10;
}

}  // namespace

std::size_t wholeFrameLength(std::string_view bytes) {
  constexpr std::size_t head = 4;
  constexpr std::size_t mostParts = 4;
  const std::size_t part = frameLength(bytes);
  // Clusters of Matroska begin with the same byte.
  const auto beginsOther = [bytes](std::size_t place) {
    constexpr int number = 0x0C;
    std::string other(bytes.substr(place, head));
    if (other.size() < head || (other[1] & number) == (bytes[1] & number))
      return false;
    other[1] = static_cast<char>((other[1] & ~number) | (bytes[1] & number));
    return bytes.starts_with(other);
  };
  std::size_t parts = 1;
  while (parts < mostParts && parts * part < bytes.size() && beginsOther(parts * part))
    ++parts;
  return parts * part;
}

std::size_t misplacedBlocks(std::string_view frame, bool is625) {
  std::size_t count = 0;
  forEachBlock(frame, sequencesOf(is625),
               [&count](std::size_t, bool isRight) { count += isRight ? 0 : 1; });
  return count;
}

std::string mendedFrame(std::string_view frame, std::string_view other) {
  constexpr std::size_t soundBegin = 8;  // of a block, behind what tells of it
  std::string mended(other);
  const std::size_t sequences = sequencesOf(has625Lines(other));
  for (std::size_t place = 0; place < other.size() / blockLength; ++place)
    if (placeInSequence(place % sequenceBlocks).section == Section::sound)
      mended.replace(place * blockLength + soundBegin, blockLength - soundBegin,
                     blockLength - soundBegin, '\0');
  forEachBlock(frame.substr(0, other.size()), sequences, [&](std::size_t place, bool isRight) {
    if (isRight)
      mended.replace(place * blockLength, blockLength,
                     frame.substr(place * blockLength, blockLength));
  });
  return mended;
}

}  // namespace tessarin::dv
