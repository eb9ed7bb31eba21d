// Encodings of one byte for each character that iconv does not know.
#pragma once

namespace tessarin {

// The character of the byte in NEXTSTEP's encoding or in that of the Symbol font of Mac OS; 0 for
// a byte without meaning (and for the byte 0).
char32_t nextStepCharacter(unsigned char byte);
char32_t macSymbolCharacter(unsigned char byte);

}  // namespace tessarin
