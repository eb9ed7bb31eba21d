// Byte patterns: from hexadecimal text, found and replaced in memory and in open files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "classShared/TextAdditions.h"

namespace tessarin {

// The bytes that the text spells, two characters per byte, high digit first, in capitals or small
// letters. A character that is no digit is not refused: it counts as its code less 48 when it
// stands before "A", less 55 otherwise, and the byte keeps the low 8 bits of the sum.
// Fails with "String length is odd !" or "Out of memory".
Outcome<std::string> toDataFromHexString(std::string_view text);

// Where the pattern first occurs in the data; notFound when it does not. An empty pattern is never
// found. Linear in the size of the data for every pattern.
std::uint64_t offsetOfData(std::string_view data, std::string_view pattern);

// Writes the replacement over the first occurrence of the pattern and says where, or notFound. As
// many bytes as the replacement has are overwritten: with a shorter one the pattern's tail stays,
// with a longer one bytes behind the pattern go, and the data grows when there are none.
std::uint64_t replaceDataWithData(std::string& data, std::string_view pattern,
                                  std::string_view replacement);

// Calls replaceDataWithData until there is nothing left to replace; the number of replacements.
// A replacement that leaves the pattern where it was would never end: it is refused with a log
// line, 0 and the data as it was.
std::uint32_t replaceAllDataWithData(std::string& data, std::string_view pattern,
                                     std::string_view replacement);

// Where the pattern first occurs in the open file, counted from its start; notFound when it does
// not, when the pattern is empty, or when the file cannot be read at an offset (a pipe). The
// descriptor is borrowed and its position stays as it is. At most one piece of 2,000,000 bytes and
// the pattern's length is in memory at a time.
std::uint64_t offsetOfData_NSFileHandle(int descriptor, std::string_view pattern);

}  // namespace tessarin
