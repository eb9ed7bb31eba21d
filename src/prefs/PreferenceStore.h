// The user's choices and the state of the step machines, by key, over a user domain.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Value.h"
#include "platform/UserDomain.h"

namespace tessarin {

// The keys of the user's choices. They are the stored format and stay as they are spelled.
namespace PrefKey {
inline constexpr std::string_view color = "prefColor";              // colour scheme, -1: none
inline constexpr std::string_view checkMatrix = "prefCheckMatrix";  // choice of the output check
inline constexpr std::string_view alertEnd = "prefAlertEnd";        // 1: alert at the end of a run
inline constexpr std::string_view preset = "prefPreset";            // selected output preset
inline constexpr std::string_view prores = "prefProres";            // ProRes flavour, "apcn" …
inline constexpr std::string_view partsApart = "partsApart";  // 1: files of a recording stay apart
inline constexpr std::string_view splitTapes = "splitTapes";  // 1: a clip for each recording
inline constexpr std::string_view onlyNew = "onlyNew";  // 1: leave out what was converted before
inline constexpr std::string_view assistantSkip = "assistantSkip";  // 1: no assistant at start
inline constexpr std::string_view easy = "easy";                    // segment easy/expert
inline constexpr std::string_view editingSoft = "editingSoft";      // segment of the application
inline constexpr std::string_view target = "prefTarget";        // of new rows, by a preset; outNone
inline constexpr std::string_view surround = "prefSurrond";     // 1: keep surround sound
inline constexpr std::string_view speed = "prefSpeed";          // segment of the speed
inline constexpr std::string_view sound = "prefSound";          // of new rows: soundChoice.h
inline constexpr std::string_view slowSound = "prefSlowSound";  // of new rows, row of SlowSound
inline constexpr std::string_view update = "update";            // 1: look for updates
inline constexpr std::string_view destination = "prefDefautDstPathStr";  // destination folder
inline constexpr std::string_view names = "movieNames";  // pattern for them, "": the usual ones
inline constexpr std::string_view jobs = "jobs";  // clips at the same time, 0: as suits the machine
}  // namespace PrefKey

// A fresh record with the default of every PrefKey.
Dico prefDefaults();

// The values of keys that are not stored are not made up here: prefRead and prefReadString answer
// only what is stored, integer and text fill in the default. An empty key is no key.
class PreferenceStore {
 public:
  // The domain is borrowed and has to outlive the store.
  explicit PreferenceStore(UserDomain& domain) : domain_(domain) {}

  // The stored value, owned by the domain until the key is written or removed; null when absent.
  const Value* prefRead(std::string_view key) const;
  // The stored value as text, "" when absent.
  std::string prefReadString(std::string_view key) const;
  // False for an empty key.
  bool prefWrite(std::string_view key, Value value);
  // Always true.
  bool prefRemove(std::string_view key);
  // Takes one entry out of the record stored under `key`. Always true.
  bool prefDeleteChildDico(std::string_view key, std::string_view child);

  // The stored number or text; the default of the key when nothing of that kind is stored; 0 or ""
  // for a key without a default.
  std::int64_t integer(std::string_view key) const;
  std::string text(std::string_view key) const;

  bool synchronize() { return domain_.synchronize(); }

 private:
  UserDomain& domain_;
};

// The record in a property-list file, "~" allowed; nothing when absent or unreadable.
std::optional<Dico> readPlist(const std::string& path);

// Writes a property list, "~" allowed, as a whole. Every ":" is taken out of the path. Answers
// whether the file exists afterwards; false when the value cannot be stored.
bool writePlist(const std::string& path, const Value& value);

}  // namespace tessarin
