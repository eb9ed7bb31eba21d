#include "core/Preset.h"

#include <fmt/format.h>

#include <algorithm>

#include "classShared/TextAdditions.h"
#include "core/movieNames.h"
#include "encoding/choiceWords.h"
#include "platform/propertyList.h"
#include "prefs/PreferenceStore.h"
#include "prefs/utilsAlert.h"
#include "utils/fileCalls.h"
#include "utils/files.h"

namespace tessarin {

namespace {

constexpr std::string_view extension = "plist";
constexpr std::string_view keySurround = "surround";
constexpr std::string_view keySound = "sound";
constexpr std::string_view keyNames = "name";

// Goes through the choices that have words: the name of each, where it is, and its words.
template <class AnyPreset, class Way>
void walk(AnyPreset& preset, const Way& way) {
  way("for", preset.application, applicationWords());
  way("format", preset.target, targetWords());
  way("size", preset.size, sizeWords());
  way("speed", preset.speed, speedWords());
  way("prores", preset.flavour, flavourWords());
  way("slow-sound", preset.slowSound, slowSoundChoices());
}

// A name that is one of a file in the folder, and of no hidden one.
bool isFileName(const std::string& name) {
  constexpr std::size_t mostBytes = 200;
  return !name.empty() && name.size() <= mostBytes && name.front() != '.' &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

// "size = 800p", as long as a line bears it.
std::string shown(const Dico& record, std::string_view name) {
  constexpr std::size_t mostBytes = 60;
  const Value* value = record.find(name);
  std::string text = value ? value->text().value_or(value->description()) : std::string();
  text.resize(std::min(text.size(), mostBytes));
  while (!isUtf8(text))
    text.pop_back();
  return fmt::format("{} = {}", name, text);
}

Outcome<Preset> readPreset(const std::string& path) {
  const auto content = readPropertyList(path);
  if (!content && !pathExists(path))
    return Failure{content.reason()};
  if (!content || content->dico() == nullptr)
    return Failure{localisationString("why_noPresetFile")};
  return presetOf(*content->dico());
}

}  // namespace

Dico presetRecord(const Preset& preset) {
  Dico record;
  walk(preset, [&record](const char* name, const auto& choice, const auto& words) {
    if (choice)
      record.set(name, wordFor(words, *choice));
  });
  if (preset.keepsSurround)
    record.set(keySurround, *preset.keepsSurround);
  if (preset.sound)
    record.set(keySound, wordOfSounds(*preset.sound));
  if (preset.names)
    record.set(keyNames, *preset.names);
  return record;
}

Outcome<Preset> presetOf(const Dico& record) {
  Preset preset;
  std::vector<std::string_view> known{keySurround, keySound, keyNames};
  std::string wrong;
  walk(preset, [&](const char* name, auto& choice, const auto& words) {
    known.emplace_back(name);
    if (!record.contains(name))
      return;
    const auto found = words.find(lowerCase(record.textOrEmpty(name)));
    if (found == words.end())
      wrong = shown(record, name);
    else
      choice = found->second;
  });
  if (const Value* surround = record.find(keySurround)) {
    if (surround->isBoolean())
      preset.keepsSurround = record.flag(keySurround);
    else
      wrong = shown(record, keySurround);
  }
  if (record.contains(keySound)) {
    preset.sound = soundsOfWord(record.textOrEmpty(keySound));
    if (!preset.sound)
      wrong = shown(record, keySound);
  }
  if (record.contains(keyNames)) {
    preset.names = record.textOrEmpty(keyNames);
    if (refusalOfPattern(*preset.names))
      wrong = shown(record, keyNames);
  }
  for (const auto& [name, value] : record)
    if (std::find(known.begin(), known.end(), name) == known.end())
      wrong = shown(record, name);
  if (!wrong.empty())
    return Failure{localisationString("why_presetWord", "", wrong)};
  return preset;
}

void complete(Preset& preset, const Preset& other) {
  const auto take = [](auto& own, const auto& others) {
    if (!own)
      own = others;
  };
  take(preset.application, other.application);
  take(preset.target, other.target);
  take(preset.size, other.size);
  take(preset.speed, other.speed);
  take(preset.flavour, other.flavour);
  take(preset.keepsSurround, other.keepsSurround);
  take(preset.sound, other.sound);
  take(preset.slowSound, other.slowSound);
  take(preset.names, other.names);
}

Preset chosenPreset(const Interface& interface, const PreferenceStore& preferences) {
  Preset preset;
  preset.application = interface.editingSoft.selected();
  preset.target = interface.target;
  preset.size = interface.sizeOut.selected();
  preset.speed = interface.chosenSpeed();
  preset.flavour = preferences.text(PrefKey::prores);
  preset.keepsSurround = interface.surround.isChecked();
  preset.sound = interface.chosenSound();
  preset.slowSound = interface.chosenSlowSound();
  preset.names = usablePattern(interface);
  return preset;
}

void choosePreset(const Preset& preset, Interface& interface, PreferenceStore& preferences) {
  if (preset.application)
    interface.editingSoft.select(*preset.application);
  if (preset.size)
    interface.sizeOut.select(*preset.size);
  if (preset.speed) {
    interface.easy.select(0);
    interface.speed.select(*preset.speed);
  }
  if (preset.keepsSurround)
    interface.surround.setChecked(*preset.keepsSurround);
  if (preset.sound)
    interface.setSound(*preset.sound);
  if (preset.slowSound)
    interface.setSlowSound(*preset.slowSound);
  interface.setTarget(preset.target);
  if (preset.names)
    interface.names.setText(*preset.names == usualNames ? "" : *preset.names);
  if (!preset.flavour)
    return;
  preferences.prefWrite(PrefKey::prores, *preset.flavour);
  const auto& items = interface.prores.items();
  const auto item = std::find_if(items.begin(), items.end(),
                                 [&](const auto& each) { return each.value == *preset.flavour; });
  if (item != items.end())
    interface.prores.select(static_cast<int>(item - items.begin()));
}

std::optional<Wish> chosenWish(const Interface& interface) {
  if (!interface.target)
    return std::nullopt;
  Wish wish;
  wish.target = *interface.target;
  wish.speed = interface.chosenSpeed();
  if (const int size = interface.sizeOut.selected(); size >= firstConcreteRow)
    wish.sizeOut = size;
  return wish;
}

Application chosenSizes(const Interface& interface) {
  return interface.sizeOut.selected() == rowSameAsSource ? Application::any
                                                         : interface.application();
}

PresetFolder PresetFolder::ofUser() {
  return PresetFolder(joinPath(userFolder(UserFolder::configuration), "presets"));
}

std::vector<std::string> PresetFolder::names() const {
  std::vector<std::string> names;
  for (const std::string& file : lsGrepCocoa(path_, extension).value_or(std::vector<std::string>()))
    if (std::string name = withoutExtension(fileName(file)); isFileName(name))
      names.push_back(std::move(name));
  std::sort(names.begin(), names.end());
  return names;
}

std::string PresetFolder::fileOf(const std::string& name) const {
  return joinPath(path_, withExtension(name, std::string(extension)));
}

Outcome<Preset> PresetFolder::read(const std::string& name) const {
  if (isFileName(name) && pathExists(fileOf(name)))
    return readPreset(fileOf(name));
  const auto there = names();
  return Failure{there.empty()
                     ? localisationString("why_noPresets", "", path_)
                     : localisationString("why_noSuchPreset", "", joinTexts(there, ", "))};
}

Outcome<void> PresetFolder::write(const std::string& name, const Preset& preset) const {
  if (!isFileName(name))
    return Failure{localisationString("why_presetName")};
  mkdir(path_);
  return writePropertyList(fileOf(name), Value(presetRecord(preset)));
}

Outcome<void> PresetFolder::remove(const std::string& name) const {
  if (!isFileName(name) || !removeFile(fileOf(name)))
    return Failure{localisationString("why_notRemoved", "", fileOf(name))};
  return {};
}

Outcome<Preset> presetCalled(const std::string& name) {
  if (name.find('/') != std::string::npos)
    return readPreset(name);
  return PresetFolder::ofUser().read(name);
}

}  // namespace tessarin
