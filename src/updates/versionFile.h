// The version file: what a server says about the newest version of the program.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "updates/version.h"

namespace tessarin {

// No version file is longer, in bytes.
constexpr std::uint64_t largestVersionFile = 64UL * 1024;
// No archive is longer, in bytes.
constexpr std::uint64_t largestArchive = 1024UL * 1024 * 1024;

struct Release {
  Version version;
  std::string versionText;
  std::string address;     // of the zip archive, whole
  std::uint64_t size = 0;  // of the archive in bytes, 1 to largestArchive
  std::string sha256;      // of the archive, 64 small hexadecimal digits
  std::string notes;       // what is new, in the user's language or in English; "" for nothing
};

// Reads a version file (docs/updates.md has its format) that came from this address. `language` is
// a code such as "fr". The reason of a failure is in the user's words.
Outcome<Release> parseVersionFile(std::string_view bytes, std::string_view address,
                                  std::string_view language);

}  // namespace tessarin
