// The user's presets as the window offers them.
#pragma once

#include <string>
#include <vector>

#include "core/CoreServices.h"
#include "core/Interface.h"
#include "core/Preset.h"

namespace tessarin {

class UserPresets {
 public:
  // Both are borrowed.
  UserPresets(CoreServices& services, Interface& interface);

  std::vector<std::string> names() const { return PresetFolder::ofUser().names(); }
  // The preset that by its file is what is chosen for new rows, "" for none; of several the one
  // that was chosen or saved last.
  std::string chosen() const;

  // What cannot be done is told.
  void choose(const std::string& name);
  // What is chosen now. A preset that is called so is replaced when the user says so.
  void save(const std::string& name);
  void remove(const std::string& name);

 private:
  bool isChosen(const std::string& name) const;
  void write(const std::string& name);
  void tell(const std::string& name, const std::string& reason);

  CoreServices& services_;
  Interface& interface_;
  std::string last_;
};

}  // namespace tessarin
