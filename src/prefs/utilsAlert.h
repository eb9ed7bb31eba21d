// Texts in the user's language, the alert for impossible states, and the names of text encodings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Value.h"

namespace tessarin {

// The text of the key with its placeholders filled: "%@" in order, "%1$@" by number (so that a
// language may order the words as it needs). The variables count up to the first empty one; the
// placeholders of the others stay as they are. Without variables the text is answered as it stands.
// An empty table is "Localized". A key without a text is its own text.
std::string localisationString(std::string_view key, std::string_view table = {},
                               std::string_view variable1 = {}, std::string_view variable2 = {},
                               std::string_view variable3 = {}, std::string_view variable4 = {},
                               std::string_view variable5 = {});

// Whether the table "Localized" has a text for the key.
bool hasLocalization(std::string_view key);

// The language of the texts, "fr": the first two characters of "D_Langue", whose text has exactly
// three: the code and a "_", as locale names begin. Nothing when there is no such text.
std::optional<std::string> localLanguageCode();

// Tells the user, in French or English, that something happened that should be impossible.
void languageGuardAlert(const std::string& informativeText);

// To be called when the user has answered an alert: writes down the answer, the number of the
// button counted from firstButtonReturnCode.
inline constexpr std::int64_t firstButtonReturnCode = 1000;
void alertDidEnd(std::int64_t returnCode);

// The table of text encodings. With a name of the table: its number. With number -1: the whole
// table, a record of number to name. With another number of the table: its name. Else nothing.
std::optional<Value> encodingTable(std::int64_t number, std::string_view name = {});

}  // namespace tessarin
