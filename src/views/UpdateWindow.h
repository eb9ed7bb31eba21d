// Looking for a newer version of the program, and fetching it.
#pragma once

#include "updates/UpdateInterface.h"
#include "views/SideWindow.h"

namespace tessarin {

class UpdateWindow final : public SideWindow {
 public:
  // Shows the window above `parent`, or brings the one that is open to the front. The controls are
  // borrowed and outlive the window. Closing it stops nothing.
  static void open(UpdateInterface& interface, QWidget* parent);

 private:
  UpdateWindow(UpdateInterface& interface, QWidget* parent);
};

}  // namespace tessarin
