// The user's own presets: sets of choices for new rows that have names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "classShared/Value.h"
#include "core/Interface.h"
#include "jobs/rowChoices.h"

namespace tessarin {

class PreferenceStore;

// Choices for new rows. What is nothing stays as it is.
struct Preset {
  std::optional<int> application;  // segment of the editing application
  std::optional<Target> target;    // else what the application begins with
  std::optional<int> size;         // row of presetSizesList
  std::optional<Speed> speed;
  std::optional<std::string> flavour;  // of ProRes, four characters
  std::optional<bool> keepsSurround;
  std::optional<std::string> sound;  // soundChoice.h
  std::optional<SlowSound> slowSound;
  std::optional<std::string> names;  // a pattern that can be used: namePattern.h
  bool operator==(const Preset&) const = default;
};

// As a file has it: the names of the command line's options without dashes, and their words.
Dico presetRecord(const Preset& preset);
// Fails with what is wrong, in the user's language: a name or a word that is not known.
Outcome<Preset> presetOf(const Dico& record);

// Gives it the other's choices where it has none of its own.
void complete(Preset& preset, const Preset& other);

// What is chosen for new rows, and choosing it.
Preset chosenPreset(const Interface& interface, const PreferenceStore& preferences);
void choosePreset(const Preset& preset, Interface& interface, PreferenceStore& preferences);

// The target that is chosen for new rows, with the size and the speed; nothing where it is what the
// application begins with.
std::optional<Wish> chosenWish(const Interface& interface);
// Whose sizes new rows may have: of the application, unless any size was asked for.
Application chosenSizes(const Interface& interface);

// Where the presets are: property lists in a folder, each called like its preset.
class PresetFolder {
 public:
  explicit PresetFolder(std::string path) : path_(std::move(path)) {}
  // That of the user.
  static PresetFolder ofUser();

  // In the order of the alphabet.
  std::vector<std::string> names() const;
  // Fail with the reason, in the user's language. What is called so is replaced.
  Outcome<Preset> read(const std::string& name) const;
  Outcome<void> write(const std::string& name, const Preset& preset) const;
  Outcome<void> remove(const std::string& name) const;

 private:
  std::string fileOf(const std::string& name) const;

  std::string path_;
};

// A preset by its name, or, where the name has a slash, by its file.
Outcome<Preset> presetCalled(const std::string& name);

}  // namespace tessarin
