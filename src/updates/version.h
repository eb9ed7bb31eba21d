// Version numbers of the program, and which of two is newer.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin {

// "1.4.2" or, before that one, "1.4.2-beta". Missing parts are 0, so 1.4 and 1.4.0 are equal.
struct Version {
  std::vector<std::uint32_t> parts;  // without zeros at the end
  std::string preview;               // what stands behind the "-"; "" for a finished version

  // A finished version is newer than its previews; these are in the order of their letters.
  friend std::strong_ordering operator<=>(const Version& one, const Version& other);
  friend bool operator==(const Version& one, const Version& other) = default;
};

// One to four numbers of at most nine digits with points between them, then perhaps "-" and a word
// of ASCII letters, digits and points. Nothing for any other text: what cannot be read is never
// called newer.
std::optional<Version> parseVersion(std::string_view text);

}  // namespace tessarin
