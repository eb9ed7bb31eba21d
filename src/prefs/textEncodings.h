// The text encodings that the program knows by name and number, and texts read in them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "classShared/Outcome.h"

namespace tessarin {

struct TextEncoding {
  std::string_view name;    // as it is shown, blanks included
  std::int64_t number;      // stored in files; the numbers are the desktop platform's own
  std::string_view system;  // iconv's name, "" when iconv does not know it
};

inline constexpr std::int64_t encodingAscii = 1;
inline constexpr std::int64_t encodingNextStep = 2;
inline constexpr std::int64_t encodingUtf8 = 4;
inline constexpr std::int64_t encodingMacSymbol = 6;
inline constexpr std::int64_t encodingNonLossyAscii = 7;
inline constexpr std::int64_t encodingUtf16 = 10;
inline constexpr std::int64_t encodingWindows = 12;  // Western

// In the order of the numbers.
const std::vector<TextEncoding>& textEncodings();

// The bytes as UTF-8 text; the reason when a byte means nothing in the encoding.
Outcome<std::string> decodedText(std::string_view bytes, std::int64_t encodingNumber);

}  // namespace tessarin
