// The language of the program's texts, as the user chose it.
#pragma once

#include <string>
#include <vector>

#include "core/BatchTable.h"

namespace tessarin {

// Key of the preference store: text, the code of the chosen language; absent or "" for that of the
// environment.
inline constexpr std::string_view languageKey = "language";

// The codes of the languages that the resources have, in order: "de", "en" …
std::vector<std::string> availableLanguages();

// What the language calls itself, the code when it does not say.
std::string languageName(const std::string& code);

// Makes the main bundle answer in this language; "" or one that is not there: in that of the
// environment.
void useLanguage(const std::string& code);

// Lists them in the popup, the environment's language first, with the stored choice selected.
void listLanguages(PopUpButton& popup, const PreferenceStore& preferences);

}  // namespace tessarin
