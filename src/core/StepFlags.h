// The step flags of a step machine, kept as keys of the preference store.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "prefs/PreferenceStore.h"

namespace tessarin {

// A flag is set when its key holds a number whose whole part is not 0. Taking a step means
// removing its flag first.
class StepFlags {
 public:
  // `names` in the order in which steps are looked for; the last one is the step that ends a job.
  StepFlags(PreferenceStore& preferences, std::span<const char* const> names)
      : preferences_(preferences), names_(names.begin(), names.end()) {}

  bool isSet(std::string_view name) const { return preferences_.flag(name); }
  void set(std::string_view name) { preferences_.prefWrite(name, 1); }
  void remove(std::string_view name) { preferences_.prefRemove(name); }

  // The flag's state; the flag is gone afterwards.
  bool take(std::string_view name) {
    const bool wasSet = isSet(name);
    if (wasSet)
      remove(name);
    return wasSet;
  }

  void removeAllButLast() {
    for (std::size_t index = 0; index + 1 < names_.size(); ++index)
      remove(names_[index]);
  }
  const std::string& last() const { return names_.back(); }
  const std::vector<std::string>& names() const { return names_; }

 private:
  PreferenceStore& preferences_;
  std::vector<std::string> names_;
};

}  // namespace tessarin
