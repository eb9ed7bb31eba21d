// Elements of EBML (RFC 8794), of which Matroska consists.
#pragma once

#include <cstdint>
#include <optional>

#include "movie/FileBytes.h"

namespace tessarin::ebml {

inline constexpr std::uint64_t header = 0x1A45DFA3;
// Of Matroska (RFC 9559).
inline constexpr std::uint64_t segment = 0x18538067;
inline constexpr std::uint64_t cluster = 0x1F43B675;
inline constexpr std::uint64_t clusterTime = 0xE7;
inline constexpr std::uint64_t simpleBlock = 0xA3;
inline constexpr std::uint64_t blockGroup = 0xA0;
inline constexpr std::uint64_t block = 0xA1;

struct Element {
  std::uint64_t id = 0;
  std::uint64_t begin = 0;  // of its content
  std::uint64_t size = 0;
  bool isOpen = false;  // does not tell its length; `size` is that of the rest of the file
};

// Nothing where none can begin, and of one that is longer than the file.
std::optional<Element> elementAt(FileBytes& bytes, std::uint64_t position);
// One that is longer than the file, too.
std::optional<Element> cutElementAt(FileBytes& bytes, std::uint64_t position);

}  // namespace tessarin::ebml
