// Languages have two codes in ISO 639-2 where libraries had another one than the language's own
// name suggests: "ger" and "deu". Pure functions.
#pragma once

#include <string_view>

namespace tessarin {

// The code that ffmpeg knows when it writes a QuickTime movie, of which it keeps no other; as it is
// where there is only one.
std::string_view languageInCopies(std::string_view code);
// The code of the language's own name, which movies are to have.
std::string_view ownLanguageCode(std::string_view code);

}  // namespace tessarin
