// How the entries of the controller's popups are written for the user.
#pragma once

#include "views/bindings.h"

namespace tessarin {

// A row of presetSizesList: without the blanks that align it, its rates as the tool tip; localized
// where the row is a key.
PopUpTitle sizeTitle(const PopUpButton::Item& item);

// A language's code: its name in that language. "" is the language of the desktop.
PopUpTitle languageTitle(const PopUpButton::Item& item);

// A number of clips at the same time: itself. 0 is what suits the machine.
PopUpTitle jobsTitle(const PopUpButton::Item& item);

// A choice of sounds, and of the sound of slow motion.
PopUpTitle soundTitle(const PopUpButton::Item& item);
PopUpTitle slowSoundTitle(const PopUpButton::Item& item);

// A ProRes encoder: its name.
PopUpTitle proresTitle(const PopUpButton::Item& item);

}  // namespace tessarin
