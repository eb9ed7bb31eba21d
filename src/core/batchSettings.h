// What a batch depends on besides its rows, as it is stored with them.
#pragma once

#include "core/appDelegate.h"
#include "core/batchFormat.h"

namespace tessarin {

// The record of BatchSetting: the controls' choices, the flavour of ProRes, the answer for movies
// that are there already, and what the front adds.
Dico batchSettings(appDelegate& app, const PreferenceStore& preferences, const Dico& front);

// Brings the choices back. The destination stays as it was even where its folder is not there at
// the moment: movies must not end up elsewhere.
void applyBatchSettings(appDelegate& app, PreferenceStore& preferences, const Dico& settings);

}  // namespace tessarin
