// The menu of the user's presets: choosing one, giving one a name, removing one.
#pragma once

#include <QMenu>

#include "core/UserPresets.h"

namespace tessarin {

class PresetsMenu final : public QMenu {
 public:
  // The presets are borrowed and outlive the menu.
  PresetsMenu(UserPresets& presets, QWidget* parent);

 private:
  void fill();
  void askForName();

  UserPresets& presets_;
};

}  // namespace tessarin
