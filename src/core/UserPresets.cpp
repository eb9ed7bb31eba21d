#include "core/UserPresets.h"

#include <algorithm>

#include "prefs/utilsAlert.h"

namespace tessarin {

UserPresets::UserPresets(CoreServices& services, Interface& interface)
    : services_(services), interface_(interface) {}

bool UserPresets::isChosen(const std::string& name) const {
  const auto preset = PresetFolder::ofUser().read(name);
  if (!preset)
    return false;
  const Preset chosen = chosenPreset(interface_, services_.preferences);
  Preset both = *preset;
  complete(both, chosen);
  // Without a target it chooses that of the application.
  return both == chosen && preset->target == chosen.target;
}

std::string UserPresets::chosen() const {
  auto candidates = names();
  candidates.insert(candidates.begin(), last_);
  const auto found = std::find_if(candidates.begin(), candidates.end(),
                                  [this](const std::string& name) { return isChosen(name); });
  return found == candidates.end() ? "" : *found;
}

void UserPresets::choose(const std::string& name) {
  const auto preset = PresetFolder::ofUser().read(name);
  if (!preset) {
    tell(name, preset.reason());
    return;
  }
  choosePreset(*preset, interface_, services_.preferences);
  last_ = name;
}

void UserPresets::save(const std::string& name) {
  const auto there = names();
  if (std::find(there.begin(), there.end(), name) == there.end()) {
    write(name);
    return;
  }
  Alert question{localisationString("D_presetReplace", "", name), ""};
  question.buttons = {localisationString("D_replace"), localisationString("D_Annuler")};
  question.closing = 1;
  question.unattended = 1;
  services_.alerts.show(question, [this, name](AlertAnswer answer) {
    if (answer.button == 0)
      write(name);
  });
}

void UserPresets::write(const std::string& name) {
  const Preset chosen = chosenPreset(interface_, services_.preferences);
  if (const auto written = PresetFolder::ofUser().write(name, chosen); !written)
    tell(name, written.reason());
  else
    last_ = name;
}

void UserPresets::remove(const std::string& name) {
  if (const auto removed = PresetFolder::ofUser().remove(name); !removed)
    tell(name, removed.reason());
}

void UserPresets::tell(const std::string& name, const std::string& reason) {
  services_.alerts.show({localisationString("D_presetTrouble", "", name), reason});
}

}  // namespace tessarin
