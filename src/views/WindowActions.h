// What the window asks of the program around it.
#pragma once

#include <functional>
#include <string>

#include "prefs/PreferenceStore.h"
#include "views/AfterBatch.h"

namespace tessarin {

struct WindowActions {
  // The user wants to leave.
  std::function<void()> quit;
  // Shows a file or folder in the desktop's file browser.
  std::function<void(const std::string&)> reveal;
  // Opens a file with the desktop's program for its kind.
  std::function<void(const std::string&)> open;
  // Looks for a newer version of the program; empty: there is no such menu entry.
  std::function<void()> checkForUpdates = {};
  // Keeps the last folder and the window's place until the next start, and outlives the window;
  // null: they are forgotten.
  PreferenceStore* remembered = nullptr;
  // What becomes of the computer behind a batch, and outlives the window; null: there is no such
  // menu.
  AfterBatch* afterBatch = nullptr;
};

}  // namespace tessarin
