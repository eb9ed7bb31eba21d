// Texts: tables of texts, files in any encoding, and what the system's bytes mean as characters.
#include "Input.h"
#include "classShared/TextAdditions.h"
#include "platform/StringsTable.h"
#include "prefs/textEncodings.h"
#include "prefs/textFiles.h"

using namespace tessarin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  parseStringsTable(bytes);
  for (const TextEncoding& encoding : textEncodings())
    if (const auto text = decodedText(bytes, encoding.number))
      fuzz::require(isUtf8(text.value()));
  if (detectedEncoding(bytes) == encodingUtf8)
    fuzz::require(decodedText(bytes, encodingUtf8).ok());
  fuzz::require(characterCount(bytes) <= bytes.size());
  fuzz::require(firstCharacters(bytes, 3).size() + withoutLastCharacters(bytes, 3).size() <=
                2 * bytes.size());
  return 0;
}
