// What the controller and its collaborators are given from outside.
#pragma once

#include <functional>
#include <string>

#include "platform/Alerts.h"
#include "platform/RunLoop.h"
#include "prefs/PreferenceStore.h"

namespace tessarin {

// All borrowed; they live longer than the controller.
struct CoreServices {
  RunLoop& loop;
  PreferenceStore& preferences;
  Alerts& alerts;
  // Shows a file or folder in the desktop's file browser; may be empty.
  std::function<void(const std::string& path)> reveal;
  // Lets the user choose another destination; may be empty.
  std::function<void()> selectFolder = {};
  // The file of the ConvertedRecord; "": none is kept, and all clips are new.
  std::string convertedClips = {};
  // Whether nothing may wait for a disk that hangs: then a thread asks the disks of clips and
  // movies before they are worked with (DiskQuestion).
  bool asksDisksFirst = false;
  // Whether somebody else tells the user that the batch has ended; may be empty.
  std::function<bool()> isEndTold = {};
};

}  // namespace tessarin
