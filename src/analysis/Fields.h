// The order of a picture's fields.
#pragma once

#include <string>
#include <string_view>

namespace tessarin {

enum class Fields { progressive, topFirst, bottomFirst, interlaced };  // the last: in some order

// Its name in records ("v0_fields"), a key of the string table "fields".
constexpr std::string_view fieldsKey(Fields fields) {
  switch (fields) {
    case Fields::topFirst:
      return "TFF";
    case Fields::bottomFirst:
      return "BFF";
    case Fields::interlaced:
      return "i";
    case Fields::progressive:
      break;
  }
  return "PFF";
}

// What the user reads for it.
std::string fieldsText(Fields fields);

}  // namespace tessarin
