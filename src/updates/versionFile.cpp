#include "updates/versionFile.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "classShared/TextAdditions.h"
#include "prefs/utilsAlert.h"
#include "updates/address.h"

namespace tessarin {

namespace {

using Json = nlohmann::json;

constexpr std::uint64_t knownFormat = 1;
constexpr std::size_t hashDigits = 64;
// What a window can show.
constexpr std::size_t longestNotes = 4000;

Failure noVersionFile(std::string_view what) {
  return {localisationString("why_updateFile", "", what)};
}

// The text of the key, "" when it is missing or no text.
std::string textOf(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The number of the key, 0 when it is missing or not a whole positive one.
std::uint64_t numberOf(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_number_unsigned() ? found->get<std::uint64_t>() : 0;
}

// Line ends and tabulators are the only control characters that a window should get.
bool isShowable(char one) {
  return static_cast<unsigned char>(one) >= ' ' || one == '\n' || one == '\t';
}

std::string notesOf(const Json& object, std::string_view language) {
  const auto found = object.find("notes");
  std::string notes;
  if (found != object.end() && found->is_object()) {
    notes = textOf(*found, std::string(language).c_str());
    if (notes.empty())
      notes = textOf(*found, "en");
  } else {
    notes = textOf(object, "notes");
  }
  std::erase_if(notes, [](char one) { return !isShowable(one); });
  return std::string(firstCharacters(trimmed(notes), longestNotes));
}

bool isHash(std::string_view text) {
  return text.size() == hashDigits && text.find_first_not_of("0123456789abcdef") == text.npos;
}

}  // namespace

Outcome<Release> parseVersionFile(std::string_view bytes, std::string_view address,
                                  std::string_view language) {
  const Json file = Json::parse(bytes, nullptr, false);
  if (!file.is_object())
    return noVersionFile("JSON");
  const std::uint64_t format = numberOf(file, "format");
  if (format > knownFormat)
    return Failure{localisationString("why_updateNewerFormat")};
  if (format != knownFormat)
    return noVersionFile("format");

  Release release;
  release.versionText = textOf(file, "version");
  const auto version = parseVersion(release.versionText);
  if (!version)
    return noVersionFile("version");
  release.version = *version;
  release.size = numberOf(file, "size");
  if (release.size == 0 || release.size > largestArchive)
    return noVersionFile("size");
  release.sha256 = lowerCase(textOf(file, "sha256"));
  if (!isHash(release.sha256))
    return noVersionFile("sha256");
  TESSARIN_TAKE(release.address, addressInDocument(address, textOf(file, "address")));
  release.notes = notesOf(file, language);
  return release;
}

}  // namespace tessarin
