#include "classShared/Utf8.h"

namespace tessarin {

namespace {

bool isCharacter(char32_t character) {
  return character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

// What the first byte of a character says.
struct Lead {
  std::size_t length;  // in bytes, 0 for a byte that begins no character
  char32_t bits;
  char32_t least;  // a smaller character has a shorter form, which alone is valid
};

Lead leadOf(unsigned char byte) {
  if (byte < 0x80)
    return {1, byte, 0};
  if (byte >= 0xC0 && byte < 0xE0)
    return {2, byte & 0x1Fu, 0x80};
  if (byte >= 0xE0 && byte < 0xF0)
    return {3, byte & 0x0Fu, 0x800};
  if (byte >= 0xF0 && byte < 0xF8)
    return {4, byte & 0x07u, 0x10000};
  return {0, 0, 0};
}

}  // namespace

void appendUtf8(std::string& text, char32_t character) {
  if (!isCharacter(character))
    character = replacementCharacter;
  const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0 | (character >> 6));
    append(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    append(0xE0 | (character >> 12));
    append(0x80 | ((character >> 6) & 0x3F));
    append(0x80 | (character & 0x3F));
  } else {
    append(0xF0 | (character >> 18));
    append(0x80 | ((character >> 12) & 0x3F));
    append(0x80 | ((character >> 6) & 0x3F));
    append(0x80 | (character & 0x3F));
  }
}

char32_t takeUtf8(std::string_view& rest) {
  const auto [length, bits, least] = leadOf(static_cast<unsigned char>(rest.front()));
  char32_t character = bits;
  bool valid = length > 0 && length <= rest.size();
  for (std::size_t index = 1; valid && index < length; ++index) {
    const auto byte = static_cast<unsigned char>(rest[index]);
    valid = (byte & 0xC0) == 0x80;
    character = (character << 6) | (byte & 0x3Fu);
  }
  valid = valid && character >= least && isCharacter(character);
  rest.remove_prefix(valid ? length : 1);
  return valid ? character : replacementCharacter;
}

std::string repairedUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  while (!text.empty())
    appendUtf8(repaired, takeUtf8(text));
  return repaired;
}

}  // namespace tessarin
