// UTF-8 from code points, and texts that may not be UTF-8 made so.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

inline constexpr char32_t replacementCharacter = 0xFFFD;

// Appends the character; U+FFFD for what is no character (a surrogate, or above U+10FFFF).
void appendUtf8(std::string& text, char32_t character);

// Takes the first character off `rest`. A byte that begins no character is taken off alone and
// answered as U+FFFD. `rest` must not be empty.
char32_t takeUtf8(std::string_view& rest);

// The text with U+FFFD in place of each byte that belongs to no character.
std::string repairedUtf8(std::string_view text);

}  // namespace tessarin
