// The order of a picture's fields.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

enum class Fields { progressive, topFirst, bottomFirst };

// Its name in records ("v0_fields"), a key of the string table "fields".
constexpr std::string_view fieldsKey(Fields fields) {
  switch (fields) {
    case Fields::topFirst:
      return "TFF";
    case Fields::bottomFirst:
      return "BFF";
    case Fields::progressive:
      break;
  }
  return "PFF";
}

// What the user reads for a name out of a record; names that are none stay as they are.
std::string fieldsText(std::string_view key);

}  // namespace tessarin
