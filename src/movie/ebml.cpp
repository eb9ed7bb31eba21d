#include "movie/ebml.h"

#include <bit>

namespace tessarin::ebml {

namespace {

// A number whose first byte has as many zeros in front as bytes follow.
std::optional<unsigned> lengthOfNumber(FileBytes& bytes, std::uint64_t position) {
  if (position >= bytes.size())
    return std::nullopt;
  const auto first = static_cast<std::uint8_t>(bytes.number(position, 1));
  const auto length = static_cast<unsigned>(std::countl_zero(first)) + 1;
  return first == 0 || !bytes.failure().empty() ? std::nullopt : std::optional(length);
}

}  // namespace

std::optional<Element> cutElementAt(FileBytes& bytes, std::uint64_t position) {
  const auto idLength = lengthOfNumber(bytes, position);
  if (!idLength || *idLength > 4)
    return std::nullopt;
  const auto sizeLength = lengthOfNumber(bytes, position + *idLength);
  if (!sizeLength)
    return std::nullopt;
  Element element;
  element.begin = position + *idLength + *sizeLength;
  if (element.begin > bytes.size())
    return std::nullopt;
  const std::uint64_t mask = (std::uint64_t{1} << (7 * *sizeLength)) - 1;
  element.id = bytes.number(position, *idLength);
  element.size = bytes.number(position + *idLength, *sizeLength) & mask;
  element.isOpen = element.size == mask;
  if (element.isOpen)
    element.size = bytes.size() - element.begin;
  return element;
}

std::optional<Element> elementAt(FileBytes& bytes, std::uint64_t position) {
  const auto element = cutElementAt(bytes, position);
  const bool fits = element && element->size <= bytes.size() - element->begin;
  return fits ? element : std::nullopt;
}

}  // namespace tessarin::ebml
