// The atoms of a movie's index, taken apart so that they can be changed and put together again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// The length and the type before an atom's content.
inline constexpr std::size_t headSize = 8;

// Big-endian numbers of 1 to 8 bytes. Beyond the end there are only zeros, and nothing is put.
std::uint64_t numberAt(std::string_view bytes, std::size_t place, unsigned size);
void putNumber(std::string& bytes, std::size_t place, unsigned size, std::uint64_t number);
std::string bigEndian(std::uint64_t number, unsigned size);

struct OwnedAtom {
  std::string type;
  std::string content;           // of one without children
  std::vector<OwnedAtom> parts;  // of one with

  OwnedAtom* part(std::string_view name);
  const OwnedAtom* part(std::string_view name) const;
};

// Nothing when the bytes are not atoms from the first to the last one. Only the atoms that lead to
// the tables of samples are taken apart.
std::optional<std::vector<OwnedAtom>> atomsOf(std::string_view bytes);
std::string bytesOf(const std::vector<OwnedAtom>& atoms);
// One atom with this content.
std::string atomBytes(std::string_view type, std::string_view content);

}  // namespace tessarin
