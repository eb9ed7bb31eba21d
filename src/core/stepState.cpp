#include "core/stepState.h"

namespace tessarin {

void clearStepFlags(PreferenceStore& preferences) {
  const auto removeAll = [&preferences](const auto& keys) {
    for (const char* key : keys)
      preferences.prefRemove(key);
  };
  removeAll(analysisSteps);
  removeAll(mediaInfoSteps);
  removeAll(encSteps);
  removeAll(std::array{StateKey::waiting, StateKey::analysed, StateKey::record, StateKey::image,
                       StateKey::forcedFormat, StateKey::alert, StateKey::encoded, StateKey::job,
                       StateKey::replaceFiles});
}

}  // namespace tessarin
