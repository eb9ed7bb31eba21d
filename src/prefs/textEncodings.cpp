#include "prefs/textEncodings.h"

#include <fmt/format.h>
#include <iconv.h>

#include <algorithm>
#include <cerrno>

#include "classShared/TextAdditions.h"
#include "classShared/Utf8.h"
#include "prefs/singleByteEncodings.h"

namespace tessarin {

namespace {

Failure wrongByte(std::size_t offset) {
  return Failure{fmt::format("the bytes at {} mean nothing in this encoding", offset)};
}

Outcome<std::string> decodedBytewise(std::string_view bytes, char32_t (*character)(unsigned char)) {
  std::string text;
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    const char32_t one = character(static_cast<unsigned char>(bytes[index]));
    if (one == 0 && bytes[index] != '\0')
      return wrongByte(index);
    appendUtf8(text, one);
  }
  return text;
}

// The number of this many digits, taken off the text; nothing when they are not there.
std::optional<char32_t> takenNumber(std::string_view& text, std::size_t digits, unsigned base) {
  if (text.size() < digits)
    return std::nullopt;
  char32_t number = 0;
  for (const char digit : text.substr(0, digits)) {
    const std::size_t value = std::string_view("0123456789abcdef").find(lowerCase({&digit, 1}));
    if (value >= base)
      return std::nullopt;
    number = number * base + static_cast<char32_t>(value);
  }
  text.remove_prefix(digits);
  return number;
}

// ASCII in which "\\" is a backslash, \ooo a byte of ISO Latin 1 and \uxxxx a UTF-16 unit.
Outcome<std::string> decodedNonLossyAscii(std::string_view bytes) {
  std::string text;
  char32_t pendingHigh = 0;  // first half of a surrogate pair
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const std::size_t offset = bytes.size() - rest.size();
    std::optional<char32_t> character = static_cast<unsigned char>(rest.front());
    rest.remove_prefix(1);
    if (*character >= 0x80)
      return wrongByte(offset);
    if (*character == '\\') {
      if (startsWith(rest, "\\")) {
        rest.remove_prefix(1);
      } else if (startsWith(rest, "u")) {
        rest.remove_prefix(1);
        character = takenNumber(rest, 4, 16);
      } else {
        character = takenNumber(rest, 3, 8);
      }
    }
    if (!character)
      return wrongByte(offset);
    const bool low = *character >= 0xDC00 && *character < 0xE000;
    if (pendingHigh != 0 && low) {
      appendUtf8(text, 0x10000 + ((pendingHigh - 0xD800) << 10) + (*character - 0xDC00));
      pendingHigh = 0;
      continue;
    }
    const bool high = *character >= 0xD800 && *character < 0xDC00;
    if (pendingHigh != 0 || low)
      return wrongByte(offset);
    pendingHigh = high ? *character : 0;
    if (!high)
      appendUtf8(text, *character);
  }
  if (pendingHigh != 0)
    return wrongByte(bytes.size());
  return text;
}

class Converter {
 public:
  explicit Converter(std::string_view from)
      : handle_(::iconv_open("UTF-8", std::string(from).c_str())) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isOpen())
      ::iconv_close(handle_);
  }

  // iconv_open answers (iconv_t)-1 for an encoding that the system lacks.
  bool isOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  Outcome<std::string> convert(std::string bytes) {
    std::string text;
    char* input = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
      char buffer[4096];
      char* output = buffer;
      std::size_t room = sizeof buffer;
      const std::size_t result = ::iconv(handle_, &input, &left, &output, &room);
      const int error = errno;
      text.append(buffer, sizeof buffer - room);
      if (result == static_cast<std::size_t>(-1) && error != E2BIG)
        return wrongByte(bytes.size() - left);
    }
    return text;
  }

 private:
  iconv_t handle_;
};

}  // namespace

const std::vector<TextEncoding>& textEncodings() {
  static const std::vector<TextEncoding> encodings = {
      {"Western (ASCII)", encodingAscii, "ASCII"},
      {"Western (NEXTSTEP)", encodingNextStep, ""},
      {"Japanese (EUC)", 3, "EUC-JP"},
      {"UTF- 8", encodingUtf8, "UTF-8"},
      {"Western (ISO Latin 1)", 5, "ISO-8859-1"},
      {"Symbol (Mac OS)", encodingMacSymbol, ""},
      {"ASCII (Non Lossy)", encodingNonLossyAscii, ""},
      {"Japanese (Shift JIS)", 8, "CP932"},
      {"Central European (ISO Latin 2)", 9, "ISO-8859-2"},
      {"UTF-16", encodingUtf16, "UTF-16"},
      {"Cyrillic (Windows)", 11, "CP1251"},
      {"Western (Windows Latin 1)", 12, "CP1252"},
      {"Greek (Windows)", 13, "CP1253"},
      {"Turkish (Windows Latin 5)", 14, "CP1254"},
      {"Central European (Windows Latin 2)", 15, "CP1250"},
  };
  return encodings;
}

Outcome<std::string> decodedText(std::string_view bytes, std::int64_t encodingNumber) {
  if (encodingNumber == encodingNextStep)
    return decodedBytewise(bytes, nextStepCharacter);
  if (encodingNumber == encodingMacSymbol)
    return decodedBytewise(bytes, macSymbolCharacter);
  if (encodingNumber == encodingNonLossyAscii)
    return decodedNonLossyAscii(bytes);
  const auto& encodings = textEncodings();
  const auto found = std::find_if(
      encodings.begin(), encodings.end(),
      [encodingNumber](const TextEncoding& known) { return known.number == encodingNumber; });
  if (found == encodings.end())
    return Failure{fmt::format("there is no encoding of number {}", encodingNumber)};
  if (encodingNumber == encodingUtf8 && startsWith(bytes, "\xEF\xBB\xBF"))
    bytes.remove_prefix(3);
  Converter converter(found->system);
  if (!converter.isOpen())
    return Failure{fmt::format("the system lacks the encoding {}", found->system)};
  auto text = converter.convert(std::string(bytes));
  // The system's own UTF-8 has characters beyond the last one.
  if (text && !isUtf8(*text))
    return Failure{"the text has characters that do not exist"};
  return text;
}

}  // namespace tessarin
