#include "core/batchSettings.h"

#include "analysis/sourceRecord.h"
#include "core/stepState.h"
#include "ffmpeg/proresFlavours.h"
#include "utils/files.h"

namespace tessarin {

Dico batchSettings(appDelegate& app, const PreferenceStore& preferences, const Dico& front) {
  Dico choices = app.prefs2GuiApp();
  choices.set(PrefKey::prores, preferences.text(PrefKey::prores));
  Dico settings{{std::string(BatchSetting::choices), std::move(choices)},
                {std::string(BatchSetting::front), front}};
  if (const Value* answer = preferences.prefRead(StateKey::replaceFiles))
    settings.set(BatchSetting::replaceFiles, *answer);
  return settings;
}

void applyBatchSettings(appDelegate& app, PreferenceStore& preferences, const Dico& settings) {
  if (const Dico* choices = settings.dico(BatchSetting::choices)) {
    app.prefs2GuiApp(*choices, DestinationFolder::leftAlone);
    if (const auto destination = choices->text(PrefKey::destination);
        destination && isStoredPath(expandTilde(*destination)))
      app.interface.destination.setText(*destination);
    if (const auto flavour = choices->text(PrefKey::prores); flavour && proresFlavour(*flavour))
      preferences.prefWrite(PrefKey::prores, *flavour);
  }
  const std::string answer = settings.textOrEmpty(BatchSetting::replaceFiles);
  if (answer == answerKeep || answer == answerReplace)
    preferences.prefWrite(StateKey::replaceFiles, answer);
}

}  // namespace tessarin
